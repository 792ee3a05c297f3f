#include "cictl/Output.h"
#include "cictl/TraceOutput.h"

#include "recording/Input.h"
#include "traffic/Recorded.h"

#include <cstdio>
#include <optional>

#include <unistd.h>

namespace CIM::cictl
{
namespace
{
/// Tells a person who waits how far it has come.
class TCProgress
{
public:
    /// \param[in] isAlone  nothing else is printed meanwhile
    TCProgress(std::uint64_t size, bool isAlone)
        : m_size(isatty(STDERR_FILENO) == 1 && (isAlone || isatty(STDOUT_FILENO) == 0) ? size : 0)
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

EExit Read(const recording::TCInput& input, const std::string& path, TCTraceOutput& output)
{
    traffic::TCRecorded recorded(input.Descriptor());
    std::string error;
    try
    {
        TCProgress progress(input.Size(), output.IsShownAtEnd());
        while (!output.IsFull() && !output.IsChartFull() && recorded.Next())
        {
            progress.Reach(recorded.Offset());
            using EInterest = TCTraceFilter::EInterest;
            const EInterest interest =
                output.Filter().InterestIn(recorded.Head(), recorded.Moment(), output.Dissector());
            if (interest == EInterest::NONE ||
                (interest == EInterest::NOTE && output.Dissector().Note(recorded.Head(), recorded.Moment())))
            {
                continue;
            }
            if (const TCMessagePtr message = recorded.Message())
            {
                output.Take(message.get(), recorded.Moment());
            }
        }
    }
    catch (const recording::TCRecordingError& wrong)
    {
        error = wrong.what(); // what came before it is shown all the same
    }
    if (error.empty() || recorded.Packets() > 0)
    {
        output.Finish();
    }
    if (recorded.Unreadable() > 0)
    {
        std::fprintf(stderr, "cictl: %llu of %llu packets are no D-Bus messages, or were cut\n",
                     static_cast<unsigned long long>(recorded.Unreadable()),
                     static_cast<unsigned long long>(recorded.Packets()));
    }
    if (!error.empty())
    {
        throw TCFailure(EXIT_NOT_READABLE, path + ": " + error);
    }
    if (!recorded.Ending().empty())
    {
        std::fprintf(stderr, "cictl: %s: %s\n", path.c_str(), recorded.Ending().c_str());
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
    if (arguments.IsSet("with-secrets"))
    {
        throw TCFailure(EXIT_USAGE,
                        "--with-secrets goes with --record; of the secrets in a file, --show-secrets tells");
    }
    TCTraceOutput output(arguments);
    std::optional<recording::TCInput> input;
    try
    {
        input.emplace(path);
    }
    catch (const recording::TCInputError& error)
    {
        throw TCFailure(EXIT_REFUSED, error.what());
    }
    return Read(*input, path, output);
}
} // namespace CIM::cictl
