#pragma once

#include <ciapi/CIService.h>

#include <dbus/dbus.h>

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// For programs that run beside a simulator whose clock stands still but for Advance (ci-daemon-sim run --manual-clock).
// They know the library by its public headers only, and steer the simulator over the bus.

namespace CIM
{
/// The way to the simulator's control object. Bound to its thread.
class TCSimulator
{
public:
    TCSimulator();
    ~TCSimulator();
    TCSimulator(const TCSimulator&) = delete;
    TCSimulator& operator=(const TCSimulator&) = delete;

    /// Lets virtual milliseconds pass.
    /// \return what the virtual clock then shows
    std::uint64_t Advance(std::uint64_t ms)
    {
        return std::stoull(m_Call("AdvanceClock", DBUS_TYPE_UINT64, &ms, DBUS_TYPE_INVALID));
    }
    /// Does something to the set that the host has no part in.
    /// \param[in] arguments  a JSON object
    void Control(const char* name, const char* arguments)
    {
        m_Call("Control", DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING, &arguments, DBUS_TYPE_INVALID);
    }
    /// What the simulator knows, as JSON without blanks.
    std::string State();
    /// The calls that the simulator has answered, as JSON without blanks.
    std::string Journal();
    /// Off the bus for so long, then back.
    void Restart(std::uint32_t ms) { m_Call("Restart", DBUS_TYPE_UINT32, &ms, DBUS_TYPE_INVALID); }
    /// Ends the simulator; returns once it is off the bus.
    void Quit();
    /// Whether the daemon's interface is on the bus.
    bool IsThere() const;

private:
    std::string m_Call(const char* verb, int firstType, ...);

    DBusConnection* m_connection;
};

/// Waits, within a bound, for something that happens in another thread or process.
bool WaitFor(const std::function<bool()>& condition);

inline std::vector<unsigned char> Bytes(std::string_view text) { return {text.begin(), text.end()}; }
std::vector<unsigned char> Hex(std::string_view digits);
inline std::string String(const std::vector<unsigned char>& bytes) { return {bytes.begin(), bytes.end()}; }
/// The text of code units that are all ASCII.
template <class Units>
std::string Ascii(const Units& units)
{
    return {units.begin(), units.end()};
}
} // namespace CIM
