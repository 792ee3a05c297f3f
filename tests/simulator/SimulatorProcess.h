#pragma once

#include "support/PrivateBus.h"
#include "support/TestEnvironment.h"

#include "bus/Handles.h"

#include "json/Json.h"

#include <functional>
#include <string>
#include <vector>

namespace CIM::sim
{
/// Waits until something holds. \return false when it does not within ten seconds
bool Eventually(const std::function<bool()>& condition);

/// Starts ci-daemon-sim. It dies with the test.
pid_t StartSimulator(const std::vector<std::string>& arguments);
/// \return its exit status, or 128 and the signal that ended it; -1 when it does not end within ten seconds
int WaitForEnd(pid_t process);

/// The simulator in a process of its own, on a private bus.
class TCSimulatorProcess
{
public:
    explicit TCSimulatorProcess(std::vector<std::string> arguments = {});
    ~TCSimulatorProcess();

    TCTempMarker marker;
    pid_t process;

private:
    TCPrivateBus m_bus;
};

/// A client that nobody here wrote a library for: it speaks libdbus and bytes.
class TCRawClient
{
public:
    TCRawClient();

    /// Sends a call with a payload as the bytes stand. \return the pending reply
    DBusPendingCall* Send(const std::string& interface, int header, const std::string& payload,
                          const char* program = nullptr);
    static TCMessagePtr Wait(DBusPendingCall* pending);
    TCMessagePtr Call(const std::string& interface, int header, const std::string& payload,
                      const char* program = nullptr)
    {
        return Wait(Send(interface, header, payload, program));
    }
    /// A call of the control object with texts as arguments. \return its result
    std::string Control(const char* verb, const std::vector<std::string>& arguments = {});
    json::TJson ControlJson(const char* verb) { return json::TJson::parse(Control(verb)); }

    void Match(const std::string& rule);
    /// The next signal of the daemon; null when none comes within ten seconds.
    TCMessagePtr NextSignal();
    bool OwnsName(const std::string& name);

    DBusConnection* Get() { return m_connection.get(); }

private:
    TCConnectionPtr m_connection;
};

/// GetCamModes with no argument but the tree's root, by hand.
inline const std::string GET_CAM_MODES("\1\0\0\0\2\0\2\0\0\0\0\0", 12);
/// GetCiSlotStatus of all slots.
inline const std::string GET_SLOT_STATUS("\1\0\0\0\2\0\0\0\14\0\0\0\1\0\2\0\4\0\0\0\0\0\0\0", 24);
inline constexpr int GET_CAM_MODES_HEADER = 2;
inline constexpr int HELLO = 2 << 16;
inline constexpr int ONE_WAY = 1 << 16;
inline const std::string GENERAL = "com.kelvora.ciapi.ICIGeneral";
} // namespace CIM::sim
