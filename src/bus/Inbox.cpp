#include "bus/Inbox.h"

#include "bus/Peer.h"
#include "utils/CIAPILog.h"

#include <algorithm>
#include <climits>
#include <exception>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace CIM
{
namespace
{
constexpr int STARVED_RETRY_MS = 50;

// Without a descriptor to be woken by, or memory for what has come, who waits for an answer looks for it.
constexpr std::int64_t UNWOKEN_CHECK_MS = 20;

bool IsAnswer(DBusMessage* message, std::uint32_t question)
{
    const int type = dbus_message_get_type(message);
    return question != 0 && (type == DBUS_MESSAGE_TYPE_METHOD_RETURN || type == DBUS_MESSAGE_TYPE_ERROR) &&
           dbus_message_get_reply_serial(message) == question && dbus_message_has_sender(message, DBUS_SERVICE_DBUS);
}
} // namespace

struct TCInbox::SSource
{
    GSource base;
    TCInbox* inbox;
    gpointer socket;     ///< what GLib polls; null when that is over
    GIOCondition polled; ///< for what
};

TCInbox::TCInbox(DBusConnection* connection, THandler handler, void* userData)
    : m_connection(connection), m_handler(handler), m_userData(userData),
      m_answered(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    dbus_connection_get_unix_fd(connection, &m_socket);
}

TCInbox::~TCInbox()
{
    if (m_answered >= 0)
    {
        close(m_answered);
    }
}

void TCInbox::Attach()
{
    static GSourceFuncs functions = {m_Prepare, m_Check, m_DispatchSource, nullptr, nullptr, nullptr};
    GSource* const created = g_source_new(&functions, sizeof(SSource));
    auto* const source = reinterpret_cast<SSource*>(created);
    source->inbox = this;
    source->polled = static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR);
    source->socket = m_socket >= 0 ? g_source_add_unix_fd(created, m_socket, source->polled) : nullptr;
    {
        const std::lock_guard lock(m_mutex);
        m_state |= STATE_ATTACHED;
        m_Read(); // what came with the bus's last answer makes no socket readable
        m_Tell(/*isMainLoop=*/true);
    }
    g_source_attach(created, nullptr);
    g_source_unref(created);
}

std::uint32_t TCInbox::Send(DBusMessage* message)
{
    const std::lock_guard lock(m_mutex);
    const std::uint32_t serial = m_Send(message);
    m_Tell(/*isMainLoop=*/false);
    return serial;
}

std::uint32_t TCInbox::m_Send(DBusMessage* message)
{
    dbus_uint32_t serial = 0;
    return IsOpen() && dbus_connection_send(m_connection, message, &serial) ? serial : 0;
}

TCMessagePtr TCInbox::Ask(DBusMessage* call, std::chrono::milliseconds time, TCDBusError& error)
{
    const auto deadline = std::chrono::steady_clock::now() + time;
    std::unique_lock lock(m_mutex);
    if (!m_turn.wait_until(lock, deadline, [this] { return !m_isAsking; }))
    {
        dbus_set_error_const(error.Get(), DBUS_ERROR_NO_REPLY, "The bus has not answered others in time");
        return nullptr;
    }
    m_isAsking = true;
    m_AskInTurn(lock, call, deadline, error);
    m_isAsking = false;
    TCMessagePtr answer = std::move(m_answer);
    lock.unlock();
    m_turn.notify_one();
    return answer && dbus_set_error_from_message(error.Get(), answer.get()) ? nullptr : std::move(answer);
}

// Leaves the answer in m_answer, or sets the error.
void TCInbox::m_AskInTurn(std::unique_lock<std::mutex>& lock, DBusMessage* call,
                          std::chrono::steady_clock::time_point deadline, TCDBusError& error)
{
    eventfd_t leftOver = 0;
    eventfd_read(m_answered, &leftOver);
    m_answer.reset();
    m_question = call != nullptr ? m_Send(call) : 0;
    if (m_question == 0)
    {
        IsOpen() ? dbus_set_error_const(error.Get(), DBUS_ERROR_NO_MEMORY, "Out of memory")
                 : dbus_set_error_const(error.Get(), DBUS_ERROR_DISCONNECTED, "Connection is closed");
        return;
    }
    for (;;)
    {
        m_Read();
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        const bool isOver = m_question == 0 || !IsOpen() || left.count() <= 0;
        if (isOver)
        {
            m_question = 0;
        }
        m_Tell(/*isMainLoop=*/false);
        if (isOver)
        {
            break;
        }
        const bool isSending = (m_state & STATE_SENDING) != 0;
        const bool isWoken = m_answered >= 0 && (m_state & STATE_STARVED) == 0;
        lock.unlock();
        pollfd waited[] = {{m_socket, static_cast<short>(isSending ? POLLIN | POLLOUT : POLLIN), 0},
                           {m_answered, POLLIN, 0}};
        const std::int64_t longest = isWoken ? INT_MAX : UNWOKEN_CHECK_MS;
        poll(waited, std::size(waited), static_cast<int>(std::min<std::int64_t>(left.count(), longest)));
        lock.lock();
    }
    if (!m_answer)
    {
        IsOpen()
            ? dbus_set_error_const(error.Get(), DBUS_ERROR_NO_REPLY, "The bus has not answered in time")
            : dbus_set_error_const(error.Get(), DBUS_ERROR_DISCONNECTED, "The connection was lost before the answer");
    }
}

// Takes what has come; the bytes that libdbus reads at once are few, and the socket stays readable for the rest.
void TCInbox::m_Read()
{
    dbus_connection_read_write(m_connection, 0);
    while (DBusMessage* const message = dbus_connection_pop_message(m_connection))
    {
        m_Take(TCMessagePtr(message));
    }
}

void TCInbox::m_Take(TCMessagePtr message) noexcept
try
{
    if (IsAnswer(message.get(), m_question))
    {
        m_answer = std::move(message);
        m_question = 0;
    }
    else
    {
        m_messages.push_back(std::move(message));
    }
}
catch (const std::exception& exception) // there is no memory to keep it in
{
    CIM_LOG_ERROR("[TCInbox::%s] A message is lost: %s", __func__, exception.what());
}

// Tells the main loop what has changed; wakes it when that changes what it waits for.
void TCInbox::m_Tell(bool isMainLoop)
{
    const unsigned before = m_state.load();
    const bool isStarved = dbus_connection_get_dispatch_status(m_connection) == DBUS_DISPATCH_NEED_MEMORY;
    const unsigned now = (before & STATE_ATTACHED) | (m_messages.empty() ? 0U : STATE_QUEUED) |
                         (dbus_connection_has_messages_to_send(m_connection) ? STATE_SENDING : 0U) |
                         (isStarved ? STATE_STARVED : 0U) | (IsOpen() ? 0U : STATE_LOST);
    m_state.store(now);
    if (!isMainLoop && (now & STATE_ATTACHED) != 0 && (now & ~before) != 0)
    {
        g_main_context_wakeup(nullptr);
    }
}

gboolean TCInbox::m_Prepare(GSource* source, gint* timeout)
{
    auto& own = *reinterpret_cast<SSource*>(source);
    const unsigned state = own.inbox->m_state.load();
    // libdbus has closed the socket of a connection that is lost: its number may be another's by now.
    if ((state & STATE_LOST) != 0 && own.socket != nullptr)
    {
        g_source_remove_unix_fd(source, std::exchange(own.socket, nullptr));
    }
    const auto wanted =
        static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR | ((state & STATE_SENDING) != 0 ? G_IO_OUT : 0));
    if (own.socket != nullptr && wanted != own.polled)
    {
        g_source_modify_unix_fd(source, own.socket, wanted);
        own.polled = wanted;
    }
    *timeout = (state & STATE_STARVED) != 0 ? STARVED_RETRY_MS : -1;
    return (state & STATE_QUEUED) != 0;
}

gboolean TCInbox::m_Check(GSource* source)
{
    const auto& own = *reinterpret_cast<SSource*>(source);
    return (own.inbox->m_state.load() & (STATE_QUEUED | STATE_STARVED)) != 0 ||
           (own.socket != nullptr && g_source_query_unix_fd(source, own.socket) != 0);
}

CIM_CALLED_FROM_OUTSIDE gboolean TCInbox::m_DispatchSource(GSource* source, GSourceFunc, gpointer)
{
    const auto& own = *reinterpret_cast<SSource*>(source);
    const bool isReadable = own.socket != nullptr && g_source_query_unix_fd(source, own.socket) != 0;
    return own.inbox->m_Dispatch(isReadable) ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

// \return false when nothing more can come
bool TCInbox::m_Dispatch(bool isReadable)
{
    TCMessagePtr message;
    bool isOver = false;
    {
        const std::lock_guard lock(m_mutex);
        // What waits in the socket meanwhile is read at once later.
        const bool isIdle = m_messages.empty() || (m_state & STATE_SENDING) != 0;
        const bool isReading = (isReadable && isIdle) || (m_state & STATE_STARVED) != 0;
        if (isReading)
        {
            const bool isAsked = m_question != 0;
            m_Read();
            if (isAsked && (m_question == 0 || !IsOpen()))
            {
                eventfd_write(m_answered, 1);
            }
        }
        if (!m_messages.empty())
        {
            message = std::move(m_messages.front());
            m_messages.pop_front();
        }
        if (isReading)
        {
            m_Tell(/*isMainLoop=*/true);
        }
        else if (m_messages.empty()) // the common case of many: nothing of libdbus's has changed
        {
            m_state &= ~STATE_QUEUED;
        }
        isOver = (m_state & STATE_LOST) != 0 && m_messages.empty();
    }
    if (message)
    {
        m_Handle(message.get());
    }
    return !isOver;
}

void TCInbox::m_Handle(DBusMessage* message)
{
    if (m_handler(m_connection, message, m_userData) != DBUS_HANDLER_RESULT_NOT_YET_HANDLED)
    {
        return;
    }
    if (const TCMessagePtr answer = AnswerAsPeer(message)) // somebody calls this process by its name on the bus
    {
        Send(answer.get());
    }
}
} // namespace CIM
