#include "json/Interfaces.h"
#include "json/RowForm.h"

#include "protocol/AuxiliaryFileSystem.h"

#include <ciapi/CIService.h>

const CIM::json::TInterfaceForm& CIM::json::AuxiliaryFileSystemForm()
{
    static const TInterfaceForm form = MakeInterfaceForm<ICIAuxiliaryFileSystem>(
        []() -> void* { return TCCIService::CIAuxiliaryFileSystemInstance(); });
    return form;
}
