#include "Scenario.h"

#include "commandline/Nearest.h"
#include "simulator/definition/DefinitionJson.h"

#include <algorithm>
#include <filesystem>
#include <functional>

namespace CIM::sim
{
namespace
{
using json::TCJsonError;
using json::TCJsonObject;
using json::TCJsonPath;
using json::TJson;

bool IsName(const std::string& text)
{
    return !text.empty() && text.front() != '-' && text.back() != '-' && text.find("--") == text.npos &&
           text.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") == text.npos;
}

/// A paragraph: a text, or several that are joined.
std::string ReadParagraph(const TJson& json, const TCJsonPath& path)
{
    if (!json.is_array())
    {
        return json::FromJson<std::string>(json, path);
    }
    std::string paragraph;
    for (const std::string& part : json::FromJson<std::vector<std::string>>(json, path))
    {
        paragraph += (paragraph.empty() ? "" : " ") + part;
    }
    return paragraph;
}

/// Timeline or story: one of them, and what goes with it.
void CheckForm(TCJsonObject& object, const TCJsonPath& path)
{
    const TJson* const timeline = object.Take("timeline");
    const TJson* const story = object.Take("story");
    const bool hasExpectations = object.Take("expect") != nullptr;
    const bool hasNever = object.Take("never") != nullptr;
    object.Done(); // a misspelt timeline is named as it stands there
    if (timeline != nullptr && story != nullptr)
    {
        throw TCJsonError(TCJsonPath(path, "timeline"), "a scenario has a timeline or a story, not both");
    }
    if (timeline == nullptr && story == nullptr)
    {
        throw TCJsonError(TCJsonPath(path, "story"), "a story, a list of events, is needed (or a timeline)");
    }
    if (timeline != nullptr && !timeline->is_array())
    {
        throw TCJsonError(TCJsonPath(path, "timeline"), "a list of steps is needed");
    }
    if (story != nullptr && (!story->is_array() || story->empty()))
    {
        throw TCJsonError(TCJsonPath(path, "story"), "a list of events is needed");
    }
    if (timeline != nullptr && (hasExpectations || hasNever))
    {
        throw TCJsonError(TCJsonPath(path, hasNever ? "never" : "expect"), "this goes with a story only");
    }
}

/// Everything but the timeline or the story.
void ReadHead(const TJson& root, const TCJsonPath& path, TSScenario& scenario)
{
    std::string clock = "real";
    std::string schema;
    TSMs msPerCall{scenario.msPerCall};
    TCJsonObject object(root, path);
    scenario.set = DefaultSet();
    object.Field("$schema", schema)
        .Needed("name", scenario.name)
        .Needed("description", scenario.description)
        .Field("seed", scenario.seed)
        .Field("clock", clock)
        .Field("msPerCall", msPerCall)
        .Field("set", scenario.set);
    if (const TJson* const daemon = object.Take("daemon"))
    {
        TSMs after{scenario.namesAfterMs};
        TSMs step{scenario.nameStepMs};
        TCJsonObject(*daemon, TCJsonPath(path, "daemon")).Field("namesAfterMs", after).Field("nameStepMs", step).Done();
    }
    if (const TJson* const tells = object.Take("tells"))
    {
        scenario.tells = ReadParagraph(*tells, TCJsonPath(path, "tells"));
    }
    CheckForm(object, path);
    if (!IsName(scenario.name))
    {
        throw TCJsonError(TCJsonPath(path, "name"), "a name is made of small letters, digits and '-'");
    }
    if (scenario.description.empty() || scenario.description.find('\n') != std::string::npos)
    {
        throw TCJsonError(TCJsonPath(path, "description"), "one line of text is needed");
    }
    if (clock != "real" && clock != "manual")
    {
        throw TCJsonError(TCJsonPath(path, "clock"), "\"real\" or \"manual\" is needed");
    }
    scenario.isManualClock = clock == "manual";
    if (scenario.msPerCall > 0 && !scenario.isManualClock)
    {
        throw TCJsonError(TCJsonPath(path, "msPerCall"), "this goes with \"clock\": \"manual\" only");
    }
}

void ReadTimeline(const json::TCJsonDocument& file, TCRehearsal& rehearsal, const TAttempt& attempt,
                  std::vector<TSStep>& steps)
{
    const TJson& timeline = file.Root()["timeline"];
    const TCJsonPath path;
    const TCJsonPath timelinePath(path, "timeline");
    for (std::size_t i = 0; i < timeline.size(); ++i)
    {
        const TCJsonPath place(timelinePath, i);
        attempt(
            [&]
            {
                steps.push_back({static_cast<int>(i) + 1, file.LineOf(json::TCJsonPlace(place)),
                                 json::Dump(ToShownStep(timeline[i])), ReadStep(timeline[i], place, rehearsal)});
            });
    }
}
} // namespace

TSScenario ReadScenario(const json::TCJsonDocument& file)
{
    const TJson& root = file.Root();
    const TCJsonPath path;
    TSScenario scenario;
    scenario.file = file.Name();
    std::vector<TCJsonError> problems;
    const auto attempt = [&](const std::function<void()>& read)
    {
        try
        {
            read();
        }
        catch (const TCJsonError& error)
        {
            problems.push_back(error);
        }
    };
    attempt([&] { ReadHead(root, path, scenario); });
    if (!problems.empty())
    {
        throw json::TCFileError(file, problems);
    }
    TCRehearsal rehearsal(scenario.set, scenario.seed);
    if (root.contains("story"))
    {
        attempt([&] { scenario.story = ReadStory(file, rehearsal, attempt); });
    }
    else
    {
        ReadTimeline(file, rehearsal, attempt, scenario.timeline);
    }
    if (!problems.empty())
    {
        throw json::TCFileError(file, problems);
    }
    return scenario;
}

std::string ScenarioFolder()
{
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return (program.parent_path() / SCENARIO_FOLDER).lexically_normal().string();
}

std::vector<TSScenario> ShippedScenarios()
{
    std::vector<std::string> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(ScenarioFolder(), error))
    {
        if (entry.path().extension() == ".json")
        {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    std::vector<TSScenario> scenarios;
    for (const std::string& file : files)
    {
        scenarios.push_back(ReadScenario(json::TCJsonDocument::Load(file)));
    }
    return scenarios;
}

std::string NoSuchScenario(const std::string& name, const std::string& folder)
{
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
    {
        names.push_back(entry.path().stem().string());
    }
    return "there is no scenario \"" + name + "\"; ci-daemon-sim list shows what there is" +
           DidYouMean(name, {names.begin(), names.end()});
}

TSScenario FindScenario(const std::string& nameOrPath)
{
    if (nameOrPath.find('/') != std::string::npos || nameOrPath.ends_with(".json"))
    {
        return ReadScenario(json::TCJsonDocument::Load(nameOrPath));
    }
    const std::string path = ScenarioFolder() + "/" + nameOrPath + ".json";
    if (!std::filesystem::exists(path))
    {
        throw json::TCFileError(NoSuchScenario(nameOrPath, ScenarioFolder()));
    }
    return ReadScenario(json::TCJsonDocument::Load(path));
}
} // namespace CIM::sim
