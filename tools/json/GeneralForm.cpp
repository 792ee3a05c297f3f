#include "json/Interfaces.h"
#include "json/RowForm.h"

#include "protocol/General.h"

#include <ciapi/CIService.h>

const CIM::json::TInterfaceForm& CIM::json::GeneralForm()
{
    static const TInterfaceForm form =
        MakeInterfaceForm<ICIGeneral>([]() -> void* { return TCCIService::CIGeneralInstance(); });
    return form;
}
