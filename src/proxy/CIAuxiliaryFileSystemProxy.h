#pragma once

#include "no_ci/CIAuxiliaryFileSystemProxyNO_CI.h"
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

    int GetAllAvailableFileSystems(std::vector<TCCiAuxiliaryFileSystemDTO>& fileSystems) override;
    int RegisterApplication(unsigned short fileSystemId, unsigned char& applicationId) override;
    int UnregisterApplication(unsigned char applicationId, unsigned short fileSystemId) override;
    int RequestFile(unsigned short fileSystemId, unsigned char applicationId, EFileRequestType requestType,
                    std::vector<unsigned char> const& request) override;
    int GetFileAcknowledge(unsigned short fileSystemId, TCCiFileAckDTO& acknowledgement) override;

private:
    std::optional<int> m_TryRequestFile(unsigned short fileSystemId, unsigned char applicationId,
                                        EFileRequestType requestType, std::vector<unsigned char> const& request);

    TCProxyCall m_call;
};
} // namespace CIM
