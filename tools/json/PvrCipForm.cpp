#include "json/Interfaces.h"
#include "json/RowForm.h"

#include "protocol/PvrCip.h"

#include <ciapi/CIService.h>

const CIM::json::TInterfaceForm& CIM::json::PvrCipForm()
{
    static const TInterfaceForm form =
        MakeInterfaceForm<IPvrCip>([]() -> void* { return TCCIService::PvrCipInstance(); });
    return form;
}
