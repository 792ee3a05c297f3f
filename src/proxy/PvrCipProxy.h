#pragma once

#include "no_ci/PvrCipProxyNO_CI.h"
#include "protocol/PvrCip.h"
#include "proxy/ProxyCall.h"

namespace CIM
{
/// IPvrCip over the bus: each operation is one call to the daemon, and the null answer when that fails.
/// Thread-safe: it keeps nothing between calls.
class TCPvrCipProxy : public TCPvrCipProxyNO_CI
{
public:
    /// Blocks until the daemon offers the interface, at the longest as long as the connection waits.
    explicit TCPvrCipProxy(boost::shared_ptr<TIIPCHelper> helper);
    ~TCPvrCipProxy() override;

    int SetRecordingEsPids(TVSHandle const& handle, std::list<unsigned short> const& pids, bool oneWay) override
    {
        return m_call.Do<&IPvrCip::SetRecordingEsPids>(handle, pids, oneWay)
            .Or([&] { return TNull::SetRecordingEsPids(handle, pids, oneWay); });
    }
    int IsFileExceededRetentionLimit(std::string const& file, bool& exceeded) override
    {
        return m_call.Do<&IPvrCip::IsFileExceededRetentionLimit>(file, exceeded)
            .Or([&] { return TNull::IsFileExceededRetentionLimit(file, exceeded); });
    }
    int GetCIThumbType(std::string const& file, EThumbType& thumbType) override
    {
        return m_call.Do<&IPvrCip::GetCIThumbType>(file, thumbType)
            .Or([&] { return TNull::GetCIThumbType(file, thumbType); });
    }
    int GetContentInfo(std::string const& file, EInfoType& infoType, unsigned char& value) override
    {
        return m_call.Do<&IPvrCip::GetContentInfo>(file, infoType, value)
            .Or([&] { return TNull::GetContentInfo(file, infoType, value); });
    }
    int GetExpiredContentSections(std::string const& file, std::vector<SContentSection>& sections) override
    {
        return m_call.Do<&IPvrCip::GetExpiredContentSections>(file, sections)
            .Or([&] { return TNull::GetExpiredContentSections(file, sections); });
    }
    int IsBlockedByParentalControl(std::string const& file, bool& blocked) override
    {
        return m_call.Do<&IPvrCip::IsBlockedByParentalControl>(file, blocked)
            .Or([&] { return TNull::IsBlockedByParentalControl(file, blocked); });
    }
    int CheckThumbnailValidation(std::string const& file, long const& time, bool& valid) override
    {
        return m_call.Do<&IPvrCip::CheckThumbnailValidation>(file, time, valid)
            .Or([&] { return TNull::CheckThumbnailValidation(file, time, valid); });
    }
    int IsThisStreamCopyProtected(TVSHandle const& handle, bool& isProtected) override
    {
        return m_call.Do<&IPvrCip::IsThisStreamCopyProtected>(handle, isProtected)
            .Or([&] { return TNull::IsThisStreamCopyProtected(handle, isProtected); });
    }
    bool IsSkippingForwardAllowed(int position, int& allowed) override
    {
        return m_call.Do<&IPvrCip::IsSkippingForwardAllowed>(position, allowed)
            .Or([&] { return TNull::IsSkippingForwardAllowed(position, allowed); });
    }
    bool IsSkippingBackwardsAllowed(int position, int& allowed) override
    {
        return m_call.Do<&IPvrCip::IsSkippingBackwardsAllowed>(position, allowed)
            .Or([&] { return TNull::IsSkippingBackwardsAllowed(position, allowed); });
    }
    bool IsFastForwardAllowed(int position, int& allowed, ESpeedRestriction& restriction) override
    {
        return m_call.Do<&IPvrCip::IsFastForwardAllowed>(position, allowed, restriction)
            .Or([&] { return TNull::IsFastForwardAllowed(position, allowed, restriction); });
    }
    bool IsFastRewindAllowed(int position, int& allowed, ESpeedRestriction& restriction) override
    {
        return m_call.Do<&IPvrCip::IsFastRewindAllowed>(position, allowed, restriction)
            .Or([&] { return TNull::IsFastRewindAllowed(position, allowed, restriction); });
    }

private:
    using TNull = TCPvrCipProxyNO_CI;

    TCProxyCall m_call;
};
} // namespace CIM
