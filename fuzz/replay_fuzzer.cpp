#include "Messages.h"

#include "simulator/replay/Matcher.h"
#include "simulator/retelling/StoryFromRecording.h"
#include "simulator/scenario/Scenario.h"

#include <sys/mman.h>
#include <unistd.h>

// Any bytes as a recording that is played, and made a story of. Property: every call finds itself when all are made in their
// order, and then the recording is over; the story can be read as a scenario; or a refusal in words.

namespace
{
using namespace CIM;
using namespace CIM::sim;
using fuzz::Require;

void PlayToItself(const TSRecording& recording)
{
    TCMatcher matcher(recording);
    for (const TSRecordedEvent& event : recording.events)
    {
        if (event.kind == TSRecordedEvent::SIGNAL)
        {
            Require(matcher.HasSignal() && matcher.IsSignalDue());
            matcher.PassSignal();
        }
        else if (event.kind == TSRecordedEvent::CALL)
        {
            const TCMatcher::TSMatch match = matcher.Match(recording.calls[event.call].request);
            Require(match.how == TCMatcher::AS_RECORDED && match.call == event.call);
        }
    }
    Require(matcher.IsOver());
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const int file = memfd_create("recording", MFD_CLOEXEC);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    Require(ftruncate(file, 0) == 0 && pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    try
    {
        const TSRecording recording = ReadRecording(path, "");
        PlayToItself(recording);
        ReadScenario(json::TCJsonDocument::Parse("story.json", StoryOf(recording)));
    }
    catch (const TCNoRecording&)
    {
    }
    return 0;
}
