#pragma once

#include "bus/Handles.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <glib.h>
#include <mutex>

namespace CIM
{
/// Brings what comes over a connection of libdbus's to the thread that runs the default GLib main context, and asks the
/// bus over it on any thread.
///
/// libdbus lets go of its lock while it ends the calls under way of a connection that is lost; a second thread that finds
/// the loss meanwhile, in the main loop or in a call of its own, ends the process. Here libdbus knows of no call under way
/// and watches nothing, and one thread at a time is inside it: whoever wakes first, the main loop or who waits for an
/// answer, reads for both. Messages are handed on in the order of their coming, one in an iteration of the main loop.
///
/// Thread-safe. Must live until the process ends once it is attached. Lock order: the turn to ask comes after every mutex
/// that is held during a callback, the mutex last.
class TCInbox
{
public:
    using THandler = DBusHandlerResult (*)(DBusConnection*, DBusMessage*, void* userData);

    /// \param connection  of the bus, registered, with nobody else who reads from it; kept open
    /// \param handler     takes each message; must not throw
    TCInbox(DBusConnection* connection, THandler handler, void* userData);
    ~TCInbox();
    TCInbox(const TCInbox&) = delete;
    TCInbox& operator=(const TCInbox&) = delete;

    /// Hands messages to the handler from now on, those that have come before first. Once.
    void Attach();

    /// Sends without waiting. \return the message's serial; 0: no memory, or the connection is lost
    std::uint32_t Send(DBusMessage* message);

    /// Asks the bus and blocks until its answer or the end of the time, in which others may have to be answered first.
    /// \param call  null: no memory \return null with the error set
    TCMessagePtr Ask(DBusMessage* call, std::chrono::milliseconds time, TCDBusError& error);

    bool IsOpen() const { return dbus_connection_get_is_connected(m_connection); }

private:
    struct SSource;
    // What the main loop has to know before it sleeps.
    enum EState : unsigned
    {
        STATE_QUEUED = 1,  ///< there are messages for the handler
        STATE_SENDING = 2, ///< the bus has not taken all that was sent
        STATE_STARVED = 4, ///< there was no memory for a message that has come
        STATE_LOST = 8,    ///< nothing comes any more
        STATE_ATTACHED = 16
    };

    std::uint32_t m_Send(DBusMessage* message);
    void m_AskInTurn(std::unique_lock<std::mutex>& lock, DBusMessage* call,
                     std::chrono::steady_clock::time_point deadline, TCDBusError& error);
    void m_Read();
    void m_Take(TCMessagePtr message) noexcept;
    void m_Tell(bool isMainLoop);
    bool m_Dispatch(bool isReadable);
    void m_Handle(DBusMessage* message);

    static gboolean m_Prepare(GSource* source, gint* timeout);
    static gboolean m_Check(GSource* source);
    static gboolean m_DispatchSource(GSource* source, GSourceFunc, gpointer);

    DBusConnection* const m_connection;
    const THandler m_handler;
    void* const m_userData;
    int m_socket = -1;
    const int m_answered; ///< wakes who waits for an answer that the main loop has read

    std::atomic<unsigned> m_state{0};
    std::mutex m_mutex; // libdbus is called with it held
    std::condition_variable m_turn;
    bool m_isAsking = false; // one question at a time
    std::deque<TCMessagePtr> m_messages;
    std::uint32_t m_question = 0;
    TCMessagePtr m_answer;
};
} // namespace CIM
