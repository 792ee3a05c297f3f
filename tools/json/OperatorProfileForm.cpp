#include "json/Interfaces.h"
#include "json/RowForm.h"

#include "protocol/OperatorProfile.h"

#include <ciapi/CIService.h>

const CIM::json::TInterfaceForm& CIM::json::OperatorProfileForm()
{
    static const TInterfaceForm form =
        MakeInterfaceForm<ICIOperatorProfile>([]() -> void* { return TCCIService::CIOperatorProfileInstance(); });
    return form;
}
