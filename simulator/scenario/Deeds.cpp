#include "Deeds.h"

#include "commandline/Nearest.h"
#include "simulator/control/Controls.h"
#include "simulator/daemon/SimulatedDaemon.h"

#include "json/Object.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
using json::TCJsonError;
using json::TCJsonObject;
using json::TCJsonPath;
using json::TJson;

constexpr std::uint32_t MOST_MS = 4'000'000'000;

TSEnd ReadEnd(const TJson& json, const TCJsonPath& path)
{
    unsigned char status = 0;
    TCJsonObject(json, path).Field("status", status).Done();
    return {status};
}

/// What is done, but is no control.
struct TSDeedReader
{
    const char* name;
    TDeed (*read)(const TJson& json, const TCJsonPath& path);
};
constexpr TSDeedReader READERS[] = {
    {"advance", [](const TJson& json, const TCJsonPath& path) -> TDeed { return TSAdvance{MsFromJson(json, path)}; }},
    {"fault",
     [](const TJson& json, const TCJsonPath& path) -> TDeed
     { return TSFaultStep{json::FromJson<TSFault>(json, path)}; }},
    {"clear-faults",
     [](const TJson& json, const TCJsonPath& path) -> TDeed
     {
         TCJsonObject(json, path).Done();
         return TSClearFaults{};
     }},
    {"end", [](const TJson& json, const TCJsonPath& path) -> TDeed { return ReadEnd(json, path); }},
};

const TSDeedReader* FindReader(std::string_view name)
{
    const auto found =
        std::find_if(std::begin(READERS), std::end(READERS), [&](const TSDeedReader& row) { return row.name == name; });
    return found != std::end(READERS) ? found : nullptr;
}

/// Does a deed, each kind in its way.
struct TSDoer
{
    TCSimulatedDaemon& daemon;
    const std::function<void(int)>& quit;

    TSOutcome operator()(const TSAdvance& advance) const
    {
        daemon.Clock().Advance(advance.ms);
        return TSOutcome::Done();
    }
    TSOutcome operator()(const TSControlStep& step) const
    {
        const TCModelUse use(daemon.Clock());
        return RunControl(daemon.Model(), step.name, step.arguments);
    }
    TSOutcome operator()(const TSFaultStep& step) const
    {
        daemon.AddFault(step.fault);
        return TSOutcome::Done();
    }
    TSOutcome operator()(const TSClearFaults&) const
    {
        daemon.Faults().Clear();
        return TSOutcome::Done();
    }
    TSOutcome operator()(const TSEnd& end) const
    {
        if (quit)
        {
            quit(end.status);
        }
        return TSOutcome::Done();
    }
};
} // namespace

void TCRehearsal::Try(const TSControlStep& step, const TCJsonPath& path)
{
    const auto cam = step.arguments.find("cam");
    if (step.name == "insert" && cam != step.arguments.end() && cam->is_string() &&
        m_set.FindCam(cam->get<std::string>()) == nullptr)
    {
        throw TCJsonError(TCJsonPath(path, "cam"), "the name of a CAM of the set is needed; " +
                                                       ThereAre(m_set.CamNames(), cam->get<std::string>()));
    }
    if (step.name == "insert" && cam != step.arguments.end() && cam->is_string())
    {
        m_inserted.insert(cam->get<std::string>());
    }
    const auto menu = step.arguments.find("menu");
    if (step.name == "open-menu" && menu != step.arguments.end() && menu->is_string() && *menu != "")
    {
        m_NeedMenu(menu->get<std::string>(), TCJsonPath(path, "menu"));
    }
    // What is refused depends on the time of playing; what is wrong is wrong now.
    RunControl(m_model, step.name, step.arguments, path);
    const auto slot = step.arguments.find("slot");
    if (slot != step.arguments.end() && step.name != "signal")
    {
        NeedSlot(json::FromJson<std::uint8_t>(*slot), TCJsonPath(path, "slot"));
    }
}

/// Which of the CAMs is in the slot then is not known now.
void TCRehearsal::m_NeedMenu(const std::string& menu, const TCJsonPath& path) const
{
    TNames names;
    bool isInserted = false;
    for (const TSCamDefinition& cam : m_set.cams)
    {
        for (const auto& [name, page] : cam.menus)
        {
            names.emplace_back(name);
            isInserted = isInserted || (name == menu && m_inserted.count(cam.name) > 0);
        }
    }
    if (std::find(names.begin(), names.end(), menu) == names.end())
    {
        throw TCJsonError(path, "no CAM of the set has such a menu; " + ThereAre(names, menu));
    }
    if (!isInserted)
    {
        throw TCJsonError(path, "no CAM that has been inserted by then has such a menu");
    }
}

void TCRehearsal::NeedSlot(std::uint64_t slot, const TCJsonPath& path) const
{
    if (slot >= static_cast<std::uint64_t>(m_set.slots))
    {
        throw TCJsonError(path, "there is no such slot; there are " + std::to_string(m_set.slots));
    }
}

TSNamed OneMember(const TJson& json, const char* what, const TCJsonPath& path)
{
    if (!json.is_object() || json.size() != 1)
    {
        throw TCJsonError(path, std::string(what) + " is an object with one member, the " +
                                    (std::string_view(what).starts_with("a step") ? "step" : "deed") + "'s name");
    }
    return {json.get_ref<const TJson::object_t&>().begin()->first, *json.begin()};
}

std::uint32_t MsFromJson(const TJson& json, const TCJsonPath& path)
{
    return static_cast<std::uint32_t>(json::UnsignedFromJson(json, MOST_MS, path));
}

void ReadJson(const TJson& json, TSMs& ms, const TCJsonPath& path) { ms.value = MsFromJson(json, path); }

std::optional<unsigned> TakeMs(TCJsonObject& object, const char* name, const TCJsonPath& path)
{
    const TJson* const member = object.Take(name);
    return member != nullptr ? std::optional<unsigned>(MsFromJson(*member, TCJsonPath(path, name))) : std::nullopt;
}

bool IsDeed(std::string_view name) { return FindReader(name) != nullptr || FindControl(name) != nullptr; }

TDeed ReadDeed(const std::string& name, const TJson& value, TCRehearsal& rehearsal, const TCJsonPath& path)
{
    if (const TSDeedReader* const reader = FindReader(name))
    {
        return reader->read(value, path);
    }
    if (FindControl(name) == nullptr)
    {
        throw TCJsonError(path, "there is nothing of that name to do; " + ThereAre(DeedNames(), name));
    }
    const TSControlStep control{name, value};
    rehearsal.Try(control, path);
    return control;
}

TNames DeedNames()
{
    TNames names = NamesOf(READERS, [](const TSDeedReader& reader) { return reader.name; });
    for (const TSControl& control : Controls())
    {
        names.emplace_back(control.name);
    }
    return names;
}

TSOutcome Do(const TDeed& deed, TCSimulatedDaemon& daemon, const std::function<void(int)>& quit)
{
    return std::visit(TSDoer{daemon, quit}, deed);
}
} // namespace CIM::sim
