#include "json/Interfaces.h"
#include "json/RowForm.h"

#include "protocol/AppMMI.h"

#include <ciapi/CIService.h>

const CIM::json::TInterfaceForm& CIM::json::AppMMIForm()
{
    static const TInterfaceForm form =
        MakeInterfaceForm<ICIAppMMI>([]() -> void* { return TCCIService::CIAppMMIInstance(); });
    return form;
}
