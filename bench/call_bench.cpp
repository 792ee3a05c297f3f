// Calls and signals, through the library's connection and through plain libdbus: side by side in one run, in turns,
// against the same daemon process. Prints Markdown tables; a ratio is library / plain.

#include "ci_connection/CIMIPCConnection.h"
#include "support/PrivateBus.h"
#include "support/ScriptedDaemon.h"
#include <ciapi/CINames.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dbus/dbus-glib-lowlevel.h>
#include <functional>
#include <glib.h>
#include <map>
#include <new>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern "C" void* __libc_malloc(std::size_t);
extern "C" void* __libc_calloc(std::size_t, std::size_t);
extern "C" void* __libc_realloc(void*, std::size_t);

namespace
{
std::atomic<unsigned long> g_allocations{0};
}

// Every allocation of the process passes here, that of libdbus and operator new included.
extern "C" void* malloc(std::size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}
extern "C" void* calloc(std::size_t count, std::size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}
extern "C" void* realloc(void* old, std::size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(old, size);
}

namespace
{
using CIM::TCCIMIPCConnection;
using CIM::TCScriptedDaemon;

const std::string INTERFACE = "com.kelvora.ciapi.ICIGeneral";
const std::string SIGNAL_INTERFACE = "com.kelvora.ciapi.SignalIFace";
const std::string SIGNAL_OBJECT = "/com/kelvora/ciapi/SignalObject";
constexpr short ECHO = 1;
constexpr short RAISE = 2; // payload: two ints, identifier and count

double Seconds(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// The daemon: a process of its own that ends when the pipe from the benchmark closes.
class TCDaemonProcess
{
public:
    TCDaemonProcess()
    {
        int lifeline[2];
        int ready[2];
        if (pipe(lifeline) != 0 || pipe(ready) != 0)
        {
            std::abort();
        }
        m_pid = fork();
        if (m_pid < 0)
        {
            std::abort();
        }
        char byte = 0;
        if (m_pid == 0)
        {
            close(lifeline[1]);
            m_Serve(lifeline[0], ready[1]);
            _exit(0);
        }
        close(lifeline[0]);
        close(ready[1]);
        m_lifeline = lifeline[1];
        if (read(ready[0], &byte, 1) != 1)
        {
            std::abort();
        }
        close(ready[0]);
    }
    ~TCDaemonProcess()
    {
        close(m_lifeline);
        waitpid(m_pid, nullptr, 0);
    }

private:
    static void m_Serve(int lifeline, int ready)
    {
        TCScriptedDaemon* self = nullptr;
        TCScriptedDaemon daemon({INTERFACE, CIM::CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME},
                                [&self](const TCScriptedDaemon::TMessage& request)
                                { return m_Answer(*self, request); });
        self = &daemon;
        char byte = 0;
        if (write(ready, &byte, 1) == 1)
        {
            while (read(lifeline, &byte, 1) > 0)
            {
            }
        }
    }
    static TCScriptedDaemon::TMessage m_Answer(TCScriptedDaemon& daemon, const TCScriptedDaemon::TMessage& request)
    {
        DBusMessageIter iter;
        dbus_int32_t word = 0;
        dbus_message_iter_init(request.get(), &iter);
        dbus_message_iter_get_basic(&iter, &word);
        const std::string payload = TCScriptedDaemon::Payload(request.get());
        if ((word & 0xffff) == RAISE)
        {
            int wanted[2];
            std::memcpy(wanted, payload.data(), sizeof wanted);
            const std::string bytes(16, 'x');
            for (int number = 0; number < wanted[1]; ++number)
            {
                daemon.Send(TCScriptedDaemon::Signal("Signal", std::to_string(wanted[0]), "65538", bytes));
            }
        }
        return TCScriptedDaemon::Reply(request, 1, payload);
    }

    pid_t m_pid;
    int m_lifeline;
};

/// What an application would write against libdbus.
class TCPlain
{
public:
    TCPlain() : m_connection(dbus_bus_get_private(DBUS_BUS_SYSTEM, nullptr))
    {
        if (m_connection == nullptr)
        {
            std::abort();
        }
        dbus_connection_set_exit_on_disconnect(m_connection, FALSE);
    }
    ~TCPlain()
    {
        dbus_connection_close(m_connection);
        dbus_connection_unref(m_connection);
    }
    DBusConnection* Connection() const { return m_connection; }

    std::size_t Call(short method, const std::string& payload)
    {
        DBusMessage* const call =
            dbus_message_new_method_call(INTERFACE.c_str(), "/com/kelvora/Object", INTERFACE.c_str(), "MethodCall");
        const dbus_int32_t numbers[] = {method, static_cast<dbus_int32_t>(payload.size()), getpid()};
        DBusMessageIter iter;
        dbus_message_iter_init_append(call, &iter);
        for (const dbus_int32_t& number : numbers)
        {
            dbus_message_iter_append_basic(&iter, DBUS_TYPE_INT32, &number);
        }
        if (!payload.empty())
        {
            const char* const bytes = payload.data();
            DBusMessageIter array;
            dbus_message_iter_open_container(&iter, DBUS_TYPE_ARRAY, "y", &array);
            dbus_message_iter_append_fixed_array(&array, DBUS_TYPE_BYTE, &bytes, static_cast<int>(payload.size()));
            dbus_message_iter_close_container(&iter, &array);
        }
        DBusMessage* const reply = dbus_connection_send_with_reply_and_block(m_connection, call, -1, nullptr);
        dbus_message_unref(call);
        unsigned char status = 0;
        dbus_int32_t stated = 0;
        const char* bytes = nullptr;
        int length = 0;
        if (reply == nullptr ||
            !dbus_message_get_args(reply, nullptr, DBUS_TYPE_BYTE, &status, DBUS_TYPE_INT32, &stated, DBUS_TYPE_ARRAY,
                                   DBUS_TYPE_BYTE, &bytes, &length, DBUS_TYPE_INVALID))
        {
            std::abort();
        }
        const std::vector<char> result(bytes, bytes + length);
        dbus_message_unref(reply);
        return result.size();
    }

private:
    DBusConnection* m_connection;
};

std::size_t CallThroughLibrary(TCCIMIPCConnection& connection, short method, const std::string& payload)
{
    TCMessageBuffer input;
    TCMessageBuffer output;
    input.PushBorrowed(payload.size(), payload.data());
    if (!connection.Call(INTERFACE, method, input, output))
    {
        std::abort();
    }
    const std::size_t length = output.GetUnreadSize();
    return length > 0 && output.GetAsCStr(0) == nullptr ? 0 : length;
}

struct SCost
{
    double wall;
    double cpu;
    double allocations;
};

SCost Measure(int count, const std::function<void()>& call)
{
    const unsigned long allocations = g_allocations.load();
    const double cpu = Seconds(CLOCK_PROCESS_CPUTIME_ID);
    const double wall = Seconds(CLOCK_MONOTONIC);
    for (int number = 0; number < count; ++number)
    {
        call();
    }
    return {(Seconds(CLOCK_MONOTONIC) - wall) / count * 1e6, (Seconds(CLOCK_PROCESS_CPUTIME_ID) - cpu) / count * 1e6,
            static_cast<double>(g_allocations.load() - allocations) / count};
}

/// Two ways of doing the same, in turns; the medians.
std::pair<SCost, SCost> Compare(int rounds, const std::function<SCost()>& plain, const std::function<SCost()>& library)
{
    std::vector<double> values[6];
    for (int round = 0; round <= rounds; ++round)
    {
        const SCost costs[] = {plain(), library()};
        for (int which = 0; which < 2 && round > 0; ++which) // the first round warms up
        {
            values[which * 3].push_back(costs[which].wall);
            values[which * 3 + 1].push_back(costs[which].cpu);
            values[which * 3 + 2].push_back(costs[which].allocations);
        }
    }
    return {{Median(values[0]), Median(values[1]), Median(values[2])},
            {Median(values[3]), Median(values[4]), Median(values[5])}};
}

void RoundTrips(TCPlain& plain, TCCIMIPCConnection& connection)
{
    std::printf("| payload (bytes) | plain, us | library, us | ratio | plain CPU, us | library CPU, us | ratio | plain "
                "allocations | library allocations |\n|--:|--:|--:|--:|--:|--:|--:|--:|--:|\n");
    const struct
    {
        std::size_t size;
        int count;
        int rounds;
    } rows[] = {{0, 1000, 15}, {64, 1000, 15}, {4096, 1000, 15}, {1 << 20, 20, 9}, {16 << 20, 1, 9}};
    for (const auto& row : rows)
    {
        const std::string payload(row.size, 'p');
        const auto [a, b] = Compare(
            row.rounds, [&] { return Measure(row.count, [&] { plain.Call(ECHO, payload); }); },
            [&] { return Measure(row.count, [&] { CallThroughLibrary(connection, ECHO, payload); }); });
        std::printf("| %zu | %.1f | %.1f | %.2f | %.1f | %.1f | %.2f | %.1f | %.1f |\n", row.size, a.wall, b.wall,
                    b.wall / a.wall, a.cpu, b.cpu, b.cpu / a.cpu, a.allocations, b.allocations);
        std::fflush(stdout);
    }
}

double CallsPerSecond(int threads, const std::function<void()>& call)
{
    constexpr int CALLS = 4000;
    std::vector<std::thread> callers;
    const double start = Seconds(CLOCK_MONOTONIC);
    for (int number = 0; number < threads; ++number)
    {
        callers.emplace_back(
            [&]
            {
                for (int count = 0; count < CALLS / threads; ++count)
                {
                    call();
                }
            });
    }
    for (std::thread& caller : callers)
    {
        caller.join();
    }
    return CALLS / (Seconds(CLOCK_MONOTONIC) - start);
}

void Threads(TCPlain& plain, TCCIMIPCConnection& connection)
{
    const std::string payload(64, 'p');
    const std::function<void()> ways[] = {[&] { plain.Call(ECHO, payload); },
                                          [&] { CallThroughLibrary(connection, ECHO, payload); }};
    std::printf("\n| threads on one connection, 64 bytes | plain, calls/s | library, calls/s |\n|--:|--:|--:|\n");
    std::map<int, std::vector<double>> rates[2];
    for (int round = 0; round < 5; ++round)
    {
        for (const int threads : {1, 2, 4, 8})
        {
            for (int which = 0; which < 2; ++which)
            {
                rates[which][threads].push_back(CallsPerSecond(threads, ways[which]));
            }
        }
    }
    for (const int threads : {1, 2, 4, 8})
    {
        std::printf("| %d | %.0f | %.0f |\n", threads, Median(rates[0][threads]), Median(rates[1][threads]));
    }
}

long g_received = 0;
long g_bytes = 0;

DBusHandlerResult PlainFilter(DBusConnection*, DBusMessage* message, void*)
{
    const char* identifier = nullptr;
    const char* handle = nullptr;
    dbus_int32_t stated = 0;
    const char* bytes = nullptr;
    int length = 0;
    if (!dbus_message_is_signal(message, SIGNAL_INTERFACE.c_str(), "Signal") ||
        !dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &identifier, DBUS_TYPE_STRING, &handle,
                               DBUS_TYPE_INT32, &stated, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, &length,
                               DBUS_TYPE_INVALID))
    {
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    }
    const std::vector<char> payload(bytes, bytes + length);
    g_bytes += static_cast<long>(payload.size()) + std::atoi(identifier);
    ++g_received;
    return DBUS_HANDLER_RESULT_HANDLED;
}

void LibraryCallback(int messageId, TCMessageBuffer& payload)
{
    g_bytes += static_cast<long>(payload.GetUnreadSize()) + messageId;
    ++g_received;
}

SCost ReceiveSignals(TCPlain& caller, int identifier, int count)
{
    const int wanted[] = {identifier, count};
    g_received = 0;
    const unsigned long allocations = g_allocations.load();
    const double cpu = Seconds(CLOCK_PROCESS_CPUTIME_ID);
    const double wall = Seconds(CLOCK_MONOTONIC);
    caller.Call(RAISE, std::string(reinterpret_cast<const char*>(wanted), sizeof wanted));
    while (g_received < count)
    {
        g_main_context_iteration(nullptr, TRUE);
    }
    return {(Seconds(CLOCK_MONOTONIC) - wall) / count * 1e6, (Seconds(CLOCK_PROCESS_CPUTIME_ID) - cpu) / count * 1e6,
            static_cast<double>(g_allocations.load() - allocations) / count};
}

void Signals(TCPlain& caller, TCCIMIPCConnection& connection)
{
    constexpr int COUNT = 20000;
    TCPlain receiver;
    const std::string rule = "path='" + SIGNAL_OBJECT + "', type='signal', interface='" + SIGNAL_INTERFACE +
                             "', member='Signal', arg0='1', arg1='65538'";
    dbus_bus_add_match(receiver.Connection(), rule.c_str(), nullptr);
    dbus_connection_add_filter(receiver.Connection(), PlainFilter, nullptr, nullptr);
    dbus_connection_setup_with_g_main(receiver.Connection(), nullptr);
    connection.SetCallbackFunction(CIM::IPC_MESSAGE_SIGNAL, LibraryCallback);
    if (!connection.AddMatchRule(CIM::IPC_MESSAGE_SIGNAL, 2, TVSHandle(static_cast<EProfile>(1), 2)))
    {
        std::abort();
    }
    const auto [a, b] = Compare(
        9, [&] { return ReceiveSignals(caller, 1, COUNT); }, [&] { return ReceiveSignals(caller, 2, COUNT); });
    std::printf("\n| signals, 16 bytes each, %d in a row | plain | library | ratio |\n|:--|--:|--:|--:|\n", COUNT);
    std::printf("| signals/s | %.0f | %.0f | %.2f |\n| receiver CPU per signal, us | %.2f | %.2f | %.2f |\n"
                "| receiver allocations per signal | %.2f | %.2f | |\n",
                1e6 / a.wall, 1e6 / b.wall, a.wall / b.wall, a.cpu, b.cpu, b.cpu / a.cpu, a.allocations, b.allocations);
    connection.UnsetCallbackFunction(CIM::IPC_MESSAGE_SIGNAL, LibraryCallback);
}
} // namespace

int main()
{
    CIM::TCPrivateBus bus;
    TCDaemonProcess daemon;
    dbus_threads_init_default();
    TCPlain plain;
    TCCIMIPCConnection connection(SIGNAL_INTERFACE, SIGNAL_OBJECT, true);
    RoundTrips(plain, connection);
    Threads(plain, connection);
    Signals(plain, connection);
    return 0;
}
