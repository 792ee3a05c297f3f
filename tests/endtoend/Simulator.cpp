#include "endtoend/Simulator.h"

#include <ciapi/CINames.h>

#include <cstdarg>
#include <stdexcept>
#include <thread>

namespace CIM
{
namespace
{
constexpr const char* NAME = "com.kelvora.cisim";
constexpr auto BOUND = std::chrono::seconds(20);

void Check(bool isGood, const char* what)
{
    if (!isGood)
    {
        throw std::runtime_error(what);
    }
}

std::string WithoutBlanks(std::string text)
{
    std::erase_if(text, [](unsigned char character) { return std::isspace(character) != 0; });
    return text;
}
} // namespace

TCSimulator::TCSimulator() : m_connection(dbus_bus_get_private(DBUS_BUS_SYSTEM, nullptr))
{
    Check(m_connection != nullptr, "no bus: run this program with ci-daemon-sim run");
    dbus_connection_set_exit_on_disconnect(m_connection, FALSE);
}

TCSimulator::~TCSimulator()
{
    dbus_connection_close(m_connection);
    dbus_connection_unref(m_connection);
}

std::string TCSimulator::m_Call(const char* verb, int firstType, ...)
{
    DBusMessage* const call =
        dbus_message_new_method_call(NAME, "/com/kelvora/cisim", "com.kelvora.cisim.Control", verb);
    Check(call != nullptr, "no memory");
    va_list arguments;
    va_start(arguments, firstType);
    const bool isComplete = dbus_message_append_args_valist(call, firstType, arguments) != 0;
    va_end(arguments);
    Check(isComplete, "no memory");
    DBusError error = DBUS_ERROR_INIT;
    DBusMessage* const reply = dbus_connection_send_with_reply_and_block(m_connection, call, 10'000, &error);
    dbus_message_unref(call);
    if (reply == nullptr)
    {
        const std::string text = std::string(verb) + ": " + error.message;
        dbus_error_free(&error);
        throw std::runtime_error(text);
    }
    const char* result = "";
    dbus_message_get_args(reply, nullptr, DBUS_TYPE_STRING, &result, DBUS_TYPE_INVALID);
    const std::string copy = result;
    dbus_message_unref(reply);
    return copy;
}

std::string TCSimulator::State() { return WithoutBlanks(m_Call("State", DBUS_TYPE_INVALID)); }
std::string TCSimulator::Journal() { return WithoutBlanks(m_Call("Journal", DBUS_TYPE_INVALID)); }

void TCSimulator::Quit()
{
    m_Call("Quit", DBUS_TYPE_INVALID);
    Check(WaitFor([this] { return !IsThere() && dbus_bus_name_has_owner(m_connection, NAME, nullptr) == 0; }),
          "the simulator does not end");
}

bool TCSimulator::IsThere() const
{
    return dbus_bus_name_has_owner(m_connection, CI_AUXILIARY_FILE_SYSTEM_NAME.c_str(), nullptr) != 0;
}

bool WaitFor(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + BOUND;
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > end)
        {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

std::vector<unsigned char> Hex(std::string_view digits)
{
    std::vector<unsigned char> bytes;
    for (std::size_t at = 0; at + 1 < digits.size(); at += 2)
    {
        bytes.push_back(static_cast<unsigned char>(std::stoi(std::string(digits.substr(at, 2)), nullptr, 16)));
    }
    return bytes;
}
} // namespace CIM
