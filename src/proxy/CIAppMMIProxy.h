#pragma once

#include "no_ci/CIAppMMIProxyNO_CI.h"
#include "proxy/ProxyCall.h"

namespace CIM
{
/// ICIAppMMI over the bus: each operation is one call to the daemon, and the null answer when that fails.
/// Thread-safe: it keeps nothing between calls.
class TCCIAppMMIProxy : public TCCIAppMMIProxyNO_CI
{
public:
    /// Blocks until the daemon offers the interface, at the longest as long as the connection waits.
    explicit TCCIAppMMIProxy(boost::shared_ptr<TIIPCHelper> helper);
    ~TCCIAppMMIProxy() override;

    int SetApplicationState(TVSHandle const& handle, EAppMmiName application, EAppMmiState state,
                            unsigned long long value) override;
    int SendAppAbortRequest(unsigned short id, std::vector<unsigned char> const& data) override;
    int SendAppAbortAck(unsigned short id, std::vector<unsigned char> const& data) override;
    int SendFileRequest(unsigned short id, std::vector<unsigned char> const& data, int value) override;
    int SendRequestStartAck(unsigned short id, unsigned char ackCode) override;
    int GetAbortAckData(int dataId, std::vector<unsigned char>& data) override;
    int GetAbortRequestData(int dataId, std::vector<unsigned char>& data) override;
    int GetFileAckData(int dataId, bool& firstFlag, bool& secondFlag, int& value, std::vector<unsigned char>& firstData,
                       std::vector<unsigned char>& secondData) override;
    int GetStartAppData(unsigned short id, int dataId, std::vector<unsigned char>& firstData,
                        std::vector<unsigned char>& secondData, TVSHandle& handle, bool& flag) override;

private:
    TCProxyCall m_call;
};
} // namespace CIM
