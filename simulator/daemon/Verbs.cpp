#include "Verbs.h"

#include "SimulatedDaemon.h"
#include "simulator/control/Controls.h"
#include "simulator/model/Model.h"
#include "simulator/world/World.h"

#include "json/Document.h"
#include "json/Scalars.h"

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

TJson Parse(const TJson& arguments, const char* name)
{
    const std::string text = arguments.at(name);
    return json::TCJsonDocument::Parse(name, text.empty() ? "{}" : text).Root();
}

/// Does one of the model's controls with the verb's own arguments; an empty text counts as not given.
void Control(TCSimulatedDaemon& daemon, std::string_view name, TJson arguments)
{
    for (auto member = arguments.begin(); member != arguments.end();)
    {
        member = member->is_string() && member->get_ref<const std::string&>().empty() ? arguments.erase(member)
                                                                                      : std::next(member);
    }
    Require(RunControl(daemon.Model(), name, arguments));
}

// A control of the model as a verb. The name must have linkage to be an argument of a template.
template <const char* const& Name>
std::string RunByName(TCSimulatedDaemon& daemon, const TJson& arguments)
{
    Control(daemon, Name, arguments);
    return {};
}
constexpr const char* INSERT = "insert";
constexpr const char* REMOVE = "remove";
constexpr const char* RESET = "reset";
constexpr const char* OPEN_MENU = "open-menu";
constexpr const char* ASK_PIN = "ask-pin";
constexpr const char* START_UPGRADE = "start-upgrade";
constexpr const char* OFFER_PROFILE = "offer-profile";
constexpr const char* STOP_RECORDING = "stop-recording";
constexpr const char* EXPIRE = "expire";

std::string RunControlByJson(TCSimulatedDaemon& daemon, const TJson& arguments)
{
    Require(RunControl(daemon.Model(), arguments.at("name").get<std::string>(), Parse(arguments, "arguments")));
    return {};
}

std::string ListControls(TCSimulatedDaemon&, const TJson&)
{
    TJson list = TJson::array();
    for (const TSControl& control : Controls())
    {
        list.push_back({{"name", control.name}, {"parameters", control.parameters}, {"help", control.help}});
    }
    return list.dump(2);
}

std::string ListCams(TCSimulatedDaemon& daemon, const TJson&)
{
    const TSWorld& world = daemon.Model().World();
    TJson list = TJson::array();
    for (const TSCamDefinition& cam : world.definition.cams)
    {
        TJson entry = {{"name", cam.name}, {"mode", EnumName(cam.mode)}, {"slot", nullptr}};
        for (const TSSlot& slot : world.slots)
        {
            if (slot.HoldsCam() && slot.cam.name == cam.name)
            {
                entry["slot"] = slot.number;
                entry["phase"] = ToName(slot.phase);
            }
        }
        list.push_back(std::move(entry));
    }
    return list.dump(2);
}

std::string RaiseSignal(TCSimulatedDaemon& daemon, const TJson& arguments)
{
    const auto bytes = json::BytesFromJson(arguments.at("data"), json::TCJsonPath("data"));
    TSSignal signal{static_cast<ECISignalType>(arguments.at("type").get<std::uint32_t>()),
                    static_cast<EProfile>(arguments.at("profile").get<std::int32_t>()),
                    arguments.at("handle").get<unsigned short>(),
                    {}};
    if (bytes.size() > sizeof signal.data.bytes)
    {
        throw std::runtime_error("data: a signal has 8 bytes of data, not " + std::to_string(bytes.size()));
    }
    std::copy(bytes.begin(), bytes.end(), signal.data.bytes);
    daemon.Model().RaiseSignal(signal);
    return {};
}

std::string AdvanceClock(TCSimulatedDaemon& daemon, const TJson& arguments)
{
    constexpr std::uint64_t YEAR = 366ull * 24 * 3600 * 1000;
    daemon.Clock().Advance(static_cast<TTime>(std::min(arguments.at("ms").get<std::uint64_t>(), YEAR)));
    return std::to_string(daemon.Model().Now());
}

std::string State(TCSimulatedDaemon& daemon, const TJson&) { return daemon.State().dump(2); }
std::string Subscriptions(TCSimulatedDaemon& daemon, const TJson&) { return daemon.Clients().Subscriptions().dump(2); }
std::string Journal(TCSimulatedDaemon& daemon, const TJson&) { return daemon.Journal().ToJson().dump(2); }
std::string ClearJournal(TCSimulatedDaemon& daemon, const TJson&) { return daemon.Journal().Clear(), std::string(); }

std::string AddFault(TCSimulatedDaemon& daemon, const TJson& arguments)
{
    return std::to_string(daemon.AddFault(FaultFromJson(Parse(arguments, "fault"), json::TCJsonPath("fault"))));
}
std::string RemoveFault(TCSimulatedDaemon& daemon, const TJson& arguments)
{
    if (!daemon.Faults().Remove(arguments.at("number").get<unsigned>()))
    {
        throw std::runtime_error("there is no such fault");
    }
    return {};
}
std::string ClearFaults(TCSimulatedDaemon& daemon, const TJson&) { return daemon.Faults().Clear(), std::string(); }
std::string ListFaults(TCSimulatedDaemon& daemon, const TJson&) { return daemon.Faults().List().dump(2); }
std::string ListFaultKinds(TCSimulatedDaemon&, const TJson&) { return DescribeFaults().dump(2); }

std::string Restart(TCSimulatedDaemon& daemon, const TJson& arguments)
{
    TSFault fault;
    fault.kind = FAULT_RESTART;
    fault.ms = arguments.at("ms").get<unsigned>();
    daemon.AddFault(std::move(fault));
    return {};
}
std::string Quit(TCSimulatedDaemon& daemon, const TJson&)
{
    daemon.RequestQuit();
    return {};
}

constexpr TSVerbArgument SLOT = {"slot", "y", "number of the slot"};

const std::vector<TSVerb>& Rows()
{
    static const std::vector<TSVerb> rows = {
        {"InsertCam", {SLOT, {"cam", "s", "name of a CAM"}}, "put a CAM into a slot", false, RunByName<INSERT>},
        {"RemoveCam", {SLOT}, "pull the CAM of a slot", false, RunByName<REMOVE>},
        {"ResetCam", {SLOT}, "reset the CAM of a slot", false, RunByName<RESET>},
        {"ListCams", {}, "the CAMs that there are, and where they are, as JSON", true, ListCams},
        {"OpenMenu",
         {SLOT, {"menu", "s", "one of the CAM's menus by name; empty: its main menu"}},
         "the CAM opens a menu by itself",
         false,
         RunByName<OPEN_MENU>},
        {"AskPin",
         {SLOT, {"rating", "i", "the programme's rating"}},
         "the CAM asks for its PIN",
         false,
         RunByName<ASK_PIN>},
        {"StartUpgrade",
         {SLOT, {"mode", "s", "CAM_UPGRADE_MODE_DELAYED, ..._IMMEDIATE; empty: delayed"}},
         "the CAM asks for its firmware upgrade",
         false,
         RunByName<START_UPGRADE>},
        {"OfferProfile",
         {SLOT, {"index", "u", "which of the CAM's operator profiles, counted from 0"}},
         "the CAM offers an operator profile",
         false,
         RunByName<OFFER_PROFILE>},
        {"StopRecording",
         {{"profile", "i", "of the TV pipeline"}, {"handle", "q", "of the TV pipeline"}},
         "ask the host to stop a recording",
         false,
         RunByName<STOP_RECORDING>},
        {"ExpireContent",
         {{"file", "s", "the recording"}},
         "the retention of a recording is over now",
         false,
         RunByName<EXPIRE>},
        {"Control",
         {{"name", "s", "see ListControls"}, {"arguments", "s", "a JSON object; empty: none"}},
         "anything else that can be done to the set",
         false,
         RunControlByJson},
        {"ListControls", {}, "what Control can do, as JSON", true, ListControls},
        {"AdvanceClock",
         {{"ms", "t", "virtual milliseconds"}},
         "move the virtual clock on; gives its new time",
         true,
         AdvanceClock},
        {"RaiseSignal",
         {{"type", "u", "the signal's number"},
          {"profile", "i", "of the TV pipeline"},
          {"handle", "q", "of the TV pipeline"},
          {"data", "ay", "up to 8 bytes"}},
         "raise any signal",
         false,
         RaiseSignal},
        {"State", {}, "all about the set, as JSON", true, State},
        {"Subscriptions", {}, "who has subscribed what, as JSON", true, Subscriptions},
        {"Journal", {}, "the calls received, as JSON", true, Journal},
        {"ClearJournal", {}, "forget the calls received", false, ClearJournal},
        {"AddFault",
         {{"fault", "s", "a JSON object, see ListFaultKinds"}},
         "switch a fault on; gives its number, 0 for one that has happened already",
         true,
         AddFault},
        {"RemoveFault", {{"number", "u", "what AddFault gave"}}, "switch a fault off", false, RemoveFault},
        {"ClearFaults", {}, "switch all faults off", false, ClearFaults},
        {"ListFaults", {}, "the faults that are on, as JSON", true, ListFaults},
        {"ListFaultKinds", {}, "the faults that there are, as JSON", true, ListFaultKinds},
        {"Restart",
         {{"ms", "u", "real milliseconds without the daemon"}},
         "leave the bus and come back",
         false,
         Restart},
        {"Quit", {}, "end the simulator", false, Quit},
    };
    return rows;
}
} // namespace

std::span<const TSVerb> Verbs() { return Rows(); }

const TSVerb* FindVerb(std::string_view name)
{
    const auto found =
        std::find_if(Rows().begin(), Rows().end(), [&](const TSVerb& verb) { return verb.name == name; });
    return found != Rows().end() ? &*found : nullptr;
}
} // namespace CIM::sim
