#pragma once

#include <ciapi/CIEnumerations.h>
#include <ciapi/Export.h>
#include <ciapi/PvrCipDataType.h>

#include <tvplatform/Types.h>

#include <list>
#include <string>
#include <vector>

namespace CIM
{
/// What recording, time shift and playback have to ask about content under CI Plus copy control.
///
/// What holds for every operation:
/// - It is one call to the CI daemon. It blocks the calling thread, and only that, until the daemon answers or the bus
///   gives up (25 seconds unless the bus is configured otherwise). A one-way call only waits until the request is sent.
/// - It is thread-safe. Called from inside a signal callback it delays the signals behind it.
/// - The result is what the daemon answered, non-zero meaning success, or -1 when its answer held no result. On a set
///   without CI, without daemon or without a timely answer it is 0. The four trick-mode questions at the end differ.
/// - Outputs are filled in place and not cleared first; whenever the daemon did not answer they keep their values, the
///   trick-mode questions' excepted.
/// - Arguments are not checked; a file name may be empty. The caller keeps everything it passes. Nothing is thrown.
///
/// Obtained from TCCIService::PvrCipInstance() and owned by it. The order of the declarations is binary interface: new
/// operations go to the end.
class CIAPI_EXPORT IPvrCip
{
public:
    virtual ~IPvrCip() = default;

    /// Tells the daemon which elementary streams a recording holds.
    /// \param[in] handle  the recording TV pipeline
    /// \param[in] pids    the PIDs of the elementary streams; may be empty
    /// \param[in] oneWay  do not wait for the daemon
    /// \return as all; 1 when a one-way request was sent
    virtual int SetRecordingEsPids(TVSHandle const& handle, std::list<unsigned short> const& pids, bool oneWay) = 0;

    /// Whether a recording may no longer be watched because its retention limit is over.
    /// \param[in]  file      path of the recording
    /// \param[out] exceeded  the answer
    virtual int IsFileExceededRetentionLimit(std::string const& file, bool& exceeded) = 0;

    /// Which kind of thumbnail may be shown for a recording.
    /// \param[in]  file       path of the recording
    /// \param[out] thumbType  the kind
    virtual int GetCIThumbType(std::string const& file, EThumbType& thumbType) = 0;

    /// What is known about the licence of a recording.
    /// \param[in]  file      path of the recording
    /// \param[out] infoType  what kind of information there is
    /// \param[out] value     the number that goes with it, such as a play count
    virtual int GetContentInfo(std::string const& file, EInfoType& infoType, unsigned char& value) = 0;

    /// The sections of a recording that may no longer be watched.
    /// \param[in]  file      path of the recording
    /// \param[out] sections  replaced by the daemon's answer
    virtual int GetExpiredContentSections(std::string const& file, std::vector<SContentSection>& sections) = 0;

    /// Whether parental control blocks a recording.
    /// \param[in]  file     path of the recording
    /// \param[out] blocked  the answer
    virtual int IsBlockedByParentalControl(std::string const& file, bool& blocked) = 0;

    /// Whether a thumbnail of a recording may still be shown.
    /// \param[in]  file   path of the recording
    /// \param[in]  time   the thumbnail's time; its unit is the daemon's
    /// \param[out] valid  the answer
    virtual int CheckThumbnailValidation(std::string const& file, long const& time, bool& valid) = 0;

    /// Whether what a pipeline shows is copy protected.
    /// \param[in]  handle       the TV pipeline
    /// \param[out] isProtected  the answer
    virtual int IsThisStreamCopyProtected(TVSHandle const& handle, bool& isProtected) = 0;

    /// Whether the viewer may skip forward.
    /// \param[in]     position  the current position; its unit is the daemon's
    /// \param[in,out] allowed   the wanted position in, the limit out; its unit is the daemon's
    /// \return what the daemon answered, false when its answer held no result; without CI or answer true, and
    ///         \a allowed is -1
    virtual bool IsSkippingForwardAllowed(int position, int& allowed) = 0;

    /// Whether the viewer may skip backwards. See IsSkippingForwardAllowed.
    virtual bool IsSkippingBackwardsAllowed(int position, int& allowed) = 0;

    /// Whether the viewer may wind fast forward.
    /// \param[in]     position     the current position; its unit is the daemon's
    /// \param[in,out] allowed      as for IsSkippingForwardAllowed
    /// \param[in,out] restriction  the wanted speed in, the allowed one out
    /// \return what the daemon answered, false when its answer held no result; without CI or answer true, \a allowed is
    ///         -1 and \a restriction is SPEED_RESTRICTION_NONE
    virtual bool IsFastForwardAllowed(int position, int& allowed, ESpeedRestriction& restriction) = 0;

    /// Whether the viewer may wind fast backwards. See IsFastForwardAllowed.
    virtual bool IsFastRewindAllowed(int position, int& allowed, ESpeedRestriction& restriction) = 0;
};
} // namespace CIM
