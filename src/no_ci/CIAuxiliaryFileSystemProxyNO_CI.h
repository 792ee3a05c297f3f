#pragma once

#include <ciapi/ICIAuxiliaryFileSystem.h>

namespace CIM
{
/// What ICIAuxiliaryFileSystem answers on a set without CI, and what its proxy answers when the daemon does not: no, at
/// once, without touching outputs, except where the interface says otherwise. Stateless; thread-safe.
class TCCIAuxiliaryFileSystemProxyNO_CI : public ICIAuxiliaryFileSystem
{
public:
    TCCIAuxiliaryFileSystemProxyNO_CI();
    ~TCCIAuxiliaryFileSystemProxyNO_CI() override;

    int GetAllAvailableFileSystems(std::vector<TCCiAuxiliaryFileSystemDTO>& fileSystems) override;
    int RegisterApplication(unsigned short fileSystemId, unsigned char& applicationId) override;
    int UnregisterApplication(unsigned char applicationId, unsigned short fileSystemId) override;
    int RequestFile(unsigned short fileSystemId, unsigned char applicationId, EFileRequestType requestType,
                    std::vector<unsigned char> const& request) override;
    int GetFileAcknowledge(unsigned short fileSystemId, TCCiFileAckDTO& acknowledgement) override;
};
} // namespace CIM
