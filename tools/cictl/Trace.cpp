#include "cictl/Bus.h"
#include "cictl/Recorder.h"
#include "cictl/TraceOutput.h"

#include "traffic/Monitor.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>
#include <vector>

namespace CIM::cictl
{
namespace
{
void BecomeMonitor(TCBus& bus)
{
    const TCMessagePtr call =
        traffic::MakeMonitorRequest({std::string("type='signal',interface='") + traffic::MARK_INTERFACE + "'"});
    TCDBusError error;
    if (!bus.Ask(call.get(), error))
    {
        FailForBus("the bus does not let this user monitor it", error);
    }
}

volatile std::sig_atomic_t g_interruption = 0; // a signal's number

/// Keeps the signals that end a trace, as long as it lives.
class TCInterruption
{
public:
    TCInterruption()
    {
        g_interruption = 0;
        struct sigaction action
        {
        };
        action.sa_handler = [](int number) { g_interruption = number; };
        sigaction(SIGINT, &action, &m_formerInterrupt);
        sigaction(SIGTERM, &action, &m_formerTerminate);
    }
    ~TCInterruption()
    {
        sigaction(SIGINT, &m_formerInterrupt, nullptr);
        sigaction(SIGTERM, &m_formerTerminate, nullptr);
    }
    TCInterruption(const TCInterruption&) = delete;
    TCInterruption& operator=(const TCInterruption&) = delete;

private:
    struct sigaction m_formerInterrupt
    {
    };
    struct sigaction m_formerTerminate
    {
    };
};
/// "64M", in bytes.
std::uint64_t RingBytes(const TCArguments& arguments)
{
    const std::string text = arguments.Text("ring");
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [unit, error] = std::from_chars(text.data(), end, number);
    const std::string_view name(unit, static_cast<std::size_t>(end - unit));
    const unsigned shift = name == "G" ? 30 : name == "M" ? 20 : 10;
    constexpr std::uint64_t LEAST = 64U << 10;
    if (error != std::errc() || (name != "K" && name != "M" && name != "G") || number > UINT32_MAX ||
        number << shift < LEAST)
    {
        throw TCFailure(EXIT_USAGE, "ring: a size such as 64M is needed, at least 64K, not \"" + text + "\"");
    }
    return number << shift;
}

/// Looks at the options of recording, before anything is begun. \return the bytes of the ring; 0: none
std::uint64_t CheckRecording(const TCArguments& arguments)
{
    if (!arguments.Has("record") && (arguments.Has("ring") || arguments.IsSet("with-secrets")))
    {
        throw TCFailure(EXIT_USAGE, "--ring and --with-secrets go with --record");
    }
    return arguments.Has("ring") ? RingBytes(arguments) : 0;
}

std::unique_ptr<TCRecorder> MakeRecorder(const TCArguments& arguments, std::uint64_t ringBytes)
{
    if (!arguments.Has("record"))
    {
        return nullptr;
    }
    try
    {
        return std::make_unique<TCRecorder>(arguments.Text("record"), ringBytes, arguments.IsSet("with-secrets"));
    }
    catch (const std::runtime_error& error)
    {
        throw TCFailure(EXIT_REFUSED, error.what());
    }
}

/// Shows and records what the bus hands out. Messages are taken at once, for the sake of their times, and told some at a
/// time: one by one, most of the time goes into fetching code and data back into the processor's caches.
class TCFollower
{
public:
    TCFollower(TCTraceOutput& output, TCRecorder* recorder) : m_output(output), m_recorder(recorder) {}

    void Take(TCMessagePtr message) { m_taken.emplace_back(std::move(message), recording::TSMoment::Now()); }
    /// How long they may wait until they are told, in milliseconds.
    int Patience() const
    {
        if (m_taken.empty())
        {
            return 100; // libdbus goes on waiting after a signal of the operating system
        }
        const std::int64_t waited = recording::TSMoment::Now().monotonic - m_taken.front().second.monotonic;
        return static_cast<int>(std::clamp<std::int64_t>(TOGETHER_MS - waited / 1'000'000, 0, TOGETHER_MS));
    }
    void Tell()
    {
        for (const auto& [message, moment] : m_taken)
        {
            if (m_output.IsFull())
            {
                break;
            }
            const bool isOfDaemon = m_output.Take(message.get(), moment);
            if (m_recorder != nullptr && isOfDaemon)
            {
                m_recorder->Record(message.get(), moment, traffic::ReadMark(message.get()).value_or(""));
            }
        }
        m_taken.clear();
    }
    bool IsDue() const { return !m_taken.empty() && (Patience() == 0 || m_taken.size() >= MOST); }

private:
    static constexpr std::int64_t TOGETHER_MS = 50;
    static constexpr std::size_t MOST = 1000;

    TCTraceOutput& m_output;
    TCRecorder* m_recorder;
    std::vector<std::pair<TCMessagePtr, recording::TSMoment>> m_taken;
};

/// Shows and records until something ends it.
EExit Follow(TCBus& bus, const TCArguments& arguments, TCTraceOutput& output, TCRecorder* recorder)
{
    using TCClock = std::chrono::steady_clock;
    const auto timeout = arguments.Seconds("timeout");
    const TCClock::time_point end = timeout ? TCClock::now() + *timeout : TCClock::time_point::max();
    TCFollower follower(output, recorder);
    bool isConnected = true;
    while (isConnected && g_interruption == 0 && TCClock::now() < end && !output.IsFull())
    {
        isConnected = dbus_connection_read_write(bus.Get(), follower.Patience());
        while (TCMessagePtr message{dbus_connection_pop_message(bus.Get())})
        {
            follower.Take(std::move(message));
        }
        if (follower.IsDue())
        {
            follower.Tell();
        }
        if (recorder != nullptr)
        {
            recorder->Tick();
        }
    }
    follower.Tell();
    if (!isConnected)
    {
        throw TCFailure(EXIT_NO_BUS, "the system bus is gone");
    }
    if (g_interruption != 0)
    {
        return g_interruption == SIGINT ? EXIT_INTERRUPTED : EXIT_TERMINATED;
    }
    return output.IsFull() || !output.HasCount() ? EXIT_ANSWERED : EXIT_TIMEOUT;
}
} // namespace

EExit TraceVerb(const TCArguments& arguments)
{
    if (arguments.Has("file"))
    {
        return TraceFile(arguments);
    }
    TCTraceOutput output(arguments);
    const std::uint64_t ringBytes = CheckRecording(arguments);
    TCBus bus;
    BecomeMonitor(bus);
    // Only now: a recording that is there already goes with it.
    const std::unique_ptr<TCRecorder> recorder = MakeRecorder(arguments, ringBytes);
    const TCInterruption interruption;
    std::fprintf(stderr, "cictl: tracing, Ctrl-C ends\n");
    const EExit exit = Follow(bus, arguments, output, recorder.get());
    output.Finish();
    const bool isRecorded = recorder == nullptr || recorder->Close();
    return isRecorded ? exit : EXIT_REFUSED;
}

EExit MarkVerb(const TCArguments& arguments)
{
    std::string text;
    for (const std::string& word : arguments.Many("text"))
    {
        text += (text.empty() ? "" : " ") + word;
    }
    if (text.empty() || !json::IsUtf8(text))
    {
        throw TCFailure(EXIT_USAGE, text.empty() ? "text: what is the mark to say?" : "text: this is no UTF-8");
    }
    TCBus bus;
    const TCMessagePtr mark(dbus_message_new_signal(traffic::MARK_PATH, traffic::MARK_INTERFACE, traffic::MARK_MEMBER));
    const char* const bytes = text.c_str();
    dbus_message_append_args(mark.get(), DBUS_TYPE_STRING, &bytes, DBUS_TYPE_INVALID);
    dbus_connection_send(bus.Get(), mark.get(), nullptr);
    bus.OwnerOf(DBUS_SERVICE_DBUS); // once the bus has answered, it has taken the mark, too
    return EXIT_ANSWERED;
}
} // namespace CIM::cictl
