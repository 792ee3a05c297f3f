#include "proxy/CIAppMMIProxy.h"

#include "protocol/AppMMI.h"
#include "utils/CIAPILog.h"

#include <utility>

namespace CIM
{
TCCIAppMMIProxy::TCCIAppMMIProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_call(protocol::TTable<ICIAppMMI>::ConnectionName(), std::move(helper))
{
    CIM_LOG_INFO_AT("TCCIAppMMIProxy", 51, "");
    m_call.WaitForInterface();
}

TCCIAppMMIProxy::~TCCIAppMMIProxy() { CIM_LOG_INFO_AT("~TCCIAppMMIProxy", 59, ""); }

int TCCIAppMMIProxy::SetApplicationState(TVSHandle const& handle, EAppMmiName application, EAppMmiState state,
                                         unsigned long long value)
{
    if (const auto reply = m_call(protocol::appMmi::SetApplicationState, handle, application, state, value))
    {
        return *reply;
    }
    return TCCIAppMMIProxyNO_CI::SetApplicationState(handle, application, state, value);
}

int TCCIAppMMIProxy::SendAppAbortRequest(unsigned short id, std::vector<unsigned char> const& data)
{
    if (const auto reply = m_call(protocol::appMmi::SendAppAbortRequest, id, data))
    {
        return *reply;
    }
    return TCCIAppMMIProxyNO_CI::SendAppAbortRequest(id, data);
}

int TCCIAppMMIProxy::SendAppAbortAck(unsigned short id, std::vector<unsigned char> const& data)
{
    if (const auto reply = m_call(protocol::appMmi::SendAppAbortAck, id, data))
    {
        return *reply;
    }
    return TCCIAppMMIProxyNO_CI::SendAppAbortAck(id, data);
}

int TCCIAppMMIProxy::SendFileRequest(unsigned short id, std::vector<unsigned char> const& data, int value)
{
    if (const auto reply = m_call(protocol::appMmi::SendFileRequest, id, data, value))
    {
        return *reply;
    }
    return TCCIAppMMIProxyNO_CI::SendFileRequest(id, data, value);
}

int TCCIAppMMIProxy::SendRequestStartAck(unsigned short id, unsigned char ackCode)
{
    if (const auto reply = m_call(protocol::appMmi::SendRequestStartAck, id, ackCode))
    {
        return *reply;
    }
    return TCCIAppMMIProxyNO_CI::SendRequestStartAck(id, ackCode);
}

int TCCIAppMMIProxy::GetAbortAckData(int dataId, std::vector<unsigned char>& data)
{
    if (const auto reply = m_call(protocol::appMmi::GetAbortAckData, dataId, data))
    {
        return *reply;
    }
    return TCCIAppMMIProxyNO_CI::GetAbortAckData(dataId, data);
}

int TCCIAppMMIProxy::GetAbortRequestData(int dataId, std::vector<unsigned char>& data)
{
    if (const auto reply = m_call(protocol::appMmi::GetAbortRequestData, dataId, data))
    {
        return *reply;
    }
    return TCCIAppMMIProxyNO_CI::GetAbortRequestData(dataId, data);
}

int TCCIAppMMIProxy::GetFileAckData(int dataId, bool& firstFlag, bool& secondFlag, int& value,
                                    std::vector<unsigned char>& firstData, std::vector<unsigned char>& secondData)
{
    if (const auto reply =
            m_call(protocol::appMmi::GetFileAckData, dataId, firstFlag, secondFlag, value, firstData, secondData))
    {
        return *reply;
    }
    return TCCIAppMMIProxyNO_CI::GetFileAckData(dataId, firstFlag, secondFlag, value, firstData, secondData);
}

int TCCIAppMMIProxy::GetStartAppData(unsigned short id, int dataId, std::vector<unsigned char>& firstData,
                                     std::vector<unsigned char>& secondData, TVSHandle& handle, bool& flag)
{
    if (const auto reply = m_call(protocol::appMmi::GetStartAppData, id, dataId, firstData, secondData, handle, flag))
    {
        return *reply;
    }
    return TCCIAppMMIProxyNO_CI::GetStartAppData(id, dataId, firstData, secondData, handle, flag);
}
} // namespace CIM
