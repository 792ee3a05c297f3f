#pragma once

#include "no_ci/CIAppMMIProxyNO_CI.h"
#include "protocol/AppMMI.h"
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
                            unsigned long long value) override
    {
        return m_call.Do<&ICIAppMMI::SetApplicationState>(handle, application, state, value)
            .Or([&] { return TNull::SetApplicationState(handle, application, state, value); });
    }
    int SendAppAbortRequest(unsigned short id, std::vector<unsigned char> const& data) override
    {
        return m_call.Do<&ICIAppMMI::SendAppAbortRequest>(id, data).Or(
            [&] { return TNull::SendAppAbortRequest(id, data); });
    }
    int SendAppAbortAck(unsigned short id, std::vector<unsigned char> const& data) override
    {
        return m_call.Do<&ICIAppMMI::SendAppAbortAck>(id, data).Or([&] { return TNull::SendAppAbortAck(id, data); });
    }
    int SendFileRequest(unsigned short id, std::vector<unsigned char> const& data, int value) override
    {
        return m_call.Do<&ICIAppMMI::SendFileRequest>(id, data, value)
            .Or([&] { return TNull::SendFileRequest(id, data, value); });
    }
    int SendRequestStartAck(unsigned short id, unsigned char ackCode) override
    {
        return m_call.Do<&ICIAppMMI::SendRequestStartAck>(id, ackCode)
            .Or([&] { return TNull::SendRequestStartAck(id, ackCode); });
    }
    int GetAbortAckData(int dataId, std::vector<unsigned char>& data) override
    {
        return m_call.Do<&ICIAppMMI::GetAbortAckData>(dataId, data)
            .Or([&] { return TNull::GetAbortAckData(dataId, data); });
    }
    int GetAbortRequestData(int dataId, std::vector<unsigned char>& data) override
    {
        return m_call.Do<&ICIAppMMI::GetAbortRequestData>(dataId, data)
            .Or([&] { return TNull::GetAbortRequestData(dataId, data); });
    }
    int GetFileAckData(int dataId, bool& firstFlag, bool& secondFlag, int& value, std::vector<unsigned char>& firstData,
                       std::vector<unsigned char>& secondData) override
    {
        return m_call.Do<&ICIAppMMI::GetFileAckData>(dataId, firstFlag, secondFlag, value, firstData, secondData)
            .Or([&] { return TNull::GetFileAckData(dataId, firstFlag, secondFlag, value, firstData, secondData); });
    }
    int GetStartAppData(unsigned short id, int dataId, std::vector<unsigned char>& firstData,
                        std::vector<unsigned char>& secondData, TVSHandle& handle, bool& flag) override
    {
        return m_call.Do<&ICIAppMMI::GetStartAppData>(id, dataId, firstData, secondData, handle, flag)
            .Or([&] { return TNull::GetStartAppData(id, dataId, firstData, secondData, handle, flag); });
    }

private:
    using TNull = TCCIAppMMIProxyNO_CI;

    TCProxyCall m_call;
};
} // namespace CIM
