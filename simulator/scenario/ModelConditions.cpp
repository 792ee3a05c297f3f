#include "Condition.h"
#include "ConditionWords.h"

#include "simulator/model/Parts.h"

#include "json/ValueForms.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
using json::TJson;
using TSlot = unsigned char;

constexpr auto SLOT = Optional<TSlot>("slot", 0, "number of the slot");

/// Of a list of objects the one with a member of that value; null when there is none.
template <class T>
TJson Find(const TJson& list, const char* member, const T& value)
{
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const TJson& entry) { return entry.at(member) == value; });
    return found != list.end() ? *found : TJson();
}

std::string Word(const TJson& entry, const char* member)
{
    return entry.is_null() ? "none" : entry.at(member).get<std::string>();
}

std::string In(TSlot slot) { return " in slot " + std::to_string(slot); }

/// A condition that a word of the state is this one.
template <class E, class Look>
TSCondition IsWord(const std::string& what, E wanted, Look look)
{
    const std::string word(EnumName(wanted));
    return {"until " + what + " is " + word, [look, word](const TSScene& scene) { return look(scene) == word; },
            [look, what](const TSScene& scene) { return what + " is " + look(scene); }};
}

/// A condition that a flag of the state is so.
template <class Look>
TSCondition IsSo(const std::string& what, const std::string& yes, const std::string& no, bool wanted, Look look)
{
    return {"until " + what + " " + (wanted ? yes : no),
            [look, wanted](const TSScene& scene) { return look(scene) == wanted; }};
}

TSCondition Cam(TSConditionReader& reader, TSlot slot, ECamIs is, const std::string& name)
{
    reader.NeedSlot(slot);
    if (!name.empty() && reader.rehearsal.Set().FindCam(name) == nullptr)
    {
        reader.Refuse("name",
                      "the name of a CAM of the set is needed; " + ThereAre(reader.rehearsal.Set().CamNames(), name));
    }
    TSCondition condition = IsWord("the CAM" + In(slot), is,
                                   [slot](const TSScene& scene) -> std::string
                                   { return ToName(scene.model.World().slots.at(slot).phase); });
    if (!name.empty())
    {
        condition.words += ", " + name;
        condition.holds = [slot, name, isSo = condition.holds](const TSScene& scene)
        { return isSo(scene) && scene.model.World().slots.at(slot).cam.name == name; };
    }
    return condition;
}

TSCondition Dialogue(TSConditionReader& reader, TSlot slot, EShows shows, const std::string& title)
{
    reader.NeedSlot(slot);
    const auto look = [slot](const TSScene& scene)
    { return Find(scene.model.Parts().mmi.State().Take(), "slot", slot); };
    const std::string kind(EnumName(shows));
    std::string words = "until the CAM" + In(slot);
    words += shows == SHOWS_NONE  ? " shows no dialogue"
             : shows == SHOWS_ANY ? " shows a dialogue"
                                  : std::string(shows == SHOWS_ENQUIRY ? " shows an " : " shows a ") + kind;
    words += title.empty() ? "" : " \"" + title + "\"";
    return {words,
            [look, shows, kind, title](const TSScene& scene)
            {
                const TJson page = look(scene);
                if (page.is_null() || shows == SHOWS_NONE)
                {
                    return page.is_null() && shows == SHOWS_NONE;
                }
                return (shows == SHOWS_ANY || page.at("kind") == kind) && (title.empty() || page.at("text") == title);
            },
            [look](const TSScene& scene)
            {
                const TJson page = look(scene);
                return page.is_null() ? "it shows no dialogue"
                                      : "it shows the " + Word(page, "kind") + " \"" + Word(page, "text") + "\"";
            }};
}

TSCondition Sas(TSConditionReader& reader, std::uint64_t application, bool isOpen)
{
    const auto& cams = reader.rehearsal.Set().cams;
    const bool isThere = std::any_of(cams.begin(), cams.end(),
                                     [&](const TSCamDefinition& cam)
                                     {
                                         return std::any_of(cam.sasApplications.begin(), cam.sasApplications.end(),
                                                            [&](const TSSasApplicationDefinition& known)
                                                            { return known.id == application; });
                                     });
    if (!isThere)
    {
        reader.Refuse("application", "no CAM of the set has such an application");
    }
    return IsSo("a SAS session with application " + std::to_string(application), "is connected", "is not there", isOpen,
                [application](const TSScene& scene)
                {
                    const TJson sessions = scene.model.Parts().sas.State().Take();
                    return std::any_of(sessions.begin(), sessions.end(),
                                       [&](const TJson& session) {
                                           return session.at("application") == application &&
                                                  session.at("connected") == true;
                                       });
                });
}

TSCondition Player(TSConditionReader&, EPlayerIs is, const std::string& location)
{
    TSCondition condition = IsWord("the player", is,
                                   [location](const TSScene& scene) -> std::string
                                   {
                                       const TJson state = scene.model.Parts().player.State().Take();
                                       if (state.is_null() || (!location.empty() && state.at("location") != location))
                                       {
                                           return "none";
                                       }
                                       return state.at("started") == true ? "playing" : "verifying";
                                   });
    condition.words += location.empty() ? "" : " with " + location;
    return condition;
}

TSCondition Decryption(TSConditionReader&, bool isOpen, std::optional<ESampleDecryptionDRMStatus> status,
                       EProfile profile, unsigned short handle)
{
    TSCondition condition =
        IsSo("a sample decryption for handle " + std::to_string(handle), "is there", "is not there", isOpen,
             [=](const TSScene& scene)
             {
                 const TJson sessions = scene.model.Parts().decryption.State().Take();
                 return std::any_of(sessions.begin(), sessions.end(),
                                    [&](const TJson& session)
                                    {
                                        return session.at("profile") == static_cast<int>(profile) &&
                                               session.at("handle") == handle &&
                                               (!status || session.at("status") == std::string(EnumName(*status)));
                                    });
             });
    condition.words += status ? " with " + std::string(EnumName(*status)) : "";
    return condition;
}

TSCondition Upgrade(TSConditionReader& reader, TSlot slot, EUpgradeIs is, int percent)
{
    reader.NeedSlot(slot);
    if (percent < 0 || percent > 100)
    {
        reader.Refuse("percent", "0 to 100 are needed");
    }
    const auto look = [slot](const TSScene& scene)
    { return Find(scene.model.Parts().upgrade.State().Take(), "slot", slot); };
    TSCondition condition =
        IsWord("the upgrade" + In(slot), is, [look](const TSScene& scene) { return Word(look(scene), "step"); });
    if (percent > 0)
    {
        condition.words += " at " + std::to_string(percent) + " %";
        condition.holds = [look, percent, isSo = condition.holds](const TSScene& scene)
        { return isSo(scene) && look(scene).value("percent", 0) >= percent; };
    }
    return condition;
}

TSCondition Profile(TSConditionReader& reader, TSlot slot, EProfileIs is, bool isSo)
{
    reader.NeedSlot(slot);
    return IsSo("an operator profile" + In(slot), "is " + std::string(EnumName(is)),
                "is not " + std::string(EnumName(is)), isSo,
                [slot, is](const TSScene& scene)
                {
                    const TJson state = scene.model.Parts().profiles.State().Take();
                    if (is == PROFILE_IS_RUNNING)
                    {
                        return Find(state.at("installations"), "slot", slot).value("running", false);
                    }
                    return !Find(state.at(std::string(EnumName(is))), "slot", slot).is_null();
                });
}

TSCondition Pin(TSConditionReader& reader, TSlot slot, EPinIs is, bool isSo)
{
    reader.NeedSlot(slot);
    return IsSo("the PIN" + In(slot), "is " + std::string(EnumName(is)), "is not " + std::string(EnumName(is)), isSo,
                [slot, word = std::string(EnumName(is))](const TSScene& scene)
                {
                    const TJson state = Find(scene.model.Parts().pin.State().Take(), "slot", slot);
                    return !state.is_null() && state.at(word) == true;
                });
}

TSCondition HostControl(TSConditionReader&, bool isActive)
{
    return IsSo("a CAM", "holds the tuner", "no longer holds the tuner", isActive,
                [](const TSScene& scene) { return scene.model.Parts().host.IsHostControlActive(); });
}

TSCondition Tuning(TSConditionReader&, bool isBlocked)
{
    return IsSo("tuning", "is blocked", "is allowed", isBlocked,
                [](const TSScene& scene) { return scene.model.Parts().host.State().Take().at("tuneBlocked") == true; });
}

TSCondition Descrambling(TSConditionReader& reader, TSlot slot, bool isActive)
{
    reader.NeedSlot(slot);
    return IsSo("the CAM" + In(slot), "serves a pipeline", "serves no pipeline", isActive,
                [slot](const TSScene& scene) { return !scene.model.World().slots.at(slot).pipelines.empty(); });
}

TSCondition Application(TSConditionReader& reader, TSlot slot, EAppIs is)
{
    reader.NeedSlot(slot);
    return IsWord("the application of the CAM" + In(slot), is,
                  [slot](const TSScene& scene) {
                      return Word(Find(scene.model.Parts().appMmi.State().Take().at("sessions"), "slot", slot), "step");
                  });
}

TSCondition FileSystem(TSConditionReader& reader, TSlot slot, bool isOpen)
{
    reader.NeedSlot(slot);
    return IsSo("a file system" + In(slot), "has an application registered", "has no application registered", isOpen,
                [slot](const TSScene& scene)
                {
                    const TJson all = scene.model.Parts().fileSystems.State().Take();
                    return std::any_of(all.begin(), all.end(),
                                       [&](const TJson& one)
                                       { return one.at("slot") == slot && !one.at("applications").empty(); });
                });
}

TSCondition Recording(TSConditionReader&, const std::string& file, ERecordingIs is, bool isSo)
{
    return IsSo("the recording " + file, "is " + std::string(EnumName(is)), "is not " + std::string(EnumName(is)), isSo,
                [file, is](const TSScene& scene)
                {
                    const TJson state = scene.model.Parts().pvr.State().Take();
                    if (is == RECORDING_IS_PLAYING)
                    {
                        return state.at("playing") == file;
                    }
                    const TJson recording = Find(state.at("recordings"), "file", file);
                    return !recording.is_null() && recording.at(std::string(EnumName(is))) == true;
                });
}
} // namespace

std::vector<TSConditionRow> ModelConditionRows()
{
    constexpr auto IS_SO = Optional<bool>("holds", true, "false: until it is not so");
    const auto open = [](const char* help) { return Optional<bool>("open", true, help); };
    return {
        ConditionRow("cam", "what a slot holds",
                     Taking(SLOT, Needed<ECamIs>("is", "its state"),
                            Optional<std::string>("name", "", "which CAM; without: whichever")),
                     Cam),
        ConditionRow("dialogue", "what the CAM shows",
                     Taking(SLOT, Needed<EShows>("shows", "what kind of page"),
                            Optional<std::string>("title", "", "its title, text or question; without: whichever")),
                     Dialogue),
        ConditionRow("pin", "the PIN of the CAM", Taking(SLOT, Needed<EPinIs>("is", "what has become of it"), IS_SO),
                     Pin),
        ConditionRow("descrambling", "the CAM serves a pipeline of the set",
                     Taking(SLOT, Optional<bool>("active", true, "whether it does")), Descrambling),
        ConditionRow(
            "upgrade", "the firmware upgrade",
            Taking(SLOT, Needed<EUpgradeIs>("is", "its state"), Optional<int>("percent", 0, "its progress, at least")),
            Upgrade),
        ConditionRow("profile", "an operator profile of the CAM",
                     Taking(SLOT, Needed<EProfileIs>("is", "its state"), IS_SO), Profile),
        ConditionRow("host-control", "the CAM holds the tuner",
                     Taking(Optional<bool>("active", true, "whether it does")), HostControl),
        ConditionRow("tuning", "the CAM forbids tuning", Taking(Optional<bool>("blocked", true, "whether it does")),
                     Tuning),
        ConditionRow("sas", "a SAS session",
                     Taking(Needed<std::uint64_t>("application", "its identifier"), open("whether it is connected")),
                     Sas),
        ConditionRow("application", "the application that the CAM has started",
                     Taking(SLOT, Needed<EAppIs>("is", "its state")), Application),
        ConditionRow("file-system", "an application has registered for a file system of the CAM",
                     Taking(SLOT, open("whether it has")), FileSystem),
        ConditionRow("player", "the CAM's player",
                     Taking(Needed<EPlayerIs>("is", "its state"),
                            Optional<std::string>("location", "", "what it plays; without: whatever")),
                     Player),
        ConditionRow("decryption", "a sample decryption",
                     Taking(open("whether it is there"),
                            Optional<std::optional<ESampleDecryptionDRMStatus>>("status", {}, "its status"),
                            Optional<EProfile>("profile", PROFILE_MAIN, "of the TV pipeline"),
                            Optional<unsigned short>("handle", 0, "of the TV pipeline")),
                     Decryption),
        ConditionRow(
            "recording", "a recording",
            Taking(Needed<std::string>("file", "the recording"), Needed<ERecordingIs>("is", "its state"), IS_SO),
            Recording),
    };
}
} // namespace CIM::sim
