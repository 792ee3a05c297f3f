#pragma once

#include "bus/Inbox.h"
#include "ci_connection/SenderTrust.h"

#include <ciapi/IPCConnection.h>

#include <array>
#include <atomic>
#include <dbus/dbus.h>
#include <mutex>
#include <optional>
#include <string>

class TCMessageBuffer;

namespace CIM
{
/// True while a connection object lives; signals are refused otherwise.
extern std::atomic<bool> gConnectionActive;

/// The receiving side of one connection object: classifies each signal, unpacks it and calls its type's callback.
/// The bus connection, which is never closed, may call it after its connection object ended: it is never freed either.
/// Thread-safe; signals are handled on the thread that runs the default GLib main context.
class TCSignalReceiver
{
public:
    using TCallback = void (*)(int messageId, TCMessageBuffer& payload);

    /// \param interfaceName  D-Bus interface of the signals to receive
    explicit TCSignalReceiver(const std::string& interfaceName);

    /// The member name of a type. Any other value ends the process.
    static const char* Member(EIPCMessageType type);

    /// What is to be received comes over this connection, which is never closed. Once, before anything else.
    /// \param handler  takes each message, with this object as its user data: leads to Filter
    void Open(DBusConnection* connection, TCInbox::THandler handler);
    /// Null before Open.
    TCInbox* Inbox() { return m_inbox ? &*m_inbox : nullptr; }

    /// Starts receiving on the default GLib main context, once.
    void Attach();
    /// Replaces a type's callback, and starts receiving.
    void Set(EIPCMessageType type, TCallback callback);
    /// Removes a type's callback if it is that one; it is not running when this returns. \return whether it was
    bool Unset(EIPCMessageType type, TCallback callback);

    /// Refuses every signal from now on.
    void Refuse() { m_refusing.store(true); }

    /// Looks at everything that arrives; drops the signals of strangers; never throws.
    DBusHandlerResult Filter(DBusMessage* message) noexcept;
    /// Handles what may be a signal, whoever sent it. What the callback throws comes through, with the type's mutex
    /// released.
    DBusHandlerResult Handle(DBusMessage* message);
    EIPCMessageType TypeOf(DBusMessage* message) const;

private:
    bool m_Active() const;
    bool m_ObserveBus(DBusMessage* message);
    void m_Deliver(DBusMessage* message, EIPCMessageType type) noexcept;
    void m_HandleSignal(DBusMessage* message, EIPCMessageType type);

    const std::string m_interfaceName;
    TCSenderTrust m_trust;
    std::optional<TCInbox> m_inbox;
    std::array<std::mutex, IPC_MESSAGE_MAX> m_mutexes;
    std::array<std::atomic<TCallback>, IPC_MESSAGE_MAX> m_callbacks{}; // each replaced and called under its mutex
    std::atomic<bool> m_attached{false};
    std::atomic<bool> m_refusing{false};
};
} // namespace CIM
