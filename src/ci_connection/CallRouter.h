#pragma once

#include "bus/Handles.h"
#include "bus/MessageReader.h"
#include "bus/SocketWriter.h"
#include "ci_connection/Reply.h"
#include "utils/WakeUp.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <span>
#include <vector>

class TCMessageBuffer;

namespace CIM
{
/// A message to send, as bytes.
struct SRequest
{
    std::span<char> head;                     ///< of the caller; its serial is set when it is sent
    const TCMessageBuffer* payload = nullptr; ///< what follows the head, if anything
};

/// Lets many threads call through one bus connection at a time. Thread-safe.
///
/// Messages are written and read on the socket itself: a request from where its bytes stand, a large reply to where
/// they stay. Each thread writes its own request. Of the threads that wait for an answer one leads: it reads whatever
/// comes and hands each answer to the thread that waits for its serial. When its own answer has come it passes the lead
/// on.
///
/// Lock order: m_mutex comes last; nothing that waits is called with it held.
class TCCallRouter
{
public:
    enum class EResult
    {
        ANSWERED,  ///< or not, within its time
        NO_MEMORY, ///< not sent
        BROKEN,    ///< not sent: the bus connection was lost before
    };

    /// \param socket   of a connection to the bus on which nothing was sent nor read yet but to authenticate; must stay
    ///                 open, with nobody else who reads or writes
    /// \param timeout  what a call waits for its reply
    TCCallRouter(int socket, std::chrono::milliseconds timeout);
    TCCallRouter(const TCCallRouter&) = delete;
    TCCallRouter& operator=(const TCCallRouter&) = delete;

    /// Sends a method call and blocks until its reply or the time-out.
    EResult Call(const SRequest& request, SReply& reply);
    /// The same for a message of libdbus. \param[out] reply  null: no memory
    EResult Call(DBusMessage* call, TCMessagePtr& reply);

    /// Sends a message that has no reply; blocks as long as the bus takes no more bytes, up to the time-out.
    /// \param[out] serial  what it was given
    TCSocketWriter::EResult Send(const SRequest& request, std::uint32_t& serial);

    /// Whether the bus has not been found gone yet.
    bool IsOpen() const { return m_isOpen.load(std::memory_order_relaxed); }

    /// Everything that waits from now on, for one reply after the other, is over at the latest one time-out from now.
    /// What is called after that is still sent, but not waited for.
    void BeginEnding();
    /// What is left of the time for something that begins now; zero at the least.
    std::chrono::milliseconds TimeLeft() const;

private:
    using TTime = TCSocketWriter::TTime;

    enum class EState
    {
        WAITS,
        LEADS, ///< reads for all
        DONE,  ///< its reply has come, or never will
    };
    struct SWaiter
    {
        explicit SWaiter(std::uint32_t number) : serial(number) {}

        const std::uint32_t serial;
        bool isListed = true;   ///< otherwise it is done, or about to be
        bool isWaiting = false; ///< its message is out: it may be handed the lead
        std::atomic<EState> state{EState::WAITS};
        SReply reply;
        TCWakeUp wake; ///< posted once for each change of the state by another thread
    };

    std::uint32_t m_NextSerial();
    TTime m_Deadline() const;
    TCSocketWriter::EResult m_Write(const SRequest& request, std::uint32_t serial, TTime deadline);
    bool m_Enter(SWaiter& waiter);
    void m_Leave(SWaiter& waiter);
    void m_Wait(SWaiter& waiter, TTime deadline);
    bool m_WaitForTurn(SWaiter& waiter, TTime deadline);
    bool m_Remove(SWaiter& waiter);
    void m_HandOn();
    void m_Lead(SWaiter& leader, TTime deadline);
    void m_Read(SWaiter& leader);
    void m_Deliver(SIncoming& message, SWaiter& leader);
    void m_Complete(std::uint32_t serial, SReply& reply, SIncoming& message, SWaiter& leader);
    void m_CompleteAll(SWaiter& leader);
    static void m_SetDone(SWaiter& waiter, SWaiter& leader);
    void m_Answer(DBusMessage* call);

    const int m_socket;
    const std::chrono::milliseconds m_timeout;
    std::atomic<TTime> m_end{TTime::max()};
    std::atomic<std::uint32_t> m_lastSerial{0};
    std::atomic<bool> m_isOpen{true};
    TCSocketWriter m_writer;
    TCMessageReader m_reader; // the leader's

    std::mutex m_mutex;
    std::vector<SWaiter*> m_waiters; // in the order of their coming
    bool m_isLed = false;
};
} // namespace CIM
