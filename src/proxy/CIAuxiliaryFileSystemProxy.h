#pragma once

#include "no_ci/CIAuxiliaryFileSystemProxyNO_CI.h"
#include "protocol/AuxiliaryFileSystem.h"
#include "proxy/ProxyCall.h"

namespace CIM
{
/// ICIAuxiliaryFileSystem over the bus: each operation is one call to the daemon, and the null answer when that fails.
/// Thread-safe: it keeps nothing between calls.
class TCCIAuxiliaryFileSystemProxy : public TCCIAuxiliaryFileSystemProxyNO_CI
{
public:
    /// Blocks until the daemon offers the interface, at the longest as long as the connection waits.
    explicit TCCIAuxiliaryFileSystemProxy(boost::shared_ptr<TIIPCHelper> helper);
    ~TCCIAuxiliaryFileSystemProxy() override;

    int GetAllAvailableFileSystems(std::vector<TCCiAuxiliaryFileSystemDTO>& fileSystems) override
    {
        return m_call.Do<&ICIAuxiliaryFileSystem::GetAllAvailableFileSystems>(fileSystems)
            .Or([&] { return TNull::GetAllAvailableFileSystems(fileSystems); });
    }
    int RegisterApplication(unsigned short fileSystemId, unsigned char& applicationId) override
    {
        return m_call.Do<&ICIAuxiliaryFileSystem::RegisterApplication>(fileSystemId, applicationId)
            .Or([&] { return TNull::RegisterApplication(fileSystemId, applicationId); });
    }
    int UnregisterApplication(unsigned char applicationId, unsigned short fileSystemId) override
    {
        return m_call.Do<&ICIAuxiliaryFileSystem::UnregisterApplication>(applicationId, fileSystemId)
            .Or([&] { return TNull::UnregisterApplication(applicationId, fileSystemId); });
    }
    int RequestFile(unsigned short fileSystemId, unsigned char applicationId, EFileRequestType requestType,
                    std::vector<unsigned char> const& request) override;
    int GetFileAcknowledge(unsigned short fileSystemId, TCCiFileAckDTO& acknowledgement) override
    {
        return m_call.Do<&ICIAuxiliaryFileSystem::GetFileAcknowledge>(fileSystemId, acknowledgement)
            .Or([&] { return TNull::GetFileAcknowledge(fileSystemId, acknowledgement); });
    }

private:
    using TNull = TCCIAuxiliaryFileSystemProxyNO_CI;

    TAnswer<int> m_TryRequestFile(unsigned short fileSystemId, unsigned char applicationId,
                                  EFileRequestType requestType, std::vector<unsigned char> const& request);

    TCProxyCall m_call;
};
} // namespace CIM
