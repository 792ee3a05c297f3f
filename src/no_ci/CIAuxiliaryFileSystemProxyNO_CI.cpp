#include "no_ci/CIAuxiliaryFileSystemProxyNO_CI.h"

#include "no_ci/MakeNull.h"
#include "utils/CIAPILog.h"

namespace CIM
{
TCCIAuxiliaryFileSystemProxyNO_CI::TCCIAuxiliaryFileSystemProxyNO_CI()
{
    CIM_LOG_INFO_AT("TCCIAuxiliaryFileSystemProxyNO_CI", 35, "");
}

TCCIAuxiliaryFileSystemProxyNO_CI::~TCCIAuxiliaryFileSystemProxyNO_CI()
{
    CIM_LOG_INFO_AT("~TCCIAuxiliaryFileSystemProxyNO_CI", 42, "");
}

template <>
std::unique_ptr<ICIAuxiliaryFileSystem> MakeNull()
{
    return std::make_unique<TCCIAuxiliaryFileSystemProxyNO_CI>();
}
} // namespace CIM
