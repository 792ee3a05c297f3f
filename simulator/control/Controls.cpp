#include "Controls.h"

#include "simulator/definition/DefinitionJson.h"
#include "simulator/model/Parts.h"

#include <ciapi/CIPlatformEnumNames.h>

#include <algorithm>
#include <array>

namespace CIM::sim
{
namespace
{
/// The arguments of a control, on their way in. Everything is read before anything is done.
class TCArguments
{
public:
    TCArguments(const json::TJson& json, const json::TCJsonPath& path) : m_path(path), m_object(json, path) {}

    template <class T>
    T Take(const char* name, T value)
    {
        m_object.Field(name, value);
        return value;
    }

    template <class T>
    T Need(const char* name)
    {
        T value{};
        m_object.Needed(name, value);
        return value;
    }

    unsigned char Slot() { return Take<unsigned char>("slot", 0); }
    TVSHandle Pipeline()
    {
        const auto profile = Take("profile", PROFILE_MAIN);
        return {profile, Take<unsigned short>("handle", 0)};
    }
    [[noreturn]] void Refuse(const char* name, const std::string& why) const
    {
        throw json::TCJsonError(json::TCJsonPath(m_path, name), why);
    }
    bool Has(const char* name) const { return m_object.Has(name); }
    void Done() const { m_object.Done(); }

private:
    const json::TCJsonPath& m_path;
    json::TCJsonObject m_object;
};

using TAction = TSOutcome (*)(TCModel&, TCArguments&);

struct TSRow
{
    TSControl control;
    TAction run;
};

TSOutcome Insert(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    const auto cam = arguments.Need<std::string>("cam");
    arguments.Done();
    return model.InsertCam(slot, cam);
}

TSOutcome Remove(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    arguments.Done();
    return model.RemoveCam(slot);
}

TSOutcome Reset(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    arguments.Done();
    return model.ResetCam(slot);
}

TSOutcome OpenMenu(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    const auto menu = arguments.Take<std::string>("menu", "");
    arguments.Done();
    return model.Parts().mmi.OpenUnsolicited(slot, menu);
}

TSOutcome ShowPage(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    const auto page = arguments.Need<TSMmiPage>("page");
    arguments.Done();
    const TSSlot* const found = model.World().FindReady(slot);
    if (!found)
    {
        return TSOutcome::Refused("no ready CAM in slot " + std::to_string(slot));
    }
    model.Parts().mmi.Open(*found, page);
    return TSOutcome::Done();
}

TSOutcome AskPin(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    const auto rating = arguments.Take("rating", 18);
    const auto pipeline = arguments.Pipeline();
    arguments.Done();
    return model.Parts().pin.Ask(slot, pipeline, rating);
}

template <bool IsIn>
TSOutcome Card(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    arguments.Done();
    return model.Parts().ca.SetCard(slot, IsIn);
}

TSOutcome Entitlement(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    const auto reply = arguments.Need<unsigned char>("reply");
    arguments.Done();
    const TSOutcome outcome = model.Parts().ca.SetEntitlement(slot, reply);
    if (outcome)
    {
        // Not every CAM has an installed profile that its rights belong to.
        model.Parts().profiles.Announce(slot, CAM_OP_STATUS_ENTITLEMENT_CHANGE);
    }
    return outcome;
}

TSOutcome StreamEmi(TCModel& model, TCArguments& arguments)
{
    const auto emi = arguments.Need<unsigned char>("emi");
    const auto pipeline = arguments.Pipeline();
    arguments.Done();
    model.Parts().ca.SetEmi(pipeline, emi);
    return TSOutcome::Done();
}

TSOutcome StartUpgrade(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    const auto mode = arguments.Take("mode", CAM_UPGRADE_MODE_DELAYED);
    arguments.Done();
    return model.Parts().upgrade.Request(slot, mode);
}

TSOutcome UpgradeProgress(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    const auto percent = arguments.Need<int>("percent");
    arguments.Done();
    return model.Parts().upgrade.SetProgress(slot, percent);
}

TSOutcome OfferProfile(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    const auto index = arguments.Take<unsigned>("index", 0);
    arguments.Done();
    return model.Parts().profiles.Offer(slot, index);
}

TSOutcome ProfileStatus(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    const auto status = arguments.Need<ECamOperatorProfileStatus>("status");
    arguments.Done();
    return model.Parts().profiles.Announce(slot, status);
}

TSOutcome SasSend(TCModel& model, TCArguments& arguments)
{
    const auto application = arguments.Need<std::uint64_t>("application");
    const auto data = arguments.Need<TBytes>("data");
    arguments.Done();
    return model.Parts().sas.SendFromCam(application, data);
}

TSOutcome StartApp(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    const auto domain = arguments.Take<std::string>("domain", "HbbTVEngineProfile1");
    const auto object = arguments.Take<std::string>("object", "");
    const auto pipeline = arguments.Pipeline();
    arguments.Done();
    return model.Parts().appMmi.RequestStart(slot, domain, object, pipeline);
}

TSOutcome AbortApp(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    const auto data = arguments.Take<TBytes>("data", {});
    arguments.Done();
    return model.Parts().appMmi.RequestAbort(slot, data);
}

template <bool IsOffered>
TSOutcome FileSystem(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    const auto index = arguments.Take<unsigned>("index", 0);
    arguments.Done();
    TCFileSystems& fileSystems = model.Parts().fileSystems;
    return IsOffered ? fileSystems.Offer(slot, index) : fileSystems.Drop(slot, index);
}

TSOutcome HostControl(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    const auto isActive = arguments.Take("active", true);
    const auto pipeline = arguments.Pipeline();
    arguments.Done();
    return model.Parts().host.SetHostControl(slot, isActive, pipeline);
}

TSOutcome BlockTuning(TCModel& model, TCArguments& arguments)
{
    const auto isBlocked = arguments.Take("blocked", true);
    const auto pipeline = arguments.Pipeline();
    arguments.Done();
    model.Parts().host.BlockTuning(isBlocked, pipeline);
    return TSOutcome::Done();
}

TSOutcome SetFlag(TCModel& model, TCArguments& arguments)
{
    static const std::map<std::string, bool TSCamDefinition::*> flags = {
        {"keep-app-running", &TSCamDefinition::wantsAppRunning},
        {"transcoding-auto", &TSCamDefinition::transcodesAutomatically},
        {"special-cam", &TSCamDefinition::needsSpecialTreatment},
        {"releases-tuner", &TSCamDefinition::releasesTuner},
    };
    const auto slot = arguments.Slot();
    const auto name = arguments.Need<std::string>("flag");
    const auto value = arguments.Take("value", true);
    arguments.Done();
    TSSlot* const found = model.World().Find(slot);
    const auto flag = flags.find(name);
    if (!found || !found->HoldsCam())
    {
        return TSOutcome::Refused("no CAM in slot " + std::to_string(slot));
    }
    if (flag == flags.end())
    {
        std::string names;
        for (const auto& [known, member] : flags)
        {
            names += (names.empty() ? "" : ", ") + known;
        }
        arguments.Refuse("flag", "there is no such flag; there are " + names);
    }
    found->cam.*flag->second = value;
    return TSOutcome::Done();
}

TSOutcome DecryptionStatus(TCModel& model, TCArguments& arguments)
{
    const auto status = arguments.Need<ESampleDecryptionDRMStatus>("status");
    const auto pipeline = arguments.Pipeline();
    arguments.Done();
    return model.Parts().decryption.SetStatus(pipeline, status);
}

TSOutcome PlayerStart(TCModel& model, TCArguments& arguments)
{
    const auto slot = arguments.Slot();
    const auto location = arguments.Need<std::string>("location");
    arguments.Done();
    return model.Parts().player.StartFromCam(slot, location);
}

TSOutcome PlayerError(TCModel& model, TCArguments& arguments)
{
    const auto error = arguments.Take<int>("error", PLAYER_ERROR_PLAYBACK);
    arguments.Done();
    return model.Parts().player.Fail(error);
}

template <ECISignalType Type, class Reason>
TSOutcome Stop(TCModel& model, TCArguments& arguments)
{
    const auto reason = arguments.Take("reason", Reason{});
    const auto pipeline = arguments.Pipeline();
    arguments.Done();
    model.Parts().pvr.RequestStop(Type, pipeline, reason);
    return TSOutcome::Done();
}

TSOutcome AddRecording(TCModel& model, TCArguments& arguments)
{
    auto recording = arguments.Need<TSRecordingDefinition>("recording");
    arguments.Done();
    model.Parts().pvr.Add(std::move(recording));
    return TSOutcome::Done();
}

TSOutcome PlayRecording(TCModel& model, TCArguments& arguments)
{
    const auto file = arguments.Need<std::string>("file");
    const auto pipeline = arguments.Pipeline();
    arguments.Done();
    return model.Parts().pvr.Play(file, pipeline);
}

TSOutcome EndPlayback(TCModel& model, TCArguments& arguments)
{
    arguments.Done();
    return model.Parts().pvr.EndPlay();
}

TSOutcome Expire(TCModel& model, TCArguments& arguments)
{
    const auto file = arguments.Need<std::string>("file");
    arguments.Done();
    return model.Parts().pvr.Expire(file);
}

TSOutcome BlockRecording(TCModel& model, TCArguments& arguments)
{
    const auto file = arguments.Need<std::string>("file");
    const auto isBlocked = arguments.Take("blocked", true);
    arguments.Done();
    return model.Parts().pvr.SetBlocked(file, isBlocked);
}

TSOutcome Signal(TCModel& model, TCArguments& arguments)
{
    TSSignal signal;
    signal.type = arguments.Need<ECISignalType>("type");
    const TVSHandle pipeline = arguments.Pipeline();
    signal.profile = pipeline.profile;
    signal.handle = pipeline.handle;
    const auto data = arguments.Take<TBytes>("data", {});
    TSSignalFields fields;
    fields.slot = arguments.Take("slot", NO_SLOT);
    fields.code = arguments.Take("code", fields.code);
    fields.id = arguments.Take("id", fields.id);
    fields.value = arguments.Take("value", fields.value);
    arguments.Done();
    signal.data = PackSignalData(fields);
    if (arguments.Has("data"))
    {
        if (data.size() != sizeof signal.data.bytes)
        {
            arguments.Refuse("data", "8 bytes are needed, not " + std::to_string(data.size()));
        }
        std::copy(data.begin(), data.end(), signal.data.bytes);
    }
    model.RaiseSignal(signal);
    return TSOutcome::Done();
}

constexpr auto StopRecording = Stop<SIGNAL_CI_RECORD_STOP_REQUEST, EPvrRecordStopReasonByCI>;
constexpr auto StopTimeshift = Stop<SIGNAL_CI_TIMESHIFT_STOP_REQUEST, EPvrTimeshiftStopReasonByCI>;
constexpr auto StopPlayback = Stop<SIGNAL_CI_PLAYBACK_STOP_REQUEST, EPvrPlaybackStopReasonByCI>;

constexpr std::array ROWS = {
    TSRow{{"insert", "[slot] cam", "put a CAM into a slot"}, Insert},
    TSRow{{"remove", "[slot]", "pull the CAM of a slot"}, Remove},
    TSRow{{"reset", "[slot]", "reset the CAM of a slot"}, Reset},
    TSRow{{"open-menu", "[slot] [menu]", "the CAM opens a menu by itself: its own, or one by name"}, OpenMenu},
    TSRow{{"show-page", "[slot] page", "the CAM shows a page given as in a definition"}, ShowPage},
    TSRow{{"ask-pin", "[slot] [rating] [profile] [handle]", "the CAM asks for its PIN"}, AskPin},
    TSRow{{"card-in", "[slot]", "put the smart card into the CAM"}, Card<true>},
    TSRow{{"card-out", "[slot]", "pull the smart card"}, Card<false>},
    TSRow{{"entitlement", "[slot] reply", "change the CAM's rights: a CA_enable value"}, Entitlement},
    TSRow{{"stream-emi", "emi [profile] [handle]", "change the copy control of what a pipeline shows"}, StreamEmi},
    TSRow{{"start-upgrade", "[slot] [mode]", "the CAM asks for its firmware upgrade"}, StartUpgrade},
    TSRow{{"upgrade-progress", "[slot] percent", "set the progress of a running upgrade"}, UpgradeProgress},
    TSRow{{"offer-profile", "[slot] [index]", "the CAM offers an operator profile"}, OfferProfile},
    TSRow{{"profile-status", "[slot] status", "the CAM says something about its installed profile"}, ProfileStatus},
    TSRow{{"sas-send", "application data", "an application in the CAM sends over its SAS session"}, SasSend},
    TSRow{{"start-app", "[slot] [domain] [object] [profile] [handle]", "the CAM wants an application started"},
          StartApp},
    TSRow{{"abort-app", "[slot] [data]", "the CAM wants its application ended"}, AbortApp},
    TSRow{{"offer-file-system", "[slot] [index]", "the CAM offers an auxiliary file system"}, FileSystem<true>},
    TSRow{{"drop-file-system", "[slot] [index]", "the CAM takes a file system back"}, FileSystem<false>},
    TSRow{{"host-control", "[slot] [active] [profile] [handle]", "the CAM takes the tuner, or gives it back"},
          HostControl},
    TSRow{{"block-tuning", "[blocked] [profile] [handle]", "forbid tuning, or allow it again"}, BlockTuning},
    TSRow{{"set-flag", "[slot] flag [value]", "change a flag of a CAM, such as keep-app-running"}, SetFlag},
    TSRow{{"decryption-status", "status [profile] [handle]", "change the status of a sample decryption"},
          DecryptionStatus},
    TSRow{{"player-start", "[slot] location", "the CAM starts a playback by itself"}, PlayerStart},
    TSRow{{"player-error", "[error]", "the playback fails"}, PlayerError},
    TSRow{{"stop-recording", "[reason] [profile] [handle]", "ask the host to stop a recording"}, StopRecording},
    TSRow{{"stop-timeshift", "[reason] [profile] [handle]", "ask the host to stop its time shift"}, StopTimeshift},
    TSRow{{"stop-playback", "[reason] [profile] [handle]", "ask the host to stop a playback"}, StopPlayback},
    TSRow{{"add-recording", "recording", "a recording comes into being, as in a definition"}, AddRecording},
    TSRow{{"play-recording", "file [profile] [handle]", "the host begins to play a recording"}, PlayRecording},
    TSRow{{"end-playback", "", "the host ends the playback of its recording"}, EndPlayback},
    TSRow{{"expire", "file", "the retention of a recording is over now"}, Expire},
    TSRow{{"block-recording", "file [blocked]", "parental control blocks a recording"}, BlockRecording},
    TSRow{{"signal", "type [profile] [handle] [data | slot code id value]", "raise any signal"}, Signal},
};
} // namespace

std::vector<TSControl> Controls()
{
    std::vector<TSControl> controls;
    for (const TSRow& row : ROWS)
    {
        controls.push_back(row.control);
    }
    return controls;
}

TSOutcome RunControl(TCModel& model, std::string_view name, const json::TJson& arguments, const json::TCJsonPath& path)
{
    const auto row =
        std::find_if(ROWS.begin(), ROWS.end(), [&](const TSRow& candidate) { return candidate.control.name == name; });
    if (row == ROWS.end())
    {
        return TSOutcome::Refused("there is no control '" + std::string(name) + "'");
    }
    static const json::TJson none = json::TJson::object();
    TCArguments given(arguments.is_null() ? none : arguments, path);
    return row->run(model, given);
}
} // namespace CIM::sim
