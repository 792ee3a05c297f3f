#include "no_ci/CIAuxiliaryFileSystemProxyNO_CI.h"

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

int TCCIAuxiliaryFileSystemProxyNO_CI::GetAllAvailableFileSystems(std::vector<TCCiAuxiliaryFileSystemDTO>&)
{
    return 0;
}

int TCCIAuxiliaryFileSystemProxyNO_CI::RegisterApplication(unsigned short, unsigned char&) { return 0; }

int TCCIAuxiliaryFileSystemProxyNO_CI::UnregisterApplication(unsigned char, unsigned short) { return 0; }

int TCCIAuxiliaryFileSystemProxyNO_CI::RequestFile(unsigned short, unsigned char, EFileRequestType,
                                                   std::vector<unsigned char> const&)
{
    return 0;
}

int TCCIAuxiliaryFileSystemProxyNO_CI::GetFileAcknowledge(unsigned short, TCCiFileAckDTO&) { return 0; }
} // namespace CIM
