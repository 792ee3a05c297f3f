#include "ci_connection/CIMIPCConnection.h"

#include "bus/Handles.h"
#include "ci_connection/CallRouter.h"
#include "ci_connection/CallTimeout.h"
#include "ci_connection/Immortal.h"
#include "ci_connection/SignalReceiver.h"
#include "utils/CIAPIDebug.h"
#include "utils/CIAPILog.h"

#include <tvplatform/BusName.h>
#include <tvplatform/Sleep.h>

#include <array>
#include <cstring>
#include <utility>

namespace CIM
{
namespace
{
constexpr unsigned int CONNECT_RETRY_MS = 1000;
constexpr std::size_t BUS_NAME_SIZE = 256;

void LogNoConnection(const TCDBusError& error)
{
    CIM_LOG_ERROR_AT("t_CreateConnection", __LINE__,
                     "[TCCIMIPCConnection::%s] Failed to connect to the D-BUS daemon: %s", "t_CreateConnection",
                     error.Text());
}

// Registers with the bus. \return the unique name; with the error set, nothing
std::string SayHello(TCCallRouter& router, TCDBusError& error)
{
    const TCMessagePtr hello(
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "Hello"));
    TCMessagePtr answer;
    if (hello && router.Call(hello.get(), answer) == TCCallRouter::EResult::BROKEN)
    {
        dbus_set_error_const(error.Get(), DBUS_ERROR_DISCONNECTED, "Connection is closed");
        return {};
    }
    if (!answer)
    {
        dbus_set_error_const(error.Get(), DBUS_ERROR_NO_MEMORY, "Out of memory");
        return {};
    }
    const char* name = nullptr;
    const bool isNamed = !dbus_set_error_from_message(error.Get(), answer.get()) &&
                         dbus_message_get_args(answer.get(), error.Get(), DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID);
    return isNamed ? name : std::string();
}
} // namespace

TCCIMIPCConnection::TCCIMIPCConnection(std::string interfaceName, std::string objectPath, bool attachToMainLoop)
    : m_interfaceName(std::move(interfaceName)), m_objectPath(std::move(objectPath))
{
    CIM_LOG_INFO("[TCCIMIPCConnection::%s]  (%s, %s)", __func__, m_interfaceName.c_str(), m_objectPath.c_str());
    CIM_LOG_ERROR("TCCIMIPCConnection::TCCIMIPCConnection - open connection!");
    gConnectionActive.store(true);
    dbus_threads_init_default();

    m_receiver = MakeImmortal<TCSignalReceiver>(m_interfaceName);
    int attempts = 0;
    while (!m_Connect(attachToMainLoop))
    {
        CIM_ASSERT(attempts != MAX_DBUS_CONNECTION_ATTEMPTS);
        ++attempts;
        tvplatform_sleep_ms(CONNECT_RETRY_MS);
    }
    CIM_ASSERT(attempts != MAX_DBUS_CONNECTION_ATTEMPTS); // also when the last attempt came through
}

TCCIMIPCConnection::~TCCIMIPCConnection() { Retire(); }

void TCCIMIPCConnection::BeginEnding() { m_router->BeginEnding(); }

std::chrono::milliseconds TCCIMIPCConnection::TimeLeft() const { return m_router->TimeLeft(); }

void TCCIMIPCConnection::Retire()
{
    if (m_isRetired.exchange(true))
    {
        return;
    }
    constexpr const char* FUNCTION = "~TCCIMIPCConnection";
    CIM_LOG_INFO_AT(FUNCTION, __LINE__, "[TCCIMIPCConnection::%s]  Closing connection for receiver: %s", FUNCTION,
                    m_receiverName.c_str());
    gConnectionActive.store(false);
    m_receiver->Refuse();
}

DBusConnection* TCCIMIPCConnection::t_CreateConnection()
{
    TCDBusError error;
    TCConnectionPtr connection = OpenCurrentSystemBus(error); // where the one for calls went
    if (!connection)
    {
        LogNoConnection(error);
    }
    return connection.release();
}

// Opens the connection for calls: libdbus authenticates, and from then on the router has the socket to itself.
DBusConnection* TCCIMIPCConnection::m_CreateCallConnection()
{
    TCDBusError error;
    TCConnectionPtr connection = OpenUnregisteredSystemBus(CallTimeout(), error);
    int socket = -1;
    if (connection && dbus_connection_get_unix_fd(connection.get(), &socket))
    {
        m_router = MakeImmortal<TCCallRouter>(socket, CallTimeout());
        const std::string uniqueName = SayHello(*m_router, error);
        if (!error.IsSet() && dbus_bus_set_unique_name(connection.get(), uniqueName.c_str()))
        {
            return connection.release();
        }
    }
    LogNoConnection(error);
    return nullptr;
}

bool TCCIMIPCConnection::m_Connect(bool attachToMainLoop)
{
    t_pAPIConnection = m_CreateCallConnection();
    if (t_pAPIConnection == nullptr)
    {
        return false;
    }
    t_pMainLoopConnection = t_CreateConnection();
    if (t_pMainLoopConnection == nullptr)
    {
        t_ReleaseAllConnections();
        return false;
    }
    if (const char* const uniqueName = dbus_bus_get_unique_name(t_pAPIConnection))
    {
        std::array<char, BUS_NAME_SIZE> buffer{};
        int size = BUS_NAME_SIZE - 1;
        IPCUtility_GenerateSubConnectionName(uniqueName, static_cast<int>(std::strlen(uniqueName)), buffer.data(),
                                             &size);
        buffer.back() = '\0';
        m_receiverName = buffer.data();
    }

    TCDBusError error;
    if (dbus_validate_bus_name(m_receiverName.c_str(), error.Get()))
    {
        dbus_bus_request_name(t_pMainLoopConnection, m_receiverName.c_str(), DBUS_NAME_FLAG_REPLACE_EXISTING,
                              error.Get());
    }
    if (!error.IsSet() &&
        !dbus_connection_add_filter(t_pMainLoopConnection, t_MessageHandlerHelper, m_receiver, nullptr))
    {
        dbus_set_error_const(error.Get(), DBUS_ERROR_NO_MEMORY, "Out of memory");
    }
    if (error.IsSet())
    {
        CIM_LOG_ERROR("[TCIPCManager::%s] Requesting name error (%s).", __func__, error.Text());
        t_ReleaseAllConnections();
        return false;
    }

    m_receiver->connection = t_pMainLoopConnection;
    if (attachToMainLoop)
    {
        m_receiver->Attach();
    }
    return true;
}

void TCCIMIPCConnection::t_ReleaseAllConnections()
{
    for (DBusConnection** const connection : {&t_pAPIConnection, &t_pMainLoopConnection})
    {
        if (*connection != nullptr)
        {
            dbus_connection_close(*connection);
            dbus_connection_unref(*connection);
            *connection = nullptr;
        }
    }
}

std::string TCCIMIPCConnection::GetReceiverId() { return m_receiverName; }

bool TCCIMIPCConnection::m_IsUsable(const char* operation) const
{
    if (m_isRetired.load())
    {
        CIM_LOG_ERROR_AT(operation, __LINE__, "[TCCIMIPCConnection::%s] The connection is closed", operation);
        return false;
    }
    if (!m_process.IsHere())
    {
        CIM_LOG_ERROR_AT(operation, __LINE__,
                         "[TCCIMIPCConnection::%s] The connection belongs to the parent process %ld", operation,
                         m_process.Id());
        return false;
    }
    return true;
}
} // namespace CIM
