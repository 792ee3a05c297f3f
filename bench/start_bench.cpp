// How long an application waits before it can use a CI slot: the first interface, the first call and each further
// interface, in fresh processes beside a ready daemon; plain libdbus, which opens, asks for a name and calls, in turns
// with it. Prints Markdown tables; the ratio is library / plain.
//
// Without arguments it starts itself beside a simulator of its own.

#include <ciapi/CINameLiterals.h>
#include <ciapi/CIService.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dbus/dbus.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{
using namespace CIM;

constexpr int ROUNDS = 101;
constexpr short IS_HOST_CONTROL_ACTIVE = 39;
constexpr std::array STEPS = {"first interface", "first call", "further interface, median of 7", "subscriber",
                              "second call"};
using TMicroseconds = std::array<double, STEPS.size()>;

double Now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) * 1e-3;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void Check(bool isGood, const char* what)
{
    if (!isGood)
    {
        std::fprintf(stderr, "start_bench: %s\n", what);
        std::_Exit(1);
    }
}

/// The time since the last lap.
class TCLap
{
public:
    double operator()()
    {
        const double begin = m_begin;
        m_begin = Now();
        return m_begin - begin;
    }

private:
    double m_begin = Now();
};

int Ignore(ECISignalType, EProfile, unsigned short, TSSignalData, void*) { return 0; }

TMicroseconds MeasureLibrary()
{
    TMicroseconds times{};
    TCLap lap;
    ICIGeneral* const general = TCCIService::CIGeneralInstance();
    times[0] = lap();
    bool active = false;
    Check(general->IsHostControlActive(active) == 1, "no answer");
    times[1] = lap();
    std::vector<double> further;
    const auto add = [&](const void* interface)
    {
        Check(interface != nullptr, "no interface");
        further.push_back(lap());
    };
    add(TCCIService::CIAppMMIInstance());
    add(TCCIService::CIOperatorProfileInstance());
    add(TCCIService::PvrCipInstance());
    add(TCCIService::CIDebugInstance());
    add(TCCIService::CIAuxiliaryFileSystemInstance());
    add(TCCIService::CICAMPlayerInstance());
    add(TCCIService::CISampleDecryptionInstance());
    times[2] = Median(further);
    lap();
    Check(TCCIService::CISignalSubscriberInstance(Ignore) != nullptr, "no subscriber");
    times[3] = lap();
    general->IsHostControlActive(active);
    times[4] = lap();
    return times;
}

void CallPlainly(DBusConnection* connection)
{
    DBusMessage* const call = dbus_message_new_method_call(literals::CI_GENERAL_CONNECTION_NAME, "/com/kelvora/Object",
                                                           literals::CI_GENERAL_CONNECTION_NAME, "MethodCall");
    // What the library sends for the same operation: a tree of the result's place alone.
    const dbus_int32_t numbers[] = {IS_HOST_CONTROL_ACTIVE, 0, getpid()};
    DBusMessageIter iterator;
    dbus_message_iter_init_append(call, &iterator);
    for (const dbus_int32_t& number : numbers)
    {
        dbus_message_iter_append_basic(&iterator, DBUS_TYPE_INT32, &number);
    }
    DBusMessage* const reply = dbus_connection_send_with_reply_and_block(connection, call, 5000, nullptr);
    Check(reply != nullptr, "no answer to plain libdbus");
    dbus_message_unref(reply);
    dbus_message_unref(call);
}

TMicroseconds MeasurePlain()
{
    TMicroseconds times{};
    TCLap lap;
    DBusConnection* const connection = dbus_bus_get_private(DBUS_BUS_SYSTEM, nullptr);
    Check(connection != nullptr, "no bus");
    dbus_connection_set_exit_on_disconnect(connection, FALSE);
    const std::string name = "com.kelvora.start.p" + std::to_string(getpid());
    dbus_bus_request_name(connection, name.c_str(), DBUS_NAME_FLAG_REPLACE_EXISTING, nullptr);
    times[0] = lap();
    CallPlainly(connection);
    times[1] = lap();
    Check(dbus_bus_name_has_owner(connection, literals::CI_DEBUG_CONNECTION_NAME, nullptr), "no daemon");
    times[2] = lap();
    dbus_bus_add_match(connection, "type='signal',interface='com.kelvora.ciapi.SignalIFace'", nullptr);
    times[3] = lap();
    CallPlainly(connection);
    times[4] = lap();
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
    return times;
}

/// Measures in a process of its own, as this program with an argument.
TMicroseconds InFreshProcess(const char* self, const char* mode)
{
    int ends[2];
    Check(pipe(ends) == 0, "no pipe");
    const pid_t child = fork();
    Check(child >= 0, "no process");
    if (child == 0)
    {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        execl(self, self, mode, static_cast<char*>(nullptr));
        std::_Exit(127);
    }
    close(ends[1]);
    TMicroseconds times{};
    const bool isRead = read(ends[0], times.data(), sizeof(times)) == sizeof(times);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    Check(isRead && status == 0, "a measured process failed");
    return times;
}

void Report(const TMicroseconds& times)
{
    Check(write(STDOUT_FILENO, times.data(), sizeof(times)) == sizeof(times), "cannot report");
}

void Compare(const char* self)
{
    std::array<std::vector<double>, STEPS.size()> library;
    std::array<std::vector<double>, STEPS.size()> plain;
    std::vector<double> ready;
    for (int round = 0; round < ROUNDS; ++round)
    {
        const TMicroseconds a = InFreshProcess(self, "--plain");
        const TMicroseconds b = InFreshProcess(self, "--library");
        for (std::size_t step = 0; step < STEPS.size(); ++step)
        {
            plain[step].push_back(a[step]);
            library[step].push_back(b[step]);
        }
        ready.push_back(b[0] + b[1]);
    }
    std::printf("| start, us, median of %d processes | plain | library | ratio |\n|:--|--:|--:|--:|\n", ROUNDS);
    for (std::size_t step = 0; step < STEPS.size(); ++step)
    {
        const double a = Median(plain[step]);
        const double b = Median(library[step]);
        std::printf("| %s | %.0f | %.0f | %.2f |\n", STEPS[step], a, b, b / a);
    }
    std::printf("\nFirst interface and first call together: %.0f us.\n", Median(ready));
}
} // namespace

int main(int count, char** arguments)
{
    const std::string mode = count > 1 ? arguments[1] : "";
    if (mode == "--library")
    {
        Report(MeasureLibrary());
    }
    else if (mode == "--plain")
    {
        Report(MeasurePlain());
    }
    else if (mode == "--beside-daemon")
    {
        Compare(arguments[0]);
    }
    else
    {
        setenv("TVPLATFORM_LOG", "off", 0);
        execl(SIMULATOR, SIMULATOR, "run", "--", arguments[0], "--beside-daemon", static_cast<char*>(nullptr));
        Check(false, "cannot start the simulator");
    }
    return 0;
}
