#include "json/Interfaces.h"
#include "json/RowForm.h"

#include "protocol/CICAMPlayer.h"

#include <ciapi/CIService.h>

const CIM::json::TInterfaceForm& CIM::json::CICAMPlayerForm()
{
    static const TInterfaceForm form =
        MakeInterfaceForm<ICICAMPlayer>([]() -> void* { return TCCIService::CICAMPlayerInstance(); });
    return form;
}
