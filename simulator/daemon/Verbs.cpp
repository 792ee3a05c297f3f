#include "Verbs.h"

#include "commandline/Nearest.h"
#include "SimulatedDaemon.h"
#include "simulator/control/Controls.h"
#include "simulator/model/Model.h"
#include "simulator/world/World.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
using json::TJson;

void Require(const TSOutcome& outcome)
{
    if (!outcome)
    {
        throw std::runtime_error(outcome.error);
    }
}

std::string ListControls(TCSimulatedDaemon&)
{
    json::TCDraft list = json::List();
    for (const TSControl& control : Controls())
    {
        json::TCDraft parameters = json::List();
        for (const TSParameter& parameter : control.parameters)
        {
            parameters.Append(json::Record({{"name", parameter.name},
                                            {"type", parameter.type->text},
                                            {"needed", parameter.isNeeded},
                                            {"initial", parameter.initial},
                                            {"help", parameter.help}}));
        }
        list.Append(json::Record({{"name", control.name},
                                  {"verb", control.verb},
                                  {"help", control.help},
                                  {"parameters", std::move(parameters)}}));
    }
    return list.Text(2);
}

std::string ListCams(TCSimulatedDaemon& daemon)
{
    const TSWorld& world = daemon.Model().World();
    json::TCDraft list = json::List();
    for (const TSCamDefinition& cam : world.definition.cams)
    {
        json::TCDraft entry = json::Record({{"name", cam.name}, {"mode", EnumName(cam.mode)}, {"slot", nullptr}});
        for (const TSSlot& slot : world.slots)
        {
            if (slot.HoldsCam() && slot.cam.name == cam.name)
            {
                entry.Put("slot", slot.number);
                entry.Put("phase", ToName(slot.phase));
            }
        }
        list.Append(std::move(entry));
    }
    return list.Text(2);
}

std::string AdvanceClock(TCSimulatedDaemon& daemon, std::uint64_t ms)
{
    constexpr std::uint64_t YEAR = 366ull * 24 * 3600 * 1000;
    if (ms > YEAR)
    {
        throw std::runtime_error("not more than 366 days at once");
    }
    daemon.Clock().Advance(static_cast<TTime>(ms));
    return std::to_string(daemon.Model().Now());
}

void RemoveFault(TCSimulatedDaemon& daemon, unsigned number)
{
    if (!daemon.Faults().Remove(number))
    {
        throw std::runtime_error("there is no such fault");
    }
}

void Restart(TCSimulatedDaemon& daemon, unsigned ms)
{
    TSFault fault;
    fault.kind = FAULT_RESTART;
    fault.ms = ms;
    daemon.AddFault(std::move(fault));
}

/// A control of the model.
TSVerb Row(const TSControl& control)
{
    const auto run = [&control](TCSimulatedDaemon& daemon, const TJson& arguments, const json::TCJsonPath& path)
    {
        Require(control.run(daemon.Model(), arguments, path));
        return std::string();
    };
    return {control.verb, control.help, control.parameters, false, run};
}

template <class Function, class... T>
TSVerb Row(const char* name, const char* help, const std::tuple<TSTyped<T>...>& parameters, Function function)
{
    constexpr bool HAS_RESULT = !std::is_void_v<std::invoke_result_t<Function, TCSimulatedDaemon&, T...>>;
    return {name, help, Untyped(parameters), HAS_RESULT, Reading<std::string, TCSimulatedDaemon>(parameters, function)};
}

std::vector<TSVerb> DaemonRows()
{
    using TDaemon = TCSimulatedDaemon;
    return {
        Row("ListCams", "the CAMs that there are, and where they are, as JSON", Taking(), ListCams),
        Row("Control", "anything that can be done to the set, by its name in a scenario",
            Taking(Needed<std::string>("name", "see ListControls"),
                   Optional<std::optional<TJson>>("arguments", {}, "a JSON object")),
            [](TDaemon& daemon, const std::string& name, const std::optional<TJson>& arguments)
            { Require(RunControl(daemon.Model(), name, arguments.value_or(TJson()))); }),
        Row("ListControls", "what Control can do, as JSON", Taking(), ListControls),
        Row("AdvanceClock", "move the virtual clock on; gives its new time",
            Taking(Needed<std::uint64_t>("ms", "virtual milliseconds")), AdvanceClock),
        Row("State", "all about the set, as JSON", Taking(),
            [](TDaemon& daemon) { return json::Dump(daemon.State(), 2); }),
        Row("Subscriptions", "who has subscribed what, as JSON", Taking(),
            [](TDaemon& daemon) { return daemon.Clients().Subscriptions().Text(2); }),
        Row("Journal", "the calls received, as JSON", Taking(),
            [](TDaemon& daemon) { return json::Dump(daemon.Journal().ToJson(), 2); }),
        Row("ClearJournal", "forget the calls received", Taking(), [](TDaemon& daemon) { daemon.Journal().Clear(); }),
        Row("AddFault", "switch a fault on; gives its number, 0 for one that has happened already",
            Taking(Needed<TSFault>("fault", "a JSON object, see ListFaultKinds")),
            [](TDaemon& daemon, TSFault fault) { return std::to_string(daemon.AddFault(std::move(fault))); }),
        Row("RemoveFault", "switch a fault off", Taking(Needed<unsigned>("number", "what AddFault gave")), RemoveFault),
        Row("ClearFaults", "switch all faults off", Taking(), [](TDaemon& daemon) { daemon.Faults().Clear(); }),
        Row("ListFaults", "the faults that are on, as JSON", Taking(),
            [](TDaemon& daemon) { return json::Dump(daemon.Faults().List(), 2); }),
        Row("ListFaultKinds", "the faults that there are, as JSON", Taking(),
            [](TDaemon&) { return DescribeFaults().Text(2); }),
        Row("Restart", "leave the bus and come back",
            Taking(Optional<unsigned>("ms", 0, "real milliseconds without the daemon")), Restart),
        Row("Quit", "end the simulator", Taking(), [](TDaemon& daemon) { daemon.RequestQuit(); }),
    };
}
} // namespace

std::string TSVerb::Usage() const
{
    std::string usage = name;
    for (auto parameter = parameters.begin(); parameter != parameters.end(); ++parameter)
    {
        const bool isNeeded =
            std::any_of(parameter, parameters.end(), [](const TSParameter& rest) { return rest.isNeeded; });
        usage += isNeeded ? std::string(" ") + parameter->name : std::string(" [") + parameter->name + ']';
    }
    return usage;
}

std::span<const TSVerb> Verbs()
{
    static const std::vector<TSVerb> verbs = []
    {
        std::vector<TSVerb> all;
        for (const TSControl& control : Controls())
        {
            all.push_back(Row(control));
        }
        std::ranges::move(DaemonRows(), std::back_inserter(all));
        return all;
    }();
    return verbs;
}

const TSVerb* FindVerb(std::string_view name)
{
    const auto verbs = Verbs();
    const auto found = std::find_if(verbs.begin(), verbs.end(), [&](const TSVerb& verb) { return verb.name == name; });
    return found != verbs.end() ? &*found : nullptr;
}

std::string NoSuchVerb(std::string_view name)
{
    const TSControl* const control = FindControl(name);
    return "there is no verb " + std::string(name) +
           (control != nullptr
                ? "; did you mean " + std::string(control->verb) + "?"
                : DidYouMean(name, NamesOf(Verbs(), [](const TSVerb& verb) { return std::string_view(verb.name); })));
}
} // namespace CIM::sim
