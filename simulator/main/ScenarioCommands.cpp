#include "Commands.h"
#include "simulator/retelling/StoryFromRecording.h"
#include "simulator/scenario/Describe.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace CIM::sim
{
namespace
{
int ListCommand()
{
    const std::vector<TSScenario> scenarios = ShippedScenarios();
    std::size_t width = 0;
    for (const TSScenario& scenario : scenarios)
    {
        width = std::max(width, scenario.name.size());
    }
    for (const TSScenario& scenario : scenarios)
    {
        std::printf("%-*s  %s\n", static_cast<int>(width), scenario.name.c_str(), scenario.description.c_str());
    }
    return 0;
}

/// \throws json::TCFileError for a recording
void NeedScenario(const std::string& file)
{
    if (IsRecording(file))
    {
        throw json::TCFileError(file + ": this is a recording: ci-daemon-sim scenario makes a story of it");
    }
}

int CheckCommand(const std::vector<std::string>& files)
{
    if (files.empty())
    {
        throw TCUsageError("check: which scenario files?");
    }
    int status = 0;
    for (const std::string& file : files)
    {
        try
        {
            NeedScenario(file);
            const TSScenario scenario = ReadScenario(json::TCJsonDocument::Load(file));
            std::printf("%s: good: %zu steps\n", file.c_str(), scenario.Steps());
        }
        catch (const json::TCFileError& error)
        {
            std::fprintf(stderr, "%s\n", error.what());
            status = 1;
        }
    }
    return status;
}

int ScenarioCommand(const std::string& file, const std::string& client)
{
    const std::string story = StoryOf(ReadRecording(file, client));
    std::fwrite(story.data(), 1, story.size(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}
} // namespace

std::function<int()> PrepareList(TCCommandLine)
{
    return [] { return ListCommand(); };
}

std::function<int()> PrepareDescribe(TCCommandLine line)
{
    auto scenario = std::make_shared<std::vector<std::string>>();
    line.Words("scenario", *scenario, EHowMany::ONE, "a scenario's name, see list; or a file");
    return [scenario]
    {
        NeedScenario(scenario->front());
        std::printf("%s", Describe(FindScenario(scenario->front())).c_str());
        return 0;
    };
}

std::function<int()> PrepareCheck(TCCommandLine line)
{
    auto files = std::make_shared<std::vector<std::string>>();
    line.Words("file", *files, EHowMany::ANY, "scenario files");
    return [files] { return CheckCommand(*files); };
}

std::function<int()> PrepareScenario(TCCommandLine line)
{
    struct TSWanted
    {
        std::vector<std::string> file;
        std::string client;
    };
    auto wanted = std::make_shared<TSWanted>();
    line.Words("recording", wanted->file, EHowMany::ONE, "made by cictl trace --record; - for standard input");
    line.Option("--client", wanted->client, "only the calls of this program, or of this unique bus name");
    return [wanted] { return ScenarioCommand(wanted->file.front(), wanted->client); };
}
} // namespace CIM::sim
