#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINames.h>
#include <ciapi/ICIAuxiliaryFileSystem.h>

// What crosses the bus for ICIAuxiliaryFileSystem: one line an operation, in slot order.

namespace CIM::protocol
{
namespace auxiliaryFileSystem
{
// clang-format off
inline constexpr auto GetAllAvailableFileSystems = Operation(&ICIAuxiliaryFileSystem::GetAllAvailableFileSystems, 0, "GetAllAvailableFileSystems", Out("fileSystems"));
inline constexpr auto RegisterApplication = Operation(&ICIAuxiliaryFileSystem::RegisterApplication, 1, "RegisterApplication", In("fileSystemId"), Out("applicationId"));
inline constexpr auto UnregisterApplication = Operation(&ICIAuxiliaryFileSystem::UnregisterApplication, 2, "UnregisterApplication", In("applicationId"), In("fileSystemId"));
inline constexpr auto RequestFile = Operation(&ICIAuxiliaryFileSystem::RequestFile, 3, "RequestFile", In("fileSystemId"), In("applicationId"), In("requestType"), In("request"));
inline constexpr auto GetFileAcknowledge = Operation(&ICIAuxiliaryFileSystem::GetFileAcknowledge, 4, "GetFileAcknowledge", In("fileSystemId"), Out("acknowledgement"));
// clang-format on

inline constexpr auto OPERATIONS =
    std::tuple(GetAllAvailableFileSystems, RegisterApplication, UnregisterApplication, RequestFile, GetFileAcknowledge);
} // namespace auxiliaryFileSystem

template <>
struct TTable<ICIAuxiliaryFileSystem>
{
    static constexpr const char* NAME = "ICIAuxiliaryFileSystem";
    static const std::string& ConnectionName() { return CI_AUXILIARY_FILE_SYSTEM_NAME; }
    static constexpr const auto& OPERATIONS = auxiliaryFileSystem::OPERATIONS;
};
} // namespace CIM::protocol
