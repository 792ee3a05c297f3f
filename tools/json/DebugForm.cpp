#include "json/Interfaces.h"
#include "json/RowForm.h"

#include "protocol/Debug.h"

#include <ciapi/CIService.h>

const CIM::json::TInterfaceForm& CIM::json::DebugForm()
{
    static const TInterfaceForm form =
        MakeInterfaceForm<ICIDebug>([]() -> void* { return TCCIService::CIDebugInstance(); });
    return form;
}
