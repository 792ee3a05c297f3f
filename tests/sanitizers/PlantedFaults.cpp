#include "ci_connection/CIMIPCConnection.h"
#include "support/PrivateBus.h"
#include "support/ScriptedDaemon.h"

#include <ciapi/CINames.h>

#include <glib.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <thread>

// Plants what the thread sanitizer is there to find where its suppressions could hide it: in a signal's callback, which
// GLib and libdbus call. planted_faults race|inversion|none

namespace
{
std::mutex g_first;
std::mutex g_second;
int g_plain = 0;
std::atomic<bool> g_areSent{false};
std::atomic<int> g_signals{0};
constexpr int SIGNALS = 50;
const char* g_fault = "";

bool IsPlanted(const char* fault) { return std::strcmp(g_fault, fault) == 0; }

void LockInOneOrder()
{
    const std::lock_guard first(g_first);
    const std::lock_guard second(g_second);
}

void LockInTheOther()
{
    const std::lock_guard second(g_second);
    const std::lock_guard first(g_first);
}

void OnData(int, TCMessageBuffer&)
{
    if (IsPlanted("inversion"))
    {
        LockInTheOther();
    }
    if (IsPlanted("race"))
    {
        ++g_plain;
    }
    g_signals.fetch_add(1, std::memory_order_relaxed); // orders nothing
}
} // namespace

int main(int argumentCount, char** arguments)
{
    using namespace CIM;
    g_fault = argumentCount == 2 ? arguments[1] : "";
    TCPrivateBus bus;
    TCScriptedDaemon daemon({CI_GENERAL_CONNECTION_NAME}, nullptr);
    TCCIMIPCConnection connection(CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME, CI_SIGNAL_SUBSCRIBER_OBJECT_NAME, true);
    connection.SetCallbackFunction(IPC_MESSAGE_DATA, OnData);
    LockInOneOrder();
    std::thread receiver(
        []
        {
            // Until then the sender uses libdbus, whose mutexes would order a quick receiver's callbacks before its own access.
            while (!g_areSent.load(std::memory_order_relaxed))
            {
                std::this_thread::yield();
            }
            while (g_signals.load(std::memory_order_relaxed) < SIGNALS)
            {
                g_main_context_iteration(nullptr, TRUE);
            }
        });
    for (int count = 0; count < SIGNALS; ++count)
    {
        const auto signal = TCScriptedDaemon::Signal("Data", "5", nullptr, "x");
        dbus_message_set_destination(signal.get(), connection.GetReceiverId().c_str());
        daemon.Send(signal);
    }
    g_areSent.store(true, std::memory_order_relaxed);
    while (g_signals.load(std::memory_order_relaxed) < SIGNALS)
    {
        std::this_thread::yield();
    }
    if (IsPlanted("race"))
    {
        ++g_plain;
    }
    receiver.join();
    std::printf("%d signal(s)\n", g_signals.load());
    return 0;
}
