#include "Scenario.h"

#include "commandline/Nearest.h"
#include "simulator/control/Controls.h"
#include "simulator/definition/DefinitionJson.h"
#include "simulator/model/Model.h"

#include <ciapi/CIPlatformEnumNames.h>

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

constexpr std::uint32_t MOST_MS = 4'000'000'000;

std::uint32_t ReadMs(const TJson& json, const TCJsonPath& path)
{
    return static_cast<std::uint32_t>(json::UnsignedFromJson(json, MOST_MS, path));
}

/// Milliseconds as a member of an object.
struct TSMs
{
    std::uint32_t& value;
};
void ReadJson(const TJson& json, TSMs& ms, const TCJsonPath& path) { ms.value = ReadMs(json, path); }

/// Tries controls on a set of its own, to find out what is wrong with them before anything is played.
class TCRehearsal
{
public:
    explicit TCRehearsal(const TSScenario& scenario) : m_set(scenario.set), m_model(scenario.set, scenario.seed) {}

    void Try(const TSControlStep& step, const TCJsonPath& path)
    {
        const auto cam = step.arguments.find("cam");
        if (step.name == "insert" && cam != step.arguments.end() && cam->is_string() &&
            m_set.FindCam(cam->get<std::string>()) == nullptr)
        {
            throw TCJsonError(TCJsonPath(path, "cam"), "the name of a CAM of the set is needed; " +
                                                           ThereAre(m_set.CamNames(), cam->get<std::string>()));
        }
        const auto menu = step.arguments.find("menu");
        if (step.name == "open-menu" && menu != step.arguments.end() && menu->is_string() && *menu != "")
        {
            RequireMenu(menu->get<std::string>(), TCJsonPath(path, "menu"));
        }
        const auto slot = step.arguments.find("slot");
        // What is refused depends on the time of playing; what is wrong is wrong now.
        RunControl(m_model, step.name, step.arguments, path);
        if (slot != step.arguments.end() && step.name != "signal" &&
            json::FromJson<std::uint8_t>(*slot) >= static_cast<unsigned>(m_set.slots))
        {
            throw TCJsonError(TCJsonPath(path, "slot"),
                              "there is no such slot; there are " + std::to_string(m_set.slots));
        }
    }

private:
    /// Which CAM is in the slot then is not known now.
    void RequireMenu(const std::string& menu, const TCJsonPath& path) const
    {
        TNames names;
        for (const TSCamDefinition& cam : m_set.cams)
        {
            for (const auto& [name, page] : cam.menus)
            {
                names.emplace_back(name);
            }
        }
        if (std::find(names.begin(), names.end(), menu) == names.end())
        {
            throw TCJsonError(path, "no CAM of the set has such a menu; " + ThereAre(names, menu));
        }
    }

    const TSSetDefinition& m_set;
    TCModel m_model;
};

/// The operation and the arguments of a call that a step is about.
TCCallPattern TakePattern(TCJsonObject& object, const TCJsonPath& path)
{
    std::string operation;
    object.Needed("operation", operation);
    const TJson* const arguments = object.Take("arguments");
    return TCCallPattern(operation, arguments != nullptr ? *arguments : TJson(), path);
}

TSWaitForCall ReadWaitForCall(const TJson& json, const TCJsonPath& path, bool isNext)
{
    TCJsonObject object(json, path);
    TSWaitForCall step{TakePattern(object, path), DEFAULT_WITHIN_MS, isNext};
    TSMs within{step.withinMs};
    object.Field("within", within).Done();
    return step;
}

TSExpectNoCall ReadExpectNoCall(const TJson& json, const TCJsonPath& path)
{
    TSExpectNoCall step;
    TCJsonObject object(json, path);
    TSMs during{step.duringMs};
    object.Needed("during", during);
    if (object.Has("operation"))
    {
        step.call = TakePattern(object, path);
    }
    else if (object.Take("arguments") != nullptr)
    {
        throw TCJsonError(TCJsonPath(path, "arguments"), "an \"operation\" that has them is missing");
    }
    object.Done();
    return step;
}

TSWaitForSubscription ReadSubscription(const TJson& json, const TCJsonPath& path)
{
    TSWaitForSubscription step;
    TSMs within{step.withinMs};
    TCJsonObject(json, path)
        .Needed("signal", step.signal)
        .Field("profile", step.profile)
        .Field("handle", step.handle)
        .Field("clients", step.clients)
        .Field("within", within)
        .Done();
    if (step.clients == 0)
    {
        throw TCJsonError(TCJsonPath(path, "clients"), "at least 1 client subscribes");
    }
    return step;
}

TSEnd ReadEnd(const TJson& json, const TCJsonPath& path)
{
    unsigned char status = 0;
    TCJsonObject(json, path).Field("status", status).Done();
    return {status};
}

using TAction = decltype(TSStep::action);

/// A step that is no control, by its name.
struct TSStepReader
{
    const char* name;
    TAction (*read)(const TJson& json, const TCJsonPath& path);
};
constexpr TSStepReader STEPS[] = {
    {"wait-for-call",
     [](const TJson& json, const TCJsonPath& path) -> TAction
     { return ReadWaitForCall(json, path, /*isNext=*/false); }},
    {"expect-call",
     [](const TJson& json, const TCJsonPath& path) -> TAction { return ReadWaitForCall(json, path, /*isNext=*/true); }},
    {"expect-no-call",
     [](const TJson& json, const TCJsonPath& path) -> TAction { return ReadExpectNoCall(json, path); }},
    {"wait-for-subscription",
     [](const TJson& json, const TCJsonPath& path) -> TAction { return ReadSubscription(json, path); }},
    {"wait",
     [](const TJson& json, const TCJsonPath& path) -> TAction {
         return TSWait{ReadMs(json, path), false};
     }},
    {"at",
     [](const TJson& json, const TCJsonPath& path) -> TAction {
         return TSWait{ReadMs(json, path), true};
     }},
    {"advance", [](const TJson& json, const TCJsonPath& path) -> TAction { return TSAdvance{ReadMs(json, path)}; }},
    {"fault",
     [](const TJson& json, const TCJsonPath& path) -> TAction
     { return TSFaultStep{json::FromJson<TSFault>(json, path)}; }},
    {"clear-faults",
     [](const TJson& json, const TCJsonPath& path) -> TAction
     {
         TCJsonObject(json, path).Done();
         return TSClearFaults{};
     }},
    {"end", [](const TJson& json, const TCJsonPath& path) -> TAction { return ReadEnd(json, path); }},
};

TAction ReadAction(const TJson& step, const TCJsonPath& path, TCRehearsal& rehearsal)
{
    if (!step.is_object() || step.size() != 1)
    {
        throw TCJsonError(path, "a step is an object with one member, the step's name");
    }
    const std::string name = step.items().begin().key();
    const TJson& json = *step.begin();
    const TCJsonPath place(path, name);
    TNames names;
    for (const TSStepReader& known : STEPS)
    {
        if (name == known.name)
        {
            return known.read(json, place);
        }
        names.emplace_back(known.name);
    }
    for (const TSControl& control : Controls())
    {
        names.emplace_back(control.name);
    }
    if (FindControl(name) == nullptr)
    {
        throw TCJsonError(place, "there is no such step; " + ThereAre(names, name));
    }
    const TSControlStep control{name, json};
    rehearsal.Try(control, place);
    return control;
}

bool IsName(const std::string& text)
{
    return !text.empty() && text.front() != '-' && text.back() != '-' && text.find("--") == text.npos &&
           text.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") == text.npos;
}

/// Everything but the timeline.
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
    const TJson* const timeline = object.Take("timeline");
    object.Done(); // a misspelt timeline is named as it stands there
    if (timeline == nullptr || !timeline->is_array())
    {
        throw TCJsonError(TCJsonPath(path, "timeline"), "a list of steps is needed");
    }
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
    TCRehearsal rehearsal(scenario);
    const TJson& timeline = root["timeline"];
    const TCJsonPath timelinePath(path, "timeline");
    for (std::size_t i = 0; i < timeline.size(); ++i)
    {
        const TCJsonPath place(timelinePath, i);
        attempt(
            [&]
            {
                scenario.timeline.push_back({static_cast<int>(i) + 1, file.LineOf(json::TCJsonPlace(place)),
                                             json::Dump(ToShownStep(timeline[i])),
                                             ReadAction(timeline[i], place, rehearsal)});
            });
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
