#pragma once

#include <ciapi/CISignalDataType.h>
#include <ciapi/Export.h>
#include <ciapi/ICIAppMMI.h>
#include <ciapi/ICIAuxiliaryFileSystem.h>
#include <ciapi/ICICAMPlayer.h>
#include <ciapi/ICIDebug.h>
#include <ciapi/ICIGeneral.h>
#include <ciapi/ICIOperatorProfile.h>
#include <ciapi/ICISampleDecryption.h>
#include <ciapi/ICISignalSubscriber.h>
#include <ciapi/IPvrCip.h>

/// The client library of the CI daemon.
namespace CIM
{
/// The way into the library: one instance of each interface for the whole process, created when it is first asked for.
///
/// On a set that can use CI the instance talks to the CI daemon; on any other set every operation answers at once, as
/// its interface says for a set without CI. So an application calls without asking first:
/// \code
/// TCIText text;
/// if (TCCIService::CIGeneralInstance()->GetMmiText(0, text)) { Show(text); }
/// \endcode
///
/// Instances belong to the facade: never delete one, and use none after Destroy.
///
/// A process that ends without Destroy ends cleanly, also while other threads call and signals come in. When exit() or
/// the end of main() destroys the library's static objects, after the application's own, the subscriptions end (each
/// with its word to the daemon) and the connection is closed; a callback that is running is not waited for, and none
/// starts. The instances themselves stay where they are until the process is gone: a thread that calls meanwhile gets
/// the answer of a set without CI, and an instance that is first asked for then gives only that. The callback and what
/// it uses must be able to run until the library's static objects end: destroy nothing before that it touches.
///
/// Destroy and exit wait for a daemon or a bus that hangs, but all their waiting together takes at most one call's
/// time-out (25 seconds). What is told the daemon after that is sent and not waited for.
///
/// Thread-safe. An instance that exists is handed out at once, without a lock. All else takes one lock: a thread that
/// asks for an instance that does not exist yet waits for another's that is being created. What can take long, each
/// once per process: reading the set's feature keys (30 seconds a key that is missing), connecting to the system bus
/// (about a minute; when that fails for good the process ends), waiting for the daemon's interface (15 seconds an
/// interface, and it is created nevertheless). Each may throw std::system_error when the lock cannot be taken, and
/// std::bad_alloc. An operation of an instance throws no std::bad_alloc: without memory a call fails like any other.
///
/// The child of a fork cannot use the connection of its parent, which stays as it is: on a set with CI every call in
/// the child gets the null answer at once, and LastCallOutcome() says CALL_OUTCOME_NOT_SENT. Nothing of the parent's is
/// ended in a child, by exit() as little as by Destroy, after which the child gets null from every instance operation.
/// ICIAuxiliaryFileSystem::RequestFile, which repeats itself, does not return there. A child that needs the daemon
/// executes a program of its own.
class CIAPI_EXPORT TCCIService
{
public:
    TCCIService() = delete;

    /// Whether the set has a CI slot, and CI is enabled and certified for its region. The first answer is kept for the
    /// process's life, also beyond Destroy.
    static bool IsCIOperable();

    /// Slots, CAMs, menus, PIN, CA PMT, SAS, host control.
    /// \return the process's instance, owned by the facade; null after Destroy. So with all that follow.
    static ICIGeneral* CIGeneralInstance();
    /// CI Plus application MMI.
    static ICIAppMMI* CIAppMMIInstance();
    /// CI Plus operator profiles.
    static ICIOperatorProfile* CIOperatorProfileInstance();
    /// Copy control of recordings.
    static IPvrCip* PvrCipInstance();
    /// Service and factory commands.
    static ICIDebug* CIDebugInstance();
    /// Signals of the daemon.
    /// \param[in] callback  called for every signal that is subscribed to, on the thread that runs the default GLib
    ///                      main context. The first caller wins: when the instance exists, the callback is ignored.
    static ICISignalSubscriber* CISignalSubscriberInstance(TCISignalCallback callback);
    /// Auxiliary file systems of the CAMs.
    static ICIAuxiliaryFileSystem* CIAuxiliaryFileSystemInstance();
    /// Playback by a CAM.
    static ICICAMPlayer* CICAMPlayerInstance();
    /// Decryption of samples outside a transport stream.
    static ICISampleDecryption* CISampleDecryptionInstance();

    /// Deletes all instances, ending their subscriptions, and closes the connection to the bus. There is no way back:
    /// from then on every instance operation returns null. No other thread may be inside an operation of an interface,
    /// nor may a signal be on its way to the callback. May be called again, which does nothing; on another thread it
    /// returns only after the first has deleted everything.
    static void Destroy();
};
} // namespace CIM
