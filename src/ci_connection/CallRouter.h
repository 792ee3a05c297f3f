#pragma once

#include "bus/Handles.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace CIM
{
/// Lets many threads call through one bus connection at a time. Thread-safe.
///
/// Nobody blocks inside libdbus, which would keep other senders from the socket. Of the threads that wait for an
/// answer one leads: it waits for the socket, reads whatever comes and hands each answer to the thread that waits for
/// its serial. When its own answer has come it passes the lead on.
///
/// Lock order: m_mutex comes last; no call into libdbus is made with it held.
class TCCallRouter
{
public:
    enum class EResult
    {
        ANSWERED,  ///< there is a reply; a missing one is an error message as libdbus would make it
        NO_MEMORY, ///< not sent
        BROKEN,    ///< not sent: the bus connection was lost before
    };

    /// \param connection  must have nobody else who reads it, and must stay open
    /// \param wakeUp      an eventfd that does not block, owned from now on
    /// \param timeout     what a call waits for its reply
    TCCallRouter(DBusConnection* connection, int wakeUp, std::chrono::milliseconds timeout);
    ~TCCallRouter();
    TCCallRouter(const TCCallRouter&) = delete;
    TCCallRouter& operator=(const TCCallRouter&) = delete;

    /// Sends a method call and blocks until its reply or the time-out.
    EResult Call(DBusMessage* call, TCMessagePtr& reply);

    /// Sends a message that has no reply; blocks as long as the bus takes no more bytes, up to the time-out.
    /// \return false: no memory
    bool Send(DBusMessage* message);

    /// Whether all that was given to the connection has been written to the bus.
    bool IsAllSent() const { return !dbus_connection_has_messages_to_send(m_connection); }

    /// Everything that waits from now on, for one reply after the other, is over at the latest one time-out from now.
    /// What is called after that is still sent, but not waited for.
    void BeginEnding();
    /// What is left of the time for something that begins now; zero at the least.
    std::chrono::milliseconds TimeLeft() const;

private:
    using TTime = std::chrono::steady_clock::time_point;

    struct SWaiter
    {
        dbus_uint32_t serial = 0; ///< 0: waits until everything is sent
        bool done = false;
        TCMessagePtr reply;
        std::condition_variable wake;
    };

    dbus_uint32_t m_NextSerial();
    bool m_Enter(SWaiter& waiter);
    void m_Wait(SWaiter& waiter);
    void m_Leave(SWaiter& waiter);
    void m_HandOn();
    TTime m_Deadline() const;
    void m_Lead(const SWaiter& leader, TTime deadline);
    void m_WaitForSocket(TTime deadline);
    bool m_Deliver();
    void m_Complete(TCMessagePtr reply);
    void m_CompleteAll(bool onlySenders);
    void m_WakeLeader();

    DBusConnection* const m_connection;
    const std::chrono::milliseconds m_timeout;
    int m_socket = -1;
    const int m_wakeUp;
    std::atomic<TTime> m_end{TTime::max()};
    std::atomic<dbus_uint32_t> m_lastSerial;

    std::mutex m_mutex;
    std::vector<SWaiter*> m_waiters; // in the order of their coming
    bool m_leading = false;
};
} // namespace CIM
