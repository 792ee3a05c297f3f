#pragma once

#include <ciapi/CISignalDataType.h>
#include <ciapi/Export.h>

#include <tvplatform/Types.h>

namespace CIM
{
/// The signals of the CI daemon: one callback for the process, and subscriptions that say which signals reach it.
/// A subscription is one (signal type, profile, handle number); each has its own user data.
///
/// The callback runs on the thread that runs the default GLib main context, never twice at a time, and the subscriber
/// is locked meanwhile: inside it Subscribe and Unsubscribe may be called, but waiting there for another thread that is
/// inside one of these operations blocks both for ever. Its result is ignored. A signal that arrives without a matching
/// subscription (another subscription's rule let it through) is delivered with null user data.
///
/// What holds for Subscribe and Unsubscribe:
/// - Each is one call to the CI daemon and blocks the calling thread until the daemon answers or the bus gives up (25
///   seconds unless the bus is configured otherwise); other threads that call this interface wait as well.
/// - They are thread-safe. Nothing is thrown but std::system_error when a mutex cannot be locked.
/// - The result is what the daemon answered, non-zero meaning success, or -1 when its answer held no result. On a set
///   without CI, without daemon or without a timely answer it is 0.
///
/// Obtained from TCCIService::CISignalSubscriberInstance(callback) and owned by it. The order of the declarations is
/// binary interface: new operations go to the end.
class CIAPI_EXPORT ICISignalSubscriber
{
public:
    virtual ~ICISignalSubscriber() = default;

    /// Starts the delivery of a signal.
    /// \param[in] signalType  which signal
    /// \param[in] userData    handed to the callback with each such signal; the caller keeps it alive until Unsubscribe
    /// \param[in] profile     the TV pipeline's profile
    /// \param[in] handle      the TV pipeline's handle number
    /// \param[in] reserved    not used; pass 0
    /// \return as said above. 0 also when this subscription exists already, which then keeps its user data, and when
    ///         the bus refuses. Unless 0 came of a set without CI, the subscription is kept and Unsubscribe ends it.
    virtual int Subscribe(ECISignalType signalType, void* userData, EProfile profile, unsigned short handle,
                          long reserved) = 0;

    /// Ends the delivery of a signal.
    /// \param[in] signalType  as for Subscribe
    /// \param[in] profile     as for Subscribe
    /// \param[in] handle      as for Subscribe
    /// \param[in] reserved    not used; pass 0
    /// \return as said above. 0 also when there is no such subscription, and when the bus refuses; the subscription is
    ///         gone in any case.
    virtual int Unsubscribe(ECISignalType signalType, EProfile profile, unsigned short handle, long reserved) = 0;

    /// Sets the process's callback, once: later calls change nothing. TCCIService::CISignalSubscriberInstance has done
    /// so already, so that this matters only when null was given there. Does not call the daemon. Thread-safe.
    /// \param[in] callback  the function to call; null leaves the callback unset
    virtual void SetCallback(int (*callback)(ECISignalType, EProfile, unsigned short, TSSignalData, void*)) = 0;
};
} // namespace CIM
