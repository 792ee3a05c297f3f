#include "cictl/Output.h"
#include "cictl/TraceOutput.h"

#include "bus/Handles.h"
#include "recording/Reader.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace CIM::cictl
{
namespace
{
/// A file that is open for reading; "-" is standard input.
class TCInput
{
public:
    explicit TCInput(const std::string& path)
        : m_descriptor(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC))
    {
        if (m_descriptor < 0)
        {
            throw TCFailure(EXIT_REFUSED, path + " cannot be read: " + std::strerror(errno));
        }
    }
    ~TCInput() { close(m_descriptor); }
    TCInput(const TCInput&) = delete;
    TCInput& operator=(const TCInput&) = delete;

    int Descriptor() const { return m_descriptor; }
    /// 0 when nobody knows.
    std::uint64_t Size() const
    {
        struct stat found
        {
        };
        return fstat(m_descriptor, &found) == 0 && S_ISREG(found.st_mode) ? static_cast<std::uint64_t>(found.st_size)
                                                                          : 0;
    }

private:
    int m_descriptor;
};

/// Tells a person who waits how far it has come.
class TCProgress
{
public:
    explicit TCProgress(std::uint64_t size)
        : m_size(isatty(STDERR_FILENO) == 1 && isatty(STDOUT_FILENO) == 0 ? size : 0)
    {
    }
    ~TCProgress()
    {
        if (m_isShown)
        {
            std::fprintf(stderr, "\r      \r");
        }
    }
    TCProgress(const TCProgress&) = delete;
    TCProgress& operator=(const TCProgress&) = delete;

    void Reach(std::uint64_t offset)
    {
        constexpr std::uint64_t STEP = 16U << 20;
        if (m_size > 0 && offset >= m_next)
        {
            m_next = offset + STEP;
            m_isShown = true;
            std::fprintf(stderr, "\r%3d %%", static_cast<int>(offset * 100 / m_size));
        }
    }

private:
    std::uint64_t m_size; ///< 0: nothing is shown
    std::uint64_t m_next = 0;
    bool m_isShown = false;
};

/// The monotonic clock of packets, whose comments say where it stood.
class TCClocks
{
public:
    recording::TSMoment At(const recording::TSPacket& packet)
    {
        constexpr std::string_view WORDS = "monotonic clock ";
        const std::size_t place = packet.comment.rfind(WORDS);
        if (place != packet.comment.npos)
        {
            const std::string_view digits = packet.comment.substr(place + WORDS.size());
            std::int64_t seconds = 0;
            std::int64_t parts = 0;
            const char* const end = digits.data() + digits.size();
            const auto [point, error] = std::from_chars(digits.data(), end, seconds);
            constexpr int DIGITS = 9;
            constexpr std::int64_t MOST_SECONDS = 9'000'000'000; // that nanoseconds can tell
            const bool isWhole = error == std::errc() && seconds >= 0 && seconds < MOST_SECONDS &&
                                 end - point > DIGITS &&
                                 std::from_chars(point + 1, point + 1 + DIGITS, parts).ec == std::errc() && parts >= 0;
            if (isWhole)
            {
                m_monotonic = seconds * 1'000'000'000 + parts;
                m_real = packet.time;
            }
        }
        // A jump of the clock is told with the packet behind it.
        return {packet.time, m_monotonic == 0 ? 0 : m_monotonic + (packet.time - m_real)};
    }

private:
    std::int64_t m_real = 0;
    std::int64_t m_monotonic = 0;
};

EExit Read(const TCInput& input, TCTraceOutput& output)
{
    recording::TCReader reader(input.Descriptor());
    TCProgress progress(input.Size());
    TCClocks clocks;
    recording::TSPacket packet;
    recording::TSMessageHead head;
    std::uint64_t number = 0;
    std::uint64_t unreadable = 0;
    while (!output.IsFull() && !output.IsChartFull() && reader.Next(packet))
    {
        ++number;
        progress.Reach(reader.Offset());
        const recording::TSMoment moment = clocks.At(packet);
        if (!recording::ReadMessageHead(packet.bytes, head))
        {
            ++unreadable;
            continue;
        }
        if (!output.Filter().MayBeWanted(head, packet.time, output.Dissector()))
        {
            continue;
        }
        TCDBusError error;
        const TCMessagePtr message(
            dbus_message_demarshal(packet.bytes.data(), static_cast<int>(packet.bytes.size()), error.Get()));
        if (!message)
        {
            ++unreadable;
            continue;
        }
        output.Take(message.get(), moment);
    }
    output.Finish();
    if (unreadable > 0)
    {
        std::fprintf(stderr, "cictl: %llu of %llu packets are no D-Bus messages, or were cut\n",
                     static_cast<unsigned long long>(unreadable), static_cast<unsigned long long>(number));
    }
    if (!reader.Ending().empty())
    {
        std::fprintf(stderr, "cictl: %s\n", reader.Ending().c_str());
    }
    return EXIT_ANSWERED;
}
} // namespace

EExit TraceFile(const TCArguments& arguments)
{
    const std::string path = arguments.Text("file");
    for (const char* const option : {"record", "ring", "timeout"})
    {
        if (arguments.Has(option))
        {
            throw TCFailure(EXIT_USAGE,
                            std::string("--") + option + " goes with the bus, not with a file that is read");
        }
    }
    TCTraceOutput output(arguments);
    const TCInput input(path);
    try
    {
        return Read(input, output);
    }
    catch (const recording::TCRecordingError& error)
    {
        throw TCFailure(EXIT_NOT_READABLE, path + ": " + error.what());
    }
}
} // namespace CIM::cictl
