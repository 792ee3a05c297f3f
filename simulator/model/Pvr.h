#pragma once

#include "Ca.h"

#include <ciapi/IPvrCip.h>

namespace CIM::sim
{
/// Copy control of recordings on the virtual clock. What the interface leaves to the daemon is decided so:
/// - A retention limit counts from the recording's end; "copy never" without one has 90 minutes.
/// - Times and positions are milliseconds of the recording. A section's first value is its begin, its second its end.
/// - Trick-mode questions are about the recording that is played (see Play); without one nothing is limited. Outputs:
///   -1 without limit, else how many milliseconds may be skipped or wound; false when it is not allowed at all.
///   Backwards, nothing reaches into an expired section.
/// A file that is not known is refused.
class TCPvr final : public IPvrCip
{
public:
    TCPvr(TSWorld& world, TCCa& ca);

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

    /// The host begins to play a recording. The licence is confirmed (SIGNAL_CI_CC_LICENSE_CONFIRMED, and one of its
    /// plays is used up), or playback has to stop (SIGNAL_CI_PLAYBACK_STOP_REQUEST).
    TSOutcome Play(const std::string& file, const TVSHandle& pipeline = {PROFILE_MAIN, 0});
    TSOutcome EndPlay();
    /// The retention of a recording is over now.
    TSOutcome Expire(const std::string& file);
    /// A recording comes into being, or replaces one of the same name.
    void Add(TSRecordingDefinition recording);
    /// Parental control blocks a recording, or no longer does.
    TSOutcome SetBlocked(const std::string& file, bool isBlocked);

    /// Asks the host to stop a recording, a time shift or a playback.
    /// \param[in] reason  the enumeration that goes with the signal type
    void RequestStop(ECISignalType type, const TVSHandle& pipeline, int reason);

    /// What the CAM protects stops: playback that needs it, recordings that it descrambles.
    void OnCamGone(const TSSlot& slot);
    json::TCDraft State() const;

private:
    struct TSRecording
    {
        TSRecordingDefinition definition;
        int playsLeft = -1;
        bool isForcedOut = false;
        TCClock::TEventId expiry = 0;
    };

    TSRecording* m_Find(const std::string& file);
    TSOutcome m_NoRecording(const std::string& file) const;
    const TSRecording* m_Playing() const;
    bool m_IsExceeded(const TSRecording& recording) const;
    bool m_IsCamThere(const TSRecording& recording) const;
    std::optional<TTime> m_EndOfRetention(const TSRecordingDefinition& definition) const;
    std::vector<SContentSection> m_Expired(const TSRecording& recording) const;
    /// The limit for going back from a position: the given one, or less when expired content lies behind.
    std::int64_t m_LimitBehind(const TSRecording& recording, std::int64_t position, int limit) const;
    static bool m_Limit(std::int64_t limit, int& allowed);
    void m_OnExpired(const std::string& file);

    TSWorld& m_world;
    TCCa& m_ca;
    std::map<std::string, TSRecording> m_recordings;
    std::optional<std::string> m_playing;
    TVSHandle m_pipeline{PROFILE_MAIN, 0};
    std::map<std::pair<int, unsigned short>, std::list<unsigned short>> m_pids;
};
} // namespace CIM::sim
