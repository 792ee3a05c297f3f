#pragma once

#include <ciapi/Export.h>

#include <string>

// What became of a call. An operation answers in the same way when the CAM says no and when the daemon is away; this
// tells the two apart.

namespace CIM
{
/// What became of a call to the daemon.
enum ECallOutcome : int
{
    CALL_OUTCOME_NONE = 0,         ///< no call was made
    CALL_OUTCOME_ANSWERED = 1,     ///< the daemon answered: the result is its own, and the outputs that it wrote are
    CALL_OUTCOME_SENT = 2,         ///< a one-way call was handed to the bus; nobody says whether it arrived
    CALL_OUTCOME_NOT_READY = 3,    ///< not sent: on this set no call is made before the daemon says that it is ready
    CALL_OUTCOME_NOT_SENT = 4,     ///< not sent: too large, no memory, the bus is gone, or this is a forked child
    CALL_OUTCOME_NO_REPLY = 5,     ///< none in time, or the daemon or the bus went away while it was waited for
    CALL_OUTCOME_ERROR_REPLY = 6,  ///< the daemon, or the bus in its place, replied with an error: it has a name
    CALL_OUTCOME_REFUSED = 7,      ///< the daemon did not handle the call, as the status of its reply says
    CALL_OUTCOME_NOT_READABLE = 8, ///< the daemon replied, but without a result, or with a part that is not readable
};

/// What became of a call, and why.
struct TSCallOutcome
{
    ECallOutcome outcome = CALL_OUTCOME_NONE; ///< what became of it
    /// The D-Bus name of the error, such as "org.freedesktop.DBus.Error.ServiceUnknown" when there is no daemon. Only
    /// with CALL_OUTCOME_ERROR_REPLY and CALL_OUTCOME_NO_REPLY; otherwise empty.
    std::string errorName;
    /// What the error says, for people, in UTF-8; cut to at most 255 bytes, between two characters. Only with a name,
    /// and may be empty all the same.
    std::string errorText;
};

/// What became of the last operation that the calling thread called on an instance of the facade:
///
///   if (ci->EnterMenu(slot, /*oneWay=*/false) == 0)
///   {
///       const CIM::TSCallOutcome became = CIM::LastCallOutcome();
///       if (!CIM::TCCIService::IsCIOperable()) ... there is no CI here: nobody was asked
///       else if (became.outcome == CIM::CALL_OUTCOME_ANSWERED) ... the CAM said no
///       else ... the daemon did not: CIM::ToString(became) says why
///   }
///
/// Operations that need no call leave it as it is: ICIGeneral::IsCiSupported, ICISignalSubscriber::SetCallback, and all
/// of them on a set without CI. It is CALL_OUTCOME_NONE as long as a thread has made no call. Subscribing what is
/// subscribed already, and unsubscribing what is not, gives CALL_OUTCOME_NONE; when the bus refuses a subscription, its
/// error is here.
/// Each thread has its own; a signal callback that makes calls changes that of the thread it runs on.
/// Thread-safe. Never blocks.
/// \throws std::bad_alloc when memory is out
CIAPI_EXPORT TSCallOutcome LastCallOutcome();

/// "answered", "no reply (org.freedesktop.DBus.Error.NoReply)", "org.freedesktop.DBus.Error.ServiceUnknown: The name ...":
/// for log lines and people. Reentrant.
CIAPI_EXPORT std::string ToString(const TSCallOutcome& outcome);
} // namespace CIM
