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

    int GetAllAvailableFileSystems(std::vector<TCCiAuxiliaryFileSystemDTO>&) override { return 0; }
    int RegisterApplication(unsigned short, unsigned char&) override { return 0; }
    int UnregisterApplication(unsigned char, unsigned short) override { return 0; }
    int RequestFile(unsigned short, unsigned char, EFileRequestType, std::vector<unsigned char> const&) override
    {
        return 0;
    }
    int GetFileAcknowledge(unsigned short, TCCiFileAckDTO&) override { return 0; }
};
} // namespace CIM
