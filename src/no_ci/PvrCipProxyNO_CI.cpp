#include "no_ci/PvrCipProxyNO_CI.h"

#include "utils/CIAPILog.h"

namespace CIM
{
TCPvrCipProxyNO_CI::TCPvrCipProxyNO_CI() { CIM_LOG_INFO_AT("TCPvrCipProxyNO_CI", 30, ""); }

TCPvrCipProxyNO_CI::~TCPvrCipProxyNO_CI() { CIM_LOG_INFO_AT("~TCPvrCipProxyNO_CI", 37, ""); }

int TCPvrCipProxyNO_CI::SetRecordingEsPids(TVSHandle const&, std::list<unsigned short> const&, bool) { return 0; }

int TCPvrCipProxyNO_CI::IsFileExceededRetentionLimit(std::string const&, bool&) { return 0; }

int TCPvrCipProxyNO_CI::GetCIThumbType(std::string const&, EThumbType&) { return 0; }

int TCPvrCipProxyNO_CI::GetContentInfo(std::string const&, EInfoType&, unsigned char&) { return 0; }

int TCPvrCipProxyNO_CI::GetExpiredContentSections(std::string const&, std::vector<SContentSection>&) { return 0; }

int TCPvrCipProxyNO_CI::IsBlockedByParentalControl(std::string const&, bool&) { return 0; }

int TCPvrCipProxyNO_CI::CheckThumbnailValidation(std::string const&, long const&, bool&) { return 0; }

int TCPvrCipProxyNO_CI::IsThisStreamCopyProtected(TVSHandle const&, bool&) { return 0; }

bool TCPvrCipProxyNO_CI::IsSkippingForwardAllowed(int, int& allowed)
{
    allowed = -1;
    return true;
}

bool TCPvrCipProxyNO_CI::IsSkippingBackwardsAllowed(int, int& allowed)
{
    allowed = -1;
    return true;
}

bool TCPvrCipProxyNO_CI::IsFastForwardAllowed(int, int& allowed, ESpeedRestriction& restriction)
{
    allowed = -1;
    restriction = SPEED_RESTRICTION_NONE;
    return true;
}

bool TCPvrCipProxyNO_CI::IsFastRewindAllowed(int, int& allowed, ESpeedRestriction& restriction)
{
    allowed = -1;
    restriction = SPEED_RESTRICTION_NONE;
    return true;
}
} // namespace CIM
