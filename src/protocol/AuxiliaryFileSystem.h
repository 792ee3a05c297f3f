#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINameLiterals.h>
#include <ciapi/ICIAuxiliaryFileSystem.h>

// What crosses the bus for ICIAuxiliaryFileSystem: one line an operation, in slot order.

namespace CIM::protocol
{
template <>
struct TTable<ICIAuxiliaryFileSystem>
{
    static constexpr const char* ConnectionName() { return literals::CI_AUXILIARY_FILE_SYSTEM_NAME; }

    // clang-format off
    static constexpr std::tuple ROWS{
    Row<&ICIAuxiliaryFileSystem::GetAllAvailableFileSystems>(0, Out("fileSystems")),
    Row<&ICIAuxiliaryFileSystem::RegisterApplication>(1, In("fileSystemId"), Out("applicationId")),
    Row<&ICIAuxiliaryFileSystem::UnregisterApplication>(2, In("applicationId", "fileSystemId")),
    Row<&ICIAuxiliaryFileSystem::RequestFile>(3, In("fileSystemId", "applicationId", "requestType", "request")),
    Row<&ICIAuxiliaryFileSystem::GetFileAcknowledge>(4, In("fileSystemId"), Out("acknowledgement")),
    };
    // clang-format on
};
} // namespace CIM::protocol
