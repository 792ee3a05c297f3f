#include "proxy/PvrCipProxy.h"

#include "protocol/PvrCip.h"
#include "utils/CIAPILog.h"

#include <utility>

namespace CIM
{
TCPvrCipProxy::TCPvrCipProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_call(protocol::TTable<IPvrCip>::ConnectionName(), std::move(helper))
{
    CIM_LOG_INFO_AT("TCPvrCipProxy", __LINE__, "");
    m_call.WaitForInterface();
}

TCPvrCipProxy::~TCPvrCipProxy() { CIM_LOG_INFO_AT("~TCPvrCipProxy", __LINE__, ""); }

int TCPvrCipProxy::SetRecordingEsPids(TVSHandle const& handle, std::list<unsigned short> const& pids, bool oneWay)
{
    if (const auto reply = m_call(protocol::pvrCip::SetRecordingEsPids, handle, pids, oneWay))
    {
        return *reply;
    }
    return TCPvrCipProxyNO_CI::SetRecordingEsPids(handle, pids, oneWay);
}

int TCPvrCipProxy::IsFileExceededRetentionLimit(std::string const& file, bool& exceeded)
{
    if (const auto reply = m_call(protocol::pvrCip::IsFileExceededRetentionLimit, file, exceeded))
    {
        return *reply;
    }
    return TCPvrCipProxyNO_CI::IsFileExceededRetentionLimit(file, exceeded);
}

int TCPvrCipProxy::GetCIThumbType(std::string const& file, EThumbType& thumbType)
{
    if (const auto reply = m_call(protocol::pvrCip::GetCIThumbType, file, thumbType))
    {
        return *reply;
    }
    return TCPvrCipProxyNO_CI::GetCIThumbType(file, thumbType);
}

int TCPvrCipProxy::GetContentInfo(std::string const& file, EInfoType& infoType, unsigned char& value)
{
    if (const auto reply = m_call(protocol::pvrCip::GetContentInfo, file, infoType, value))
    {
        return *reply;
    }
    return TCPvrCipProxyNO_CI::GetContentInfo(file, infoType, value);
}

int TCPvrCipProxy::GetExpiredContentSections(std::string const& file, std::vector<SContentSection>& sections)
{
    if (const auto reply = m_call(protocol::pvrCip::GetExpiredContentSections, file, sections))
    {
        return *reply;
    }
    return TCPvrCipProxyNO_CI::GetExpiredContentSections(file, sections);
}

int TCPvrCipProxy::IsBlockedByParentalControl(std::string const& file, bool& blocked)
{
    if (const auto reply = m_call(protocol::pvrCip::IsBlockedByParentalControl, file, blocked))
    {
        return *reply;
    }
    return TCPvrCipProxyNO_CI::IsBlockedByParentalControl(file, blocked);
}

int TCPvrCipProxy::CheckThumbnailValidation(std::string const& file, long const& time, bool& valid)
{
    if (const auto reply = m_call(protocol::pvrCip::CheckThumbnailValidation, file, time, valid))
    {
        return *reply;
    }
    return TCPvrCipProxyNO_CI::CheckThumbnailValidation(file, time, valid);
}

int TCPvrCipProxy::IsThisStreamCopyProtected(TVSHandle const& handle, bool& isProtected)
{
    if (const auto reply = m_call(protocol::pvrCip::IsThisStreamCopyProtected, handle, isProtected))
    {
        return *reply;
    }
    return TCPvrCipProxyNO_CI::IsThisStreamCopyProtected(handle, isProtected);
}

bool TCPvrCipProxy::IsSkippingForwardAllowed(int position, int& allowed)
{
    if (const auto reply = m_call(protocol::pvrCip::IsSkippingForwardAllowed, position, allowed))
    {
        return *reply;
    }
    return TCPvrCipProxyNO_CI::IsSkippingForwardAllowed(position, allowed);
}

bool TCPvrCipProxy::IsSkippingBackwardsAllowed(int position, int& allowed)
{
    if (const auto reply = m_call(protocol::pvrCip::IsSkippingBackwardsAllowed, position, allowed))
    {
        return *reply;
    }
    return TCPvrCipProxyNO_CI::IsSkippingBackwardsAllowed(position, allowed);
}

bool TCPvrCipProxy::IsFastForwardAllowed(int position, int& allowed, ESpeedRestriction& restriction)
{
    if (const auto reply = m_call(protocol::pvrCip::IsFastForwardAllowed, position, allowed, restriction))
    {
        return *reply;
    }
    return TCPvrCipProxyNO_CI::IsFastForwardAllowed(position, allowed, restriction);
}

bool TCPvrCipProxy::IsFastRewindAllowed(int position, int& allowed, ESpeedRestriction& restriction)
{
    if (const auto reply = m_call(protocol::pvrCip::IsFastRewindAllowed, position, allowed, restriction))
    {
        return *reply;
    }
    return TCPvrCipProxyNO_CI::IsFastRewindAllowed(position, allowed, restriction);
}
} // namespace CIM
