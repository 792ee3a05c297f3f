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
};
} // namespace CIM
