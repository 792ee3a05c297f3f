// A bus that does not authenticate as it should: it answers neither connection before both have spoken, or closes.

#include "bus/Handles.h"
#include "Connection.h"
#include "support/TestEnvironment.h"

#include <array>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace CIM
{
namespace
{
constexpr timeval BOUND = {10, 0};

std::string ReadLine(int socket)
{
    std::string line;
    for (char byte = 0; byte != '\n' && read(socket, &byte, 1) == 1;)
    {
        line += byte;
    }
    return line;
}

struct SCase
{
    const char* error;
    std::size_t answers; ///< what the bus says to each connection
    bool closesThen;
    std::chrono::milliseconds time;
};

void ServeTwo(int listener, const SCase& script)
{
    constexpr std::array ANSWERS = {"OK 0123456789abcdef0123456789abcdef\r\n", "AGREE_UNIX_FD\r\n"};
    std::array<int, 2> clients{};
    for (int& client : clients)
    {
        client = accept(listener, nullptr, nullptr);
        setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &BOUND, sizeof BOUND);
    }
    bool isInTime = true;
    for (std::size_t round = 0; round < script.answers; ++round)
    {
        for (const int client : clients)
        {
            isInTime = isInTime && !ReadLine(client).empty();
        }
        for (const int client : clients)
        {
            const std::string_view answer = isInTime ? ANSWERS[round] : "";
            send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
        }
    }
    for (const int client : clients)
    {
        while (isInTime && !script.closesThen && !ReadLine(client).empty())
        {
        }
        close(client);
    }
}

// Stands where the system bus is expected.
class TCListener
{
public:
    TCListener()
    {
        sockaddr_un address{AF_UNIX, ""};
        m_path.copy(address.sun_path, sizeof address.sun_path - 1);
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &BOUND, sizeof BOUND);
        EXPECT_EQ(bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(m_socket, 2), 0);
    }
    ~TCListener() { close(m_socket); }
    TCListener(const TCListener&) = delete;
    TCListener& operator=(const TCListener&) = delete;

    int Socket() const { return m_socket; }

private:
    const TCTempFolder m_folder;
    const std::string m_path = m_folder.File("bus");
    const int m_socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const TCEnvironmentVariable m_address{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + m_path};
};

TEST(AuthenticationTest, NeitherConnectionWaitsForTheOther)
{
    using namespace std::chrono_literals;
    for (const SCase& script :
         {SCase{"", 2, false, 20s}, SCase{DBUS_ERROR_DISCONNECTED, 0, true, 20s},
          SCase{DBUS_ERROR_DISCONNECTED, 1, true, 20s}, SCase{DBUS_ERROR_NO_REPLY, 0, false, 50ms},
          SCase{DBUS_ERROR_NO_REPLY, 1, false, 200ms}})
    {
        SCOPED_TRACE(std::string(script.error) + " after answers: " + std::to_string(script.answers));
        const TCListener listener;
        std::thread server(ServeTwo, listener.Socket(), std::cref(script));
        {
            TCDBusError error;
            const TCConnectionPtr one = ConnectToSystemBus(error);
            const TCConnectionPtr two = ConnectToSystemBus(error);
            const bool isDone = one && two && Authenticate(std::array{one.get(), two.get()}, script.time, error);
            EXPECT_EQ(isDone, script.error[0] == '\0');
            EXPECT_STREQ(error.Name(), script.error);
        }
        server.join();
    }
}

class UnwillingBusTest : public TCBusTest
{
};

TEST_F(UnwillingBusTest, ConnectionThatIsClosedAtOnceIsTriedAgain)
{
    auto listener = std::make_unique<TCListener>();
    std::thread server(
        [socket = listener->Socket()]
        {
            for (int client = 0; (client = accept(socket, nullptr, nullptr)) >= 0;)
            {
                close(client);
            }
        });
    TCFakeClock::OnSleep(
        [&](unsigned int)
        {
            shutdown(listener->Socket(), SHUT_RDWR);
            server.join();
            listener.reset(); // and the bus is where it was
        });
    const TCConnection connection;
    EXPECT_EQ(TCFakeClock::Sleeps(), 1U);
    EXPECT_TRUE(IsErrorLine("[TCCIMIPCConnection::t_CreateConnection] Failed to connect to the D-BUS daemon: The bus "
                            "has closed the connection"));
}
} // namespace
} // namespace CIM
