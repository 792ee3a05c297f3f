#pragma once

#include <ciapi/IPCConnection.h>

#include <tvplatform/MessageBuffer.h>
#include <tvplatform/Types.h>

#include "bus/Handles.h"
#include "ci_connection/CallMessage.h"
#include "ci_connection/CIMSendHelloCondition.h"
#include "utils/OwnProcess.h"

#include <dbus/dbus.h>

#include <atomic>
#include <chrono>
#include <string>

namespace CIM
{
class TCCallRouter;
class TCSignalReceiver;
struct SReply;

namespace protocol
{
struct SReplyEnvelope;
}

/// The library's way to the CI daemon: method calls, match rules, signals.
class TICIMIPCConnection
{
public:
    virtual ~TICIMIPCConnection() = default;

    /// Asks the bus for the signals of a type that carry an identifier and a handle; blocks for the bus's answer.
    /// \return false with an error line when the bus refuses
    virtual bool AddMatchRule(EIPCMessageType type, int messageId, const TVSHandle& handle) = 0;
    /// Takes back one AddMatchRule with the same arguments.
    virtual bool RemoveMatchRule(EIPCMessageType type, int messageId, const TVSHandle& handle) = 0;

    /// Calls a method of the daemon and blocks the calling thread, and only it, until the answer, up to 25 seconds.
    /// \param[in]  interfaceName  interface and bus name to call
    /// \param[in]  methodId       the method's identifier
    /// \param[in]  input          the unread bytes are sent, at most 16 MiB; they stay unread
    /// \param[out] output         the answer's payload is appended; a large one is referred to, not copied
    /// \return false with an error line when there is no usable answer
    virtual bool Call(const std::string& interfaceName, short methodId, TCMessageBuffer& input,
                      TCMessageBuffer& output) = 0;
    /// Calls a method without waiting for an answer. \return false with an error line when it could not be sent
    virtual bool CallAsync(const std::string& interfaceName, short methodId, TCMessageBuffer& input) = 0;
    /// Waits up to 15 seconds until a bus name has an owner. \return false with an error line when it has none
    virtual bool WaitForCreateInterface(const char* name) = 0;

    /// Registers the one callback of a type, in place of an earlier one. It runs on the thread of the default GLib
    /// main context with the type's mutex held: it must not set or unset callbacks of its own type.
    virtual void SetCallbackFunction(EIPCMessageType type, void (*callback)(int, TCMessageBuffer&)) = 0;
    /// Removes the callback of a type if it is that one; when this returns it does not run and will not start.
    virtual void UnsetCallbackFunction(EIPCMessageType type, void (*callback)(int, TCMessageBuffer&)) = 0;
    /// The bus name that this process requested for receiving.
    virtual std::string GetReceiverId() = 0;
};

/// The connection over two private connections to the system bus: one for calls, one that receives signals.
/// Thread-safe. Everything that bus traffic may still touch after the object's end lives in two parts that are never
/// freed, as the bus connections themselves: the call router and the signal receiver.
///
/// Lock order, outermost first: a signal type's mutex (held while its callback runs, so the callback may call and
/// change match rules), the inbox's mutexes, the locks inside libdbus and GLib. The router's come last. No lock is
/// held while a call waits for its reply.
class TCCIMIPCConnection : public TICIMIPCConnection
{
public:
    static constexpr int MAX_DBUS_CONNECTION_ATTEMPTS = 60;

    /// Connects: blocks up to a minute and then ends the process when there is no bus.
    /// \param[in] interfaceName     D-Bus interface of the signals to receive
    /// \param[in] objectPath        D-Bus object path of the signals to receive
    /// \param[in] attachToMainLoop  receive on the default GLib main context from now on, not from the first callback
    TCCIMIPCConnection(std::string interfaceName, std::string objectPath, bool attachToMainLoop);
    /// Refuses signals from now on; the bus connections stay open until the process ends. No call may be running.
    ~TCCIMIPCConnection() override;
    TCCIMIPCConnection(const TCCIMIPCConnection&) = delete;
    TCCIMIPCConnection& operator=(const TCCIMIPCConnection&) = delete;

    bool AddMatchRule(EIPCMessageType type, int messageId, const TVSHandle& handle) override;
    bool RemoveMatchRule(EIPCMessageType type, int messageId, const TVSHandle& handle) override;
    bool Call(const std::string& interfaceName, short methodId, TCMessageBuffer& input,
              TCMessageBuffer& output) override;
    bool CallAsync(const std::string& interfaceName, short methodId, TCMessageBuffer& input) override;
    bool WaitForCreateInterface(const char* name) override;
    void SetCallbackFunction(EIPCMessageType type, void (*callback)(int, TCMessageBuffer&)) override;
    void UnsetCallbackFunction(EIPCMessageType type, void (*callback)(int, TCMessageBuffer&)) override;
    std::string GetReceiverId() override;

    /// Whatever waits on this connection from now on, one after the other, is over at the latest one time-out from now.
    void BeginEnding();
    /// What is left of the time for something that begins now.
    std::chrono::milliseconds TimeLeft() const;
    /// Ends the connection for threads that may still call: signals are refused, every operation fails at once.
    void Retire();

protected:
    DBusConnection* t_CreateConnection();
    void t_ReleaseAllConnections();
    /// Appends the arguments of a call to a message without arguments. \return false with an error line
    bool t_PrepareMessage(DBusMessage* message, short methodId, TCMessageBuffer& input, unsigned short flags);

    void t_CreateMatchRule(EIPCMessageType type, int messageId, char* buffer);
    void t_CreateMatchRule(EIPCMessageType type, int messageId, const TVSHandle& handle, char* buffer);
    static const char* t_ConvertMsgTypeToString(EIPCMessageType type);
    EIPCMessageType t_GetMessageType(DBusMessage* message);
    DBusHandlerResult t_MessageHandler(DBusMessage* message);
    /// Takes whatever the receiving connection brings; the user data is its TCSignalReceiver, which outlives this object.
    static DBusHandlerResult t_MessageHandlerHelper(DBusConnection* connection, DBusMessage* message, void* userData);

    DBusConnection* t_pAPIConnection = nullptr;
    DBusConnection* t_pMainLoopConnection = nullptr;

private:
    bool m_Connect(bool attachToMainLoop);
    bool m_IsUsable(const char* operation) const;
    void m_ChangeMatchRule(const char* change, EIPCMessageType type, int messageId, const TVSHandle& handle,
                           TCDBusError& error);
    bool m_CreateCall(const char* operation, const std::string& interfaceName, short methodId, TCMessageBuffer& input,
                      unsigned short flags, TCCallHead& head);
    bool m_ReadReply(const std::string& interfaceName, short methodId, const SReply& reply, TCMessageBuffer& output);
    template <class Read, class MakeOwner>
    bool m_TakeReply(const Read& read, const protocol::SReplyEnvelope& envelope, TCMessageBuffer& output,
                     MakeOwner makeOwner);

    const std::string m_interfaceName;
    const std::string m_objectPath;
    std::string m_receiverName;
    TCCIMSendHelloCondition m_helloCondition;
    const TCOwnProcess m_process; // after a fork both processes would write into the same stream
    std::atomic<bool> m_isRetired{false};
    TCPreparedCalls m_preparedCalls;
    TCCallRouter* m_router = nullptr;
    TCSignalReceiver* m_receiver = nullptr;
};
} // namespace CIM
