// 256 clients at once, each with a subscription and calls, while one operation is made slow: nobody waits for somebody
// else's slow call, and the simulator's memory stays flat.
// To be run as: ci-daemon-sim run -- many_clients PATH-TO-ci-daemon-sim SECONDS

#include <ciapi/CINames.h>

#include <dbus/dbus.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace
{
using TCClock = std::chrono::steady_clock;
constexpr int CLIENTS = 256;
constexpr int SLOW_CLIENTS = 8;
constexpr int SLOW_MS = 1500;
constexpr short SLOW_METHOD = 13; // GetMmiText

std::atomic<bool> g_isOver{false};
std::atomic<unsigned> g_calls{0};
std::atomic<unsigned> g_failures{0};
std::atomic<long> g_longestUs{0};

/// A call with one in-argument, the slot, as tag `tag`; or with none.
std::vector<unsigned char> Request(short method, bool hasSlot)
{
    const auto id = static_cast<unsigned char>(method);
    if (hasSlot)
    {
        return {1, 0, 0, 0, 2, 0, id, 0, 9, 0, 0, 0, 1, 0, 1, 0, 1, 0, 0, 0, 0};
    }
    return {1, 0, 0, 0, 2, 0, id, 0, 0, 0, 0, 0};
}

bool Call(DBusConnection* bus, short method, bool hasSlot)
{
    const std::string& name = CIM::CI_GENERAL_CONNECTION_NAME;
    DBusMessage* call = dbus_message_new_method_call(name.c_str(), "/com/kelvora/Object", name.c_str(), "MethodCall");
    const std::vector<unsigned char> request = Request(method, hasSlot);
    const unsigned char* bytes = request.data();
    const int length = static_cast<int>(request.size());
    const dbus_int32_t header = (2 << 16) | method;
    const dbus_int32_t process = 1;
    const char* program = "many_clients";
    dbus_message_append_args(call, DBUS_TYPE_INT32, &header, DBUS_TYPE_INT32, &length, DBUS_TYPE_INT32, &process,
                             DBUS_TYPE_STRING, &program, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, length,
                             DBUS_TYPE_INVALID);
    DBusMessage* reply = dbus_connection_send_with_reply_and_block(bus, call, 20000, nullptr);
    dbus_message_unref(call);
    unsigned char status = 0;
    DBusMessageIter iterator;
    if (reply != nullptr && dbus_message_iter_init(reply, &iterator) &&
        dbus_message_iter_get_arg_type(&iterator) == DBUS_TYPE_BYTE)
    {
        dbus_message_iter_get_basic(&iterator, &status);
    }
    if (reply != nullptr)
    {
        dbus_message_unref(reply);
    }
    return (status & 1) != 0;
}

void Client(int number)
{
    DBusConnection* bus = dbus_bus_get_private(DBUS_BUS_SYSTEM, nullptr);
    if (bus == nullptr)
    {
        ++g_failures;
        return;
    }
    dbus_connection_set_exit_on_disconnect(bus, FALSE);
    const std::string rule =
        "type='signal',interface='com.kelvora.ciapi.SignalIFace',arg0='20',arg1='" + std::to_string(number) + "'";
    dbus_bus_add_match(bus, rule.c_str(), nullptr);
    const bool isSlow = number < SLOW_CLIENTS;
    while (!g_isOver)
    {
        const auto start = TCClock::now();
        g_failures += Call(bus, isSlow ? SLOW_METHOD : 28, isSlow) ? 0 : 1; // else: GetCaSystemIds
        const long us = std::chrono::duration_cast<std::chrono::microseconds>(TCClock::now() - start).count();
        ++g_calls;
        if (isSlow && us < SLOW_MS * 1000)
        {
            ++g_failures; // the fault was not on
        }
        for (long longest = g_longestUs; !isSlow && us > longest && !g_longestUs.compare_exchange_weak(longest, us);)
        {
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(isSlow ? 0 : 50)); // the pace of a client, not a wait
    }
    dbus_connection_close(bus);
    dbus_connection_unref(bus);
}

/// The resident memory of the process that owns a bus name, in KiB; 0 when it cannot be read.
long MemoryOf(const char* name)
{
    DBusConnection* bus = dbus_bus_get_private(DBUS_BUS_SYSTEM, nullptr);
    DBusMessage* call = dbus_message_new_method_call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                     "org.freedesktop.DBus", "GetConnectionUnixProcessID");
    dbus_message_append_args(call, DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID);
    DBusMessage* reply = dbus_connection_send_with_reply_and_block(bus, call, 5000, nullptr);
    dbus_message_unref(call);
    dbus_uint32_t process = 0;
    if (reply != nullptr)
    {
        dbus_message_get_args(reply, nullptr, DBUS_TYPE_UINT32, &process, DBUS_TYPE_INVALID);
        dbus_message_unref(reply);
    }
    dbus_connection_close(bus);
    dbus_connection_unref(bus);
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);)
    {
        if (line.rfind("VmRSS:", 0) == 0)
        {
            return std::atol(line.c_str() + 6);
        }
    }
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 3 || std::atoi(argv[2]) <= 0)
    {
        std::fprintf(stderr, "usage: many_clients PATH-TO-ci-daemon-sim SECONDS\n");
        return 2;
    }
    dbus_threads_init_default();
    const std::string fault = "\"" + std::string(argv[1]) +
                              "\" ctl AddFault '{\"kind\": \"late\", \"ms\": " + std::to_string(SLOW_MS) +
                              ", \"operation\": \"ICIGeneral.GetMmiText\"}' >/dev/null";
    if (std::system(fault.c_str()) != 0)
    {
        return 1;
    }
    std::vector<std::thread> clients;
    for (int number = 0; number < CLIENTS; ++number)
    {
        clients.emplace_back(Client, number);
    }
    const auto seconds = std::chrono::seconds(std::atoi(argv[2]));
    std::this_thread::sleep_for(seconds / 2);
    const long half = MemoryOf("com.kelvora.ciapi.ICIGeneral");
    std::this_thread::sleep_for(seconds / 2);
    const long full = MemoryOf("com.kelvora.ciapi.ICIGeneral");
    g_isOver = true;
    for (std::thread& client : clients)
    {
        client.join();
    }
    std::printf("%d clients, %u calls, %u failures, longest wait of a quick one %.1f ms, simulator %ld -> %ld KiB\n",
                CLIENTS, g_calls.load(), g_failures.load(), static_cast<double>(g_longestUs) / 1000.0, half, full);
    // The journal of calls is bounded; it may still be filling up.
    const bool isFlat = half > 0 && full < half + 32 * 1024;
    return g_failures == 0 && isFlat && g_longestUs < SLOW_MS * 1000 ? 0 : 1;
}
