#include "Scenario.h"

#include "Schema.h"
#include "simulator/model/Controls.h"
#include "simulator/model/DefinitionJson.h"
#include "simulator/model/Model.h"

#include <ciapi/CIPlatformEnumNames.h>

#include <algorithm>
#include <filesystem>

namespace CIM::sim
{
namespace
{
/// Tries controls on a set of its own, to find out what is wrong with them before anything is played.
class TCRehearsal
{
public:
    explicit TCRehearsal(const TSScenario& scenario) : m_set(scenario.set), m_model(scenario.set, scenario.seed) {}

    void Try(const TSControlStep& step, const TSJsonAt& at)
    {
        const auto cam = step.arguments.find("cam");
        if (step.name == "insert" && cam != step.arguments.end() && cam->is_string() &&
            m_set.FindCam(cam->get<std::string>()) == nullptr)
        {
            at.Child("cam").Fail("expected the name of a CAM of the set");
        }
        const auto slot = step.arguments.find("slot");
        if (slot != step.arguments.end() && slot->is_number_unsigned() &&
            slot->get<std::uint64_t>() >= static_cast<std::uint64_t>(m_set.slots))
        {
            at.Child("slot").Fail("expected a slot; there are " + std::to_string(m_set.slots));
        }
        const TSOutcome outcome = RunControl(m_model, step.name, step.arguments);
        if (outcome)
        {
            return;
        }
        // A pointer into the arguments; whatever else is refused depends on the time of playing.
        if (outcome.error.front() == '/')
        {
            const std::size_t colon = outcome.error.find(": ");
            const std::string inner = outcome.error.substr(0, colon);
            throw TCJsonError(at.path + (inner == "/" ? "" : inner), outcome.error.substr(colon + 2));
        }
    }

private:
    const TSSetDefinition& m_set;
    TCModel m_model;
};

TCCallPattern ReadPattern(const TSJsonAt& at)
{
    std::string path;
    try
    {
        return TCCallPattern(at.value.at("operation").get<std::string>(), at.value.value("arguments", nlohmann::json()),
                             path);
    }
    catch (const TCJsonError&)
    {
        throw;
    }
    catch (const std::exception& error)
    {
        throw TCJsonError(at.path + "/" + path, error.what());
    }
}

TSWaitForCall ReadWaitForCall(const TSJsonAt& at, bool isNext)
{
    return {ReadPattern(at), at.value.value("within", DEFAULT_WITHIN_MS), isNext};
}

TSExpectNoCall ReadExpectNoCall(const TSJsonAt& at)
{
    TSExpectNoCall step;
    step.duringMs = at.value.at("during").get<unsigned>();
    if (at.value.contains("operation"))
    {
        step.call = ReadPattern(at);
    }
    else if (at.value.contains("arguments"))
    {
        at.Child("arguments").Fail("expected an \"operation\" that has them");
    }
    return step;
}

TSWaitForSubscription ReadSubscription(const TSJsonAt& at)
{
    TSWaitForSubscription step;
    TCJsonObject(at)
        .Needed("signal", step.signal)
        .Field("profile", step.profile)
        .Field("handle", step.handle)
        .Field("clients", step.clients)
        .Field("within", step.withinMs)
        .Done();
    return step;
}

TSFaultStep ReadFault(const TSJsonAt& at)
{
    try
    {
        return {FaultFromJson(json::TJson(at.value), json::TCJsonPath())};
    }
    catch (const json::TCJsonError& error)
    {
        // Its text begins with the member, when it is about one.
        const std::string text = error.what();
        const std::string member = text.substr(0, text.find(": "));
        const bool isAboutMember = member.size() < text.size() && member.find(' ') == std::string::npos;
        throw TCJsonError(at.path + (isAboutMember ? "/" + member : ""),
                          isAboutMember ? text.substr(member.size() + 2) : text);
    }
}

TSControlStep ReadControl(const TSJsonAt& step, const std::string& name, TCRehearsal& rehearsal)
{
    const auto controls = Controls();
    if (std::none_of(controls.begin(), controls.end(), [&](const TSControl& control) { return control.name == name; }))
    {
        std::string names =
            "wait-for-call, expect-call, expect-no-call, wait-for-subscription, wait, at, advance, fault, "
            "clear-faults, end";
        for (const TSControl& control : controls)
        {
            names += ", " + std::string(control.name);
        }
        step.Child(name).Fail("expected a step; there are " + names);
    }
    TSControlStep control{name, step.value.at(name)};
    rehearsal.Try(control, step.Child(name));
    return control;
}

decltype(TSStep::action) ReadAction(const TSJsonAt& step, TCRehearsal& rehearsal)
{
    const std::string name = step.value.items().begin().key();
    const TSJsonAt at = step.Child(name);
    if (name == "wait-for-call" || name == "expect-call")
    {
        return ReadWaitForCall(at, name == "expect-call");
    }
    if (name == "expect-no-call")
    {
        return ReadExpectNoCall(at);
    }
    if (name == "wait-for-subscription")
    {
        return ReadSubscription(at);
    }
    if (name == "wait" || name == "at")
    {
        return TSWait{at.value.get<std::int64_t>(), name == "at"};
    }
    if (name == "advance")
    {
        return TSAdvance{at.value.get<std::int64_t>()};
    }
    if (name == "fault")
    {
        return ReadFault(at);
    }
    if (name == "clear-faults")
    {
        return TSClearFaults{};
    }
    if (name == "end")
    {
        return TSEnd{at.value.value("status", 0)};
    }
    return ReadControl(step, name, rehearsal);
}

void ReadHead(const nlohmann::json& root, TSScenario& scenario)
{
    scenario.name = root.at("name").get<std::string>();
    scenario.description = root.at("description").get<std::string>();
    scenario.seed = root.value("seed", scenario.seed);
    scenario.isManualClock = root.value("clock", "real") == "manual";
    scenario.msPerCall = root.value("msPerCall", 0u);
    const nlohmann::json daemon = root.value("daemon", nlohmann::json::object());
    scenario.namesAfterMs = daemon.value("namesAfterMs", 0u);
    scenario.nameStepMs = daemon.value("nameStepMs", 0u);
    if (scenario.msPerCall > 0 && !scenario.isManualClock)
    {
        throw TCJsonError("/msPerCall", "expected only together with \"clock\": \"manual\"");
    }
}
} // namespace

TSScenario ReadScenario(const TCJsonFile& file)
{
    std::vector<TSProblem> problems = CheckSchema(file);
    if (!problems.empty())
    {
        throw TCFileError(file, problems);
    }
    const nlohmann::json& root = file.Root();
    TSScenario scenario;
    scenario.file = file.Name();
    try
    {
        ReadHead(root, scenario);
        scenario.set = root.contains("set") ? ReadSet({root["set"], "/set"}) : DefaultSet();
    }
    catch (const TCJsonError& error)
    {
        const std::string text = error.what();
        throw TCFileError(file, {{error.Path(), text.substr(text.find(": ") + 2)}});
    }
    TCRehearsal rehearsal(scenario);
    const nlohmann::json& timeline = root["timeline"];
    for (std::size_t i = 0; i < timeline.size(); ++i)
    {
        const TSJsonAt at{timeline[i], "/timeline/" + std::to_string(i)};
        try
        {
            scenario.timeline.push_back(
                {static_cast<int>(i) + 1, file.LineOf(at.path), timeline[i].dump(), ReadAction(at, rehearsal)});
        }
        catch (const TCJsonError& error)
        {
            const std::string text = error.what();
            problems.push_back({error.Path(), text.substr(text.find(": ") + 2)});
        }
    }
    if (!problems.empty())
    {
        throw TCFileError(file, problems);
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
        scenarios.push_back(ReadScenario(TCJsonFile::Load(file)));
    }
    return scenarios;
}

TSScenario FindScenario(const std::string& nameOrPath)
{
    if (nameOrPath.find('/') != std::string::npos || nameOrPath.ends_with(".json"))
    {
        return ReadScenario(TCJsonFile::Load(nameOrPath));
    }
    const std::string path = ScenarioFolder() + "/" + nameOrPath + ".json";
    if (!std::filesystem::exists(path))
    {
        throw TCFileError("there is no scenario \"" + nameOrPath + "\"; ci-daemon-sim list shows what there is");
    }
    return ReadScenario(TCJsonFile::Load(path));
}
} // namespace CIM::sim
