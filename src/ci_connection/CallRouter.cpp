#include "ci_connection/CallRouter.h"

#include "bus/Peer.h"

#include <tvplatform/MessageBuffer.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>
#include <new>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace CIM
{
namespace
{
// The bytes of a message of libdbus.
class TCMarshalled
{
public:
    explicit TCMarshalled(DBusMessage* message)
    {
        int size = 0;
        char* bytes = nullptr;
        if (dbus_message_marshal(message, &bytes, &size))
        {
            m_bytes.reset(bytes);
            m_size = static_cast<std::size_t>(size);
        }
    }
    bool HasMemory() const { return m_bytes != nullptr; }
    SRequest Request() const { return {{m_bytes.get(), m_size}}; }

private:
    struct SRelease
    {
        void operator()(char* bytes) const { dbus_free(bytes); }
    };
    std::unique_ptr<char, SRelease> m_bytes;
    std::size_t m_size = 0;
};

constexpr bool IsReply(int type) { return type == DBUS_MESSAGE_TYPE_METHOD_RETURN || type == DBUS_MESSAGE_TYPE_ERROR; }
} // namespace

TCCallRouter::TCCallRouter(int socket, std::chrono::milliseconds timeout)
    : m_socket(socket), m_timeout(timeout), m_writer(socket)
{
}

TCCallRouter::EResult TCCallRouter::Call(const SRequest& request, SReply& reply)
{
    if (!IsOpen())
    {
        return EResult::BROKEN;
    }
    SWaiter waiter(m_NextSerial());
    if (!m_Enter(waiter)) // before the message is out: the leader may read the reply before it is all written
    {
        return EResult::NO_MEMORY;
    }
    const TTime deadline = m_Deadline();
    const TCSocketWriter::EResult written = m_Write(request, waiter.serial, deadline);
    if (written != TCSocketWriter::EResult::WRITTEN)
    {
        m_Leave(waiter);
        return written == TCSocketWriter::EResult::BROKEN      ? EResult::BROKEN
               : written == TCSocketWriter::EResult::NO_MEMORY ? EResult::NO_MEMORY
                                                               : EResult::ANSWERED;
    }
    m_Wait(waiter, deadline);
    reply = std::move(waiter.reply);
    return EResult::ANSWERED;
}

TCCallRouter::EResult TCCallRouter::Call(DBusMessage* call, TCMessagePtr& reply)
{
    const TCMarshalled bytes(call);
    SReply answer;
    const EResult result = bytes.HasMemory() ? Call(bytes.Request(), answer) : EResult::NO_MEMORY;
    if (result == EResult::ANSWERED)
    {
        reply = answer.ToMessage();
    }
    return result;
}

TCSocketWriter::EResult TCCallRouter::Send(const SRequest& request, std::uint32_t& serial)
{
    serial = m_NextSerial();
    return IsOpen() ? m_Write(request, serial, m_Deadline()) : TCSocketWriter::EResult::BROKEN;
}

std::uint32_t TCCallRouter::m_NextSerial()
{
    std::uint32_t serial = 0;
    do
    {
        serial = m_lastSerial.fetch_add(1, std::memory_order_relaxed) + 1;
    } while (serial == 0); // not a serial
    return serial;
}

TCSocketWriter::EResult TCCallRouter::m_Write(const SRequest& request, std::uint32_t serial, TTime deadline)
try
{
    SetWireNumber(request.head.data() + WIRE_SERIAL_OFFSET, serial);
    std::array<iovec, 8> pieces;
    pieces[0] = {request.head.data(), request.head.size()};
    std::size_t count = 1;
    if (request.payload != nullptr)
    {
        // Joined when there are more than usual.
        const std::size_t payloadPieces = request.payload->GetPieceCount();
        const bool isJoined = payloadPieces >= pieces.size();
        for (std::size_t index = 0; index < (isJoined ? 1 : payloadPieces); ++index)
        {
            std::size_t size = request.payload->GetUnreadSize();
            const char* const bytes = isJoined ? request.payload->GetAsCStr(0) : request.payload->GetPiece(index, size);
            pieces[count++] = {const_cast<char*>(bytes), size};
        }
    }
    const TCSocketWriter::EResult result = m_writer.Write(std::span(pieces).first(count), deadline);
    if (result == TCSocketWriter::EResult::BROKEN)
    {
        m_isOpen = false;
    }
    return result;
}
catch (const std::bad_alloc&) // joining
{
    return TCSocketWriter::EResult::NO_MEMORY;
}

// \return false: no memory
bool TCCallRouter::m_Enter(SWaiter& waiter)
try
{
    const std::lock_guard lock(m_mutex);
    m_waiters.push_back(&waiter);
    return true;
}
catch (const std::bad_alloc&)
{
    return false;
}

// Takes back a waiter whose message was not sent.
void TCCallRouter::m_Leave(SWaiter& waiter)
{
    if (!m_Remove(waiter))
    {
        waiter.wake.Wait();
    }
}

// \return false: somebody fills in its reply, and is about to post
bool TCCallRouter::m_Remove(SWaiter& waiter)
{
    const std::lock_guard lock(m_mutex);
    std::erase(m_waiters, &waiter);
    return std::exchange(waiter.isListed, false);
}

// Gives up the lead: somebody else has to read as long as anybody waits.
void TCCallRouter::m_HandOn()
{
    SWaiter* next = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        const auto place =
            std::find_if(m_waiters.begin(), m_waiters.end(), [](const SWaiter* waiter) { return waiter->isWaiting; });
        m_isLed = place != m_waiters.end();
        if (m_isLed)
        {
            next = *place;
            next->state.store(EState::LEADS, std::memory_order_release);
        }
    }
    if (next != nullptr)
    {
        next->wake.Post();
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

// Returns when the answer has come, or never will.
void TCCallRouter::m_Wait(SWaiter& waiter, TTime deadline)
{
    if (m_WaitForTurn(waiter, deadline))
    {
        m_Lead(waiter, deadline);
        if (waiter.state != EState::DONE)
        {
            m_Remove(waiter);
        }
        m_HandOn();
    }
}

// \return whether to lead; otherwise it is over
bool TCCallRouter::m_WaitForTurn(SWaiter& waiter, TTime deadline)
{
    {
        const std::lock_guard lock(m_mutex);
        waiter.isWaiting = true;
        if (waiter.isListed && !m_isLed)
        {
            m_isLed = true;
            waiter.state.store(EState::LEADS, std::memory_order_relaxed);
            return true;
        }
    }
    if (!waiter.wake.WaitUntil(deadline))
    {
        {
            const std::lock_guard lock(m_mutex);
            if (waiter.isListed && waiter.state == EState::WAITS)
            {
                std::erase(m_waiters, &waiter);
                return false;
            }
        }
        waiter.wake.Wait(); // somebody is about to post
    }
    return waiter.state.load(std::memory_order_acquire) == EState::LEADS;
}

// Returns when the leader's own answer has come, its time is over or the bus is gone.
void TCCallRouter::m_Lead(SWaiter& leader, TTime deadline)
{
    for (;;)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        const bool isLate = left.count() <= 0;
        pollfd waited = {m_socket, POLLIN, 0};
        poll(&waited, 1, isLate ? 0 : static_cast<int>(std::min<std::int64_t>(left.count(), INT_MAX)));
        m_Read(leader);
        if (!IsOpen())
        {
            m_CompleteAll(leader);
            return;
        }
        if (leader.state == EState::DONE || isLate)
        {
            return;
        }
    }
}

// Reads and hands out what is there.
void TCCallRouter::m_Read(SWaiter& leader)
{
    std::size_t size = 0;
    std::size_t asked = 0;
    do
    {
        const std::span<char> room = m_reader.Room();
        const ssize_t read = recv(m_socket, room.data(), room.size(), MSG_DONTWAIT);
        if (read <= 0)
        {
            if (read == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR))
            {
                m_isOpen = false;
            }
            return;
        }
        size = static_cast<std::size_t>(read);
        asked = room.size();
        m_reader.Add(size);
        SIncoming message;
        TCMessageReader::EState state{};
        while ((state = m_reader.Next(message)) == TCMessageReader::EState::MESSAGE)
        {
            m_Deliver(message, leader);
        }
        if (state == TCMessageReader::EState::CORRUPT)
        {
            m_isOpen = false;
            shutdown(m_socket, SHUT_RDWR);
            return;
        }
    } while (size == asked && leader.state != EState::DONE);
}

void TCCallRouter::m_Deliver(SIncoming& message, SWaiter& leader)
{
    SReply reply;
    reply.head = ReadWireHead(message.bytes);
    if (reply.head && IsReply(reply.head->type))
    {
        m_Complete(reply.head->replySerial, reply, message, leader);
        return;
    }
    if (message.isCut)
    {
        return;
    }
    const TCMessagePtr other = ReadMessage(message.bytes);
    if (other && IsReply(dbus_message_get_type(other.get())))
    {
        m_Complete(dbus_message_get_reply_serial(other.get()), reply, message, leader);
    }
    else if (other)
    {
        m_Answer(other.get());
    }
}

void TCCallRouter::m_Complete(std::uint32_t serial, SReply& reply, SIncoming& message, SWaiter& leader)
{
    SWaiter* waiter = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        const auto place = std::find_if(m_waiters.begin(), m_waiters.end(),
                                        [serial](const SWaiter* one) { return one->serial == serial; });
        if (place == m_waiters.end())
        {
            return; // its caller gave up
        }
        waiter = *place;
        waiter->isListed = false;
        m_waiters.erase(place);
    }
    if (message.block.Size() == 0 && !message.isCut)
    {
        message.block = TCMessageBlock(message.bytes.size());
        if (message.block.Size() > 0)
        {
            std::memcpy(message.block.Data(), message.bytes.data(), message.bytes.size());
        }
    }
    reply.bytes = std::move(message.block);
    reply.isLost = reply.bytes.Size() == 0;
    waiter->reply = std::move(reply);
    m_SetDone(*waiter, leader);
}

// What is no longer listed is done exactly once.
void TCCallRouter::m_SetDone(SWaiter& waiter, SWaiter& leader)
{
    waiter.state.store(EState::DONE, std::memory_order_release);
    if (&waiter != &leader)
    {
        waiter.wake.Post();
    }
}

// Nobody gets a reply any more.
void TCCallRouter::m_CompleteAll(SWaiter& leader)
{
    std::vector<SWaiter*> waiters;
    {
        const std::lock_guard lock(m_mutex);
        waiters.swap(m_waiters);
        for (SWaiter* const waiter : waiters)
        {
            waiter->isListed = false;
        }
    }
    for (SWaiter* const waiter : waiters)
    {
        m_SetDone(*waiter, leader);
    }
}

// Somebody calls this process by its name on the bus. An answer that does not go out at once is not worth a wait.
void TCCallRouter::m_Answer(DBusMessage* call)
{
    if (const TCMessagePtr answer = AnswerAsPeer(call))
    {
        const TCMarshalled bytes(answer.get());
        if (bytes.HasMemory())
        {
            m_Write(bytes.Request(), m_NextSerial(), TTime());
        }
    }
}
} // namespace CIM
