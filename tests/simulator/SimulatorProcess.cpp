#include "SimulatorProcess.h"

#include "privatebus/Process.h"
#include "simulator/daemon/ControlClient.h"
#include "simulator/daemon/Verbs.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace CIM::sim
{
namespace
{
constexpr auto LIMIT = std::chrono::seconds(10);
}

bool Eventually(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + LIMIT;
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > end)
        {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

pid_t StartSimulator(const std::vector<std::string>& arguments)
{
    std::vector<char*> words = {const_cast<char*>(SIMULATOR_PATH)};
    for (const std::string& argument : arguments)
    {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        execv(SIMULATOR_PATH, words.data());
        _exit(127);
    }
    return child;
}

int WaitForEnd(pid_t process)
{
    std::optional<int> status;
    Eventually([&] { return (status = privatebus::CheckForEnd(process)).has_value(); });
    return status.value_or(-1);
}

TCSimulatorProcess::TCSimulatorProcess(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), {"serve", "--manual-clock"});
    process = StartSimulator(arguments);
    if (!Eventually([&] { return std::filesystem::exists(marker.Path()); }))
    {
        throw std::runtime_error("the simulator does not become ready");
    }
}

TCSimulatorProcess::~TCSimulatorProcess()
{
    privatebus::SendSignal(process, SIGKILL);
    privatebus::WaitForEnd(process);
}

TCRawClient::TCRawClient()
{
    TCDBusError error;
    m_connection = OpenCurrentSystemBus(error);
    if (m_connection == nullptr)
    {
        throw std::runtime_error(error.Text());
    }
}

DBusPendingCall* TCRawClient::Send(const std::string& interface, int header, const std::string& payload,
                                   const char* program)
{
    const TCMessagePtr call(
        dbus_message_new_method_call(interface.c_str(), "/com/kelvora/Object", interface.c_str(), "MethodCall"));
    const dbus_int32_t numbers[] = {header, static_cast<dbus_int32_t>(payload.size()), 4711};
    for (const dbus_int32_t& number : numbers)
    {
        dbus_message_append_args(call.get(), DBUS_TYPE_INT32, &number, DBUS_TYPE_INVALID);
    }
    if (program != nullptr)
    {
        dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &program, DBUS_TYPE_INVALID);
    }
    const char* const bytes = payload.data();
    if (!payload.empty())
    {
        dbus_message_append_args(call.get(), DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, static_cast<int>(payload.size()),
                                 DBUS_TYPE_INVALID);
    }
    DBusPendingCall* pending = nullptr;
    dbus_connection_send_with_reply(m_connection.get(), call.get(), &pending, 10'000);
    dbus_connection_flush(m_connection.get());
    return pending;
}

TCMessagePtr TCRawClient::Wait(DBusPendingCall* pending)
{
    dbus_pending_call_block(pending);
    TCMessagePtr reply(dbus_pending_call_steal_reply(pending));
    dbus_pending_call_unref(pending);
    return reply;
}

std::string TCRawClient::Control(const char* verb, const std::vector<std::string>& arguments)
{
    const TSControlAnswer answer = CallControl(*FindVerb(verb), arguments);
    if (answer.status != TSControlAnswer::DONE)
    {
        throw std::runtime_error(std::string(verb) + ": " + answer.text);
    }
    return answer.text;
}

void TCRawClient::Match(const std::string& rule)
{
    TCDBusError error;
    dbus_bus_add_match(m_connection.get(), rule.c_str(), error.Get());
    if (error.IsSet())
    {
        throw std::runtime_error(error.Text());
    }
}

TCMessagePtr TCRawClient::NextSignal()
{
    TCMessagePtr found;
    Eventually(
        [&]
        {
            dbus_connection_read_write(m_connection.get(), 0);
            while (DBusMessage* const message = dbus_connection_pop_message(m_connection.get()))
            {
                found.reset(message);
                if (dbus_message_has_interface(message, "com.kelvora.ciapi.SignalIFace"))
                {
                    return true;
                }
            }
            found.reset();
            return false;
        });
    return found;
}

bool TCRawClient::OwnsName(const std::string& name)
{
    return dbus_bus_name_has_owner(m_connection.get(), name.c_str(), nullptr);
}
} // namespace CIM::sim
