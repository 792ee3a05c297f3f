#include "ci_connection/CIMIPCConnection.h"

#include "bus/Handles.h"
#include "ci_connection/CallRouter.h"
#include "ci_connection/CallTimeout.h"
#include "ci_connection/Immortal.h"
#include "ci_connection/Registration.h"
#include "ci_connection/SignalReceiver.h"
#include "utils/CIAPIDebug.h"
#include "utils/CIAPILog.h"
#include "utils/DeskHint.h"

#include <tvplatform/BusName.h>
#include <tvplatform/Sleep.h>

#include <array>
#include <optional>
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
    HintThatThereIsNoBus(error.Text());
}

// The name to receive under, made from the unique name of the connection for calls.
std::string MakeReceiverName(const std::string& uniqueName)
{
    std::array<char, BUS_NAME_SIZE> buffer{};
    int size = BUS_NAME_SIZE - 1;
    IPCUtility_GenerateSubConnectionName(uniqueName.c_str(), static_cast<int>(uniqueName.size()), buffer.data(), &size);
    buffer.back() = '\0';
    return buffer.data();
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

// The bus is not waited for: both connections authenticate at the same time.
DBusConnection* TCCIMIPCConnection::t_CreateConnection()
{
    TCDBusError error;
    TCConnectionPtr connection = ConnectToSystemBus(error);
    if (!connection)
    {
        LogNoConnection(error);
    }
    return connection.release();
}

bool TCCIMIPCConnection::m_Connect(bool attachToMainLoop)
{
    t_pAPIConnection = t_CreateConnection();
    t_pMainLoopConnection = t_pAPIConnection != nullptr ? t_CreateConnection() : nullptr;
    if (t_pMainLoopConnection == nullptr)
    {
        t_ReleaseAllConnections();
        return false;
    }
    TCDBusError error;
    if (!Authenticate(std::array{t_pAPIConnection, t_pMainLoopConnection}, CallTimeout(), error))
    {
        LogNoConnection(error);
        t_ReleaseAllConnections();
        return false;
    }
    // Not registered yet: of the bus's messages none was read.
    int socket = -1;
    if (!dbus_connection_get_unix_fd(t_pAPIConnection, &socket))
    {
        t_ReleaseAllConnections();
        return false;
    }
    m_router = MakeImmortal<TCCallRouter>(socket, CallTimeout()); // from now on nobody else reads that socket
    TCDBusError nameError;
    const auto registerCalls = [&]() -> std::optional<std::string>
    {
        const std::string uniqueName = Register(*m_router, error);
        if (!uniqueName.empty() && !dbus_bus_set_unique_name(t_pAPIConnection, uniqueName.c_str()))
        {
            dbus_set_error_const(error.Get(), DBUS_ERROR_NO_MEMORY, "Out of memory");
        }
        if (error.IsSet())
        {
            return std::nullopt;
        }
        return m_receiverName = MakeReceiverName(uniqueName);
    };
    Register(t_pMainLoopConnection, registerCalls, CallTimeout(), error, nameError);
    if (error.IsSet())
    {
        LogNoConnection(error);
        t_ReleaseAllConnections();
        return false;
    }
    if (nameError.IsSet())
    {
        CIM_LOG_ERROR("[TCIPCManager::%s] Requesting name error (%s).", __func__, nameError.Text());
        t_ReleaseAllConnections();
        return false;
    }

    m_receiver->Open(t_pMainLoopConnection, t_MessageHandlerHelper);
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
