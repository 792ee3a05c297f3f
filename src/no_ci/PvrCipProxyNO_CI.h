#pragma once

#include <ciapi/IPvrCip.h>

namespace CIM
{
/// What IPvrCip answers on a set without CI, and what its proxy answers when the daemon does not: no, at once, without
/// touching outputs, except where the interface says otherwise. Nothing is protected: skipping and fast play are
/// allowed. Stateless; thread-safe.
class TCPvrCipProxyNO_CI : public IPvrCip
{
public:
    TCPvrCipProxyNO_CI();
    ~TCPvrCipProxyNO_CI() override;

    int SetRecordingEsPids(TVSHandle const&, std::list<unsigned short> const&, bool) override { return 0; }
    int IsFileExceededRetentionLimit(std::string const&, bool&) override { return 0; }
    int GetCIThumbType(std::string const&, EThumbType&) override { return 0; }
    int GetContentInfo(std::string const&, EInfoType&, unsigned char&) override { return 0; }
    int GetExpiredContentSections(std::string const&, std::vector<SContentSection>&) override { return 0; }
    int IsBlockedByParentalControl(std::string const&, bool&) override { return 0; }
    int CheckThumbnailValidation(std::string const&, long const&, bool&) override { return 0; }
    int IsThisStreamCopyProtected(TVSHandle const&, bool&) override { return 0; }
    bool IsSkippingForwardAllowed(int, int& allowed) override
    {
        allowed = -1;
        return true;
    }
    bool IsSkippingBackwardsAllowed(int, int& allowed) override
    {
        allowed = -1;
        return true;
    }
    bool IsFastForwardAllowed(int, int& allowed, ESpeedRestriction& restriction) override
    {
        allowed = -1;
        restriction = SPEED_RESTRICTION_NONE;
        return true;
    }
    bool IsFastRewindAllowed(int, int& allowed, ESpeedRestriction& restriction) override
    {
        allowed = -1;
        restriction = SPEED_RESTRICTION_NONE;
        return true;
    }
};
} // namespace CIM
