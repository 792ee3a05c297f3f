#pragma once

#include "no_ci/PvrCipProxyNO_CI.h"
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

    int SetRecordingEsPids(TVSHandle const& handle, std::list<unsigned short> const& pids, bool oneWay) override;
    int IsFileExceededRetentionLimit(std::string const& file, bool& exceeded) override;
    int GetCIThumbType(std::string const& file, EThumbType& thumbType) override;
    int GetContentInfo(std::string const& file, EInfoType& infoType, unsigned char& value) override;
    int GetExpiredContentSections(std::string const& file, std::vector<SContentSection>& sections) override;
    int IsBlockedByParentalControl(std::string const& file, bool& blocked) override;
    int CheckThumbnailValidation(std::string const& file, long const& time, bool& valid) override;
    int IsThisStreamCopyProtected(TVSHandle const& handle, bool& isProtected) override;
    bool IsSkippingForwardAllowed(int position, int& allowed) override;
    bool IsSkippingBackwardsAllowed(int position, int& allowed) override;
    bool IsFastForwardAllowed(int position, int& allowed, ESpeedRestriction& restriction) override;
    bool IsFastRewindAllowed(int position, int& allowed, ESpeedRestriction& restriction) override;

private:
    TCProxyCall m_call;
};
} // namespace CIM
