#include "Commands.h"
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
} // namespace CIM::sim
