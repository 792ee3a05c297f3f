#pragma once

#include <atomic>
#include <dbus/dbus.h>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace CIM
{
/// Plays the CI daemon on the system bus that DBUS_SYSTEM_BUS_ADDRESS names: owns bus names, answers each "MethodCall"
/// by a function of the test, sends signals. Runs on a thread of its own.
class TCScriptedDaemon
{
public:
    using TMessage = std::shared_ptr<DBusMessage>;
    /// Answers a request, on the daemon's thread: a method return or an error, or nothing for no reply.
    using TAnswer = std::function<TMessage(const TMessage& request)>;

    /// Connects and owns the names before it returns. \throws std::runtime_error when the bus refuses
    TCScriptedDaemon(const std::vector<std::string>& names, TAnswer answer);
    /// Leaves the bus after everything is sent.
    ~TCScriptedDaemon();
    TCScriptedDaemon(const TCScriptedDaemon&) = delete;
    TCScriptedDaemon& operator=(const TCScriptedDaemon&) = delete;

    /// Sends a signal or a late reply. Thread-safe, also from within an answer; keeps the order of one thread.
    void Send(const TMessage& message);
    /// Is gone from the bus at once, as if killed; usable from within an answer.
    void Vanish();
    /// This daemon's unique bus name.
    std::string UniqueName() const { return m_uniqueName; }

    /// A reply with the daemon's layout: status, length, bytes.
    static TMessage Reply(const TMessage& request, unsigned char status, std::string_view payload);
    /// The same with a stated length that need not be true.
    static TMessage Reply(const TMessage& request, unsigned char status, int statedLength, std::string_view payload);
    static TMessage Error(const TMessage& request, const char* name, const char* text);
    /// A signal of the daemon with the layout identifier, handle (when not null), length, bytes.
    static TMessage Signal(const char* member, const std::string& identifier, const char* handle,
                           std::string_view payload);
    /// The payload of a request, a reply or a signal: its last argument when that is an array of bytes.
    static std::string Payload(DBusMessage* message);

private:
    void m_Run();
    void m_WakeUp() const;
    DBusHandlerResult m_Handle(DBusMessage* message);
    static DBusHandlerResult m_Filter(DBusConnection* connection, DBusMessage* message, void* self);

    DBusConnection* m_connection;
    TAnswer m_answer;
    std::string m_uniqueName;
    int m_wakeUp;
    std::atomic<bool> m_stopping{false};
    std::atomic<bool> m_vanishing{false};
    std::thread m_thread;
};
} // namespace CIM
