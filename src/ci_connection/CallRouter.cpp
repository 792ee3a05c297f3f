#include "ci_connection/CallRouter.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace CIM
{
namespace
{
// libdbus reads a few KiB at a time: while a large message arrives, so often before the socket is polled again.
constexpr int READS_PER_POLL = 8;

// Replies that the application still holds must not make libdbus stop reading for the other threads.
constexpr long LIVE_BYTES = 1L << 30;

// The serials below were given by libdbus while the connection was made.
constexpr dbus_uint32_t FIRST_SERIAL = 0x1000;

TCMessagePtr MakeNoReply()
{
    TCMessagePtr error(dbus_message_new(DBUS_MESSAGE_TYPE_ERROR));
    const char* const text =
        "Did not receive a reply. Possible causes include: the remote application did not send a reply, the message "
        "bus security policy blocked the reply, the reply timeout expired, or the network connection was broken.";
    if (error && dbus_message_set_error_name(error.get(), DBUS_ERROR_NO_REPLY))
    {
        dbus_message_append_args(error.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    }
    return error;
}
} // namespace

TCCallRouter::TCCallRouter(DBusConnection* connection, int wakeUp, std::chrono::milliseconds timeout)
    : m_connection(connection), m_timeout(timeout), m_wakeUp(wakeUp), m_lastSerial(FIRST_SERIAL)
{
    dbus_connection_get_unix_fd(connection, &m_socket);
    dbus_connection_set_max_received_size(connection, LIVE_BYTES);
}

TCCallRouter::~TCCallRouter() { close(m_wakeUp); }

TCCallRouter::EResult TCCallRouter::Call(DBusMessage* call, TCMessagePtr& reply)
{
    if (!dbus_connection_get_is_connected(m_connection))
    {
        return EResult::BROKEN;
    }
    SWaiter waiter;
    waiter.serial = m_NextSerial();
    dbus_message_set_serial(call, waiter.serial);
    if (!m_Enter(waiter)) // before the message is out: the leader may read the reply before send returns
    {
        return EResult::NO_MEMORY;
    }
    if (!dbus_connection_send(m_connection, call, nullptr))
    {
        m_Leave(waiter);
        return EResult::NO_MEMORY;
    }
    m_Wait(waiter);
    reply = waiter.reply ? std::move(waiter.reply) : MakeNoReply();
    return EResult::ANSWERED;
}

bool TCCallRouter::Send(DBusMessage* message)
{
    dbus_message_set_serial(message, m_NextSerial());
    if (!dbus_connection_send(m_connection, message, nullptr))
    {
        return false;
    }
    if (dbus_connection_has_messages_to_send(m_connection))
    {
        SWaiter waiter;
        if (m_Enter(waiter)) // otherwise the next call takes it along
        {
            m_Wait(waiter);
        }
    }
    return true;
}

dbus_uint32_t TCCallRouter::m_NextSerial()
{
    dbus_uint32_t serial = m_lastSerial.fetch_add(1, std::memory_order_relaxed) + 1;
    while (serial == 0) // not a serial
    {
        serial = m_lastSerial.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    return serial;
}

// \return false: no memory
bool TCCallRouter::m_Enter(SWaiter& waiter)
{
    const std::lock_guard lock(m_mutex);
    try
    {
        m_waiters.push_back(&waiter);
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
    return true;
}

void TCCallRouter::m_Leave(SWaiter& waiter)
{
    const std::lock_guard lock(m_mutex);
    std::erase(m_waiters, &waiter);
    m_HandOn(); // it may have been this waiter that was to lead next
}

// With the mutex held: somebody has to read as long as anybody waits.
void TCCallRouter::m_HandOn()
{
    if (!m_leading && !m_waiters.empty())
    {
        m_waiters.front()->wake.notify_one();
    }
}

void TCCallRouter::BeginEnding()
{
    TTime none = TTime::max(); // the first one counts
    m_end.compare_exchange_strong(none, std::chrono::steady_clock::now() + m_timeout);
}

TCCallRouter::TTime TCCallRouter::m_Deadline() const
{
    return std::min(std::chrono::steady_clock::now() + m_timeout, m_end.load());
}

std::chrono::milliseconds TCCallRouter::TimeLeft() const
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_Deadline() - std::chrono::steady_clock::now());
    return std::max(left, std::chrono::milliseconds(0));
}

void TCCallRouter::m_Wait(SWaiter& waiter)
{
    const TTime deadline = m_Deadline();
    const bool leaderMustLook =
        dbus_connection_has_messages_to_send(m_connection) || !dbus_connection_get_is_connected(m_connection);

    std::unique_lock lock(m_mutex);
    if (m_leading && leaderMustLook)
    {
        m_WakeLeader();
    }
    while (!waiter.done)
    {
        if (m_leading)
        {
            if (waiter.wake.wait_until(lock, deadline) == std::cv_status::timeout)
            {
                break;
            }
            continue;
        }
        m_leading = true;
        lock.unlock();
        m_Lead(waiter, deadline);
        lock.lock();
        m_leading = false;
        if (!waiter.done)
        {
            break;
        }
    }
    if (!waiter.done)
    {
        std::erase(m_waiters, &waiter);
    }
    m_HandOn();
}

// Returns when the leader's own answer has come or its time is over.
void TCCallRouter::m_Lead(const SWaiter& leader, TTime deadline)
{
    for (;;)
    {
        if (!dbus_connection_get_is_connected(m_connection))
        {
            m_Deliver();
            m_CompleteAll(/*onlySenders=*/false);
            return;
        }
        m_WaitForSocket(deadline);
        int reads = 0;
        do
        {
            dbus_connection_read_write(m_connection, 0);
        } while (!m_Deliver() && ++reads < READS_PER_POLL);
        if (!dbus_connection_has_messages_to_send(m_connection))
        {
            m_CompleteAll(/*onlySenders=*/true);
        }
        const bool late = std::chrono::steady_clock::now() >= deadline;
        const std::lock_guard lock(m_mutex);
        if (leader.done || late)
        {
            return;
        }
    }
}

void TCCallRouter::m_WaitForSocket(TTime deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    const short events = dbus_connection_has_messages_to_send(m_connection) ? POLLIN | POLLOUT : POLLIN;
    pollfd waited[] = {{m_socket, events, 0}, {m_wakeUp, POLLIN, 0}};
    poll(waited, 2, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    if ((waited[1].revents & POLLIN) != 0)
    {
        eventfd_t value;
        eventfd_read(m_wakeUp, &value);
    }
}

// Hands out what has been read. Returns false when no whole message was there.
bool TCCallRouter::m_Deliver()
{
    bool any = false;
    while (DBusMessage* const message = dbus_connection_borrow_message(m_connection))
    {
        any = true;
        const int type = dbus_message_get_type(message);
        if (type == DBUS_MESSAGE_TYPE_METHOD_RETURN || type == DBUS_MESSAGE_TYPE_ERROR)
        {
            dbus_connection_steal_borrowed_message(m_connection, message);
            m_Complete(TCMessagePtr(message));
        }
        else // e.g. somebody pings this process: libdbus knows the answer
        {
            dbus_connection_return_message(m_connection, message);
            dbus_connection_dispatch(m_connection);
        }
    }
    return any;
}

void TCCallRouter::m_Complete(TCMessagePtr reply)
{
    const dbus_uint32_t serial = dbus_message_get_reply_serial(reply.get());
    const std::lock_guard lock(m_mutex);
    const auto place = std::find_if(m_waiters.begin(), m_waiters.end(),
                                    [serial](const SWaiter* waiter) { return waiter->serial == serial; });
    if (place == m_waiters.end() || serial == 0)
    {
        return; // its caller gave up
    }
    SWaiter& waiter = **place;
    m_waiters.erase(place);
    waiter.reply = std::move(reply);
    waiter.done = true;
    waiter.wake.notify_one(); // with the lock held: the waiter lives on its thread's stack
}

void TCCallRouter::m_CompleteAll(bool onlySenders)
{
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_waiters,
                  [onlySenders](SWaiter* waiter)
                  {
                      if (onlySenders && waiter->serial != 0)
                      {
                          return false;
                      }
                      waiter->done = true;
                      waiter->wake.notify_one();
                      return true;
                  });
}

void TCCallRouter::m_WakeLeader() { eventfd_write(m_wakeUp, 1); }
} // namespace CIM
