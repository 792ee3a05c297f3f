#include "DefinitionJson.h"

#include <ciapi/CIPlatformEnumNames.h>

#include <algorithm>

namespace CIM
{
template <>
struct TSEnumNames<sim::EUpgradeReset>
{
    static constexpr std::string_view type = "EUpgradeReset";
    static constexpr TSEnumName<sim::EUpgradeReset> entries[] = {
        {sim::UPGRADE_RESET_PCMCIA, "pcmcia"},
        {sim::UPGRADE_RESET_INTERFACE, "interface"},
        {sim::UPGRADE_RESET_NONE, "none"},
    };
};

template <>
struct TSEnumNames<sim::EPlayerError>
{
    static constexpr std::string_view type = "EPlayerError";
    static constexpr TSEnumName<sim::EPlayerError> entries[] = {
        {sim::PLAYER_ERROR_CONTENT_UNKNOWN, "content-unknown"},
        {sim::PLAYER_ERROR_CONTENT_REFUSED, "content-refused"},
        {sim::PLAYER_ERROR_PLAYBACK, "playback"},
    };
};
} // namespace CIM

namespace CIM::sim
{
void Read(const TSJsonAt& at, TSPinDefinition& pin)
{
    TCJsonObject(at)
        .Field("digits", pin.digits)
        .Field("tries", pin.tries)
        .Field("blockMs", pin.blockMs)
        .Field("canBeChanged", pin.canBeChanged)
        .Field("replyMs", pin.replyMs)
        .Field("handler", pin.handler)
        .Field("whenRight", pin.whenRight)
        .Done();
    if (pin.digits.find_first_not_of("0123456789") != std::string::npos)
    {
        // Without the text: a PIN is shown nowhere.
        at.Child("digits").Fail("expected decimal digits only");
    }
}

void Read(const TSJsonAt& at, TSUpgradeDefinition& upgrade)
{
    TCJsonObject(at)
        .Field("stepMs", upgrade.stepMs)
        .Field("stepPercent", upgrade.stepPercent)
        .Field("stuckAtPercent", upgrade.stuckAtPercent)
        .Field("stuckMs", upgrade.stuckMs)
        .Field("failAtPercent", upgrade.failAtPercent)
        .Field("graceMs", upgrade.graceMs)
        .Field("reset", upgrade.reset)
        .Field("newMenuString", upgrade.newMenuString)
        .Done();
}

/// One scripted answer of a SAS application.
struct TSSasAnswer
{
    TBytes to;
    std::vector<TBytes> send;
};
void Read(const TSJsonAt& at, TSSasAnswer& answer)
{
    TCJsonObject(at).Needed("to", answer.to).Needed("send", answer.send).Done();
}

void Read(const TSJsonAt& at, TSSasApplicationDefinition& application)
{
    std::vector<TSSasAnswer> answers;
    TCJsonObject(at)
        .Needed("id", application.id)
        .Field("answer", application.answer)
        .Field("maxSessions", application.maxSessions)
        .Field("echoes", application.echoes)
        .Field("onConnect", application.onConnect)
        .Field("answers", answers)
        .Field("delayMs", application.delayMs)
        .Done();
    for (TSSasAnswer& answer : answers)
    {
        application.answers[answer.to] = std::move(answer.send);
    }
}

void Read(const TSJsonAt& at, TSFileDefinition& file)
{
    TCJsonObject(at).Field("content", file.content).Field("size", file.size).Done();
    if (file.size > 64u * 1'024 * 1'024)
    {
        at.Child("size").Fail("expected at most 64 MiB");
    }
}

void Read(const TSJsonAt& at, TSFileSystemDefinition& fileSystem)
{
    TCJsonObject(at)
        .Field("domain", fileSystem.domain)
        .Field("files", fileSystem.files)
        .Field("offered", fileSystem.isOffered)
        .Field("delayMs", fileSystem.delayMs)
        .Done();
}

void Read(const TSJsonAt& at, TSAppMmiDefinition& appMmi)
{
    TCJsonObject(at).Field("files", appMmi.files).Field("delayMs", appMmi.delayMs).Done();
}

void Read(const TSJsonAt& at, TSContentDefinition& content)
{
    TCJsonObject(at)
        .Needed("location", content.location)
        .Field("allowed", content.isAllowed)
        .Field("durationSeconds", content.durationSeconds)
        .Field("live", content.isLive)
        .Field("startMs", content.startMs)
        .Field("errorAfterMs", content.errorAfterMs)
        .Field("error", content.error)
        .Done();
}

void Read(const TSJsonAt& at, TSDrmStatusChange& change)
{
    TCJsonObject(at).Field("afterMs", change.afterMs).Needed("status", change.status).Done();
}

void Read(const TSJsonAt& at, TSDrmDefinition& drm)
{
    TCJsonObject(at)
        .Field("systemId", drm.systemId)
        .Field("uuid", drm.uuid)
        .Field("transmission", drm.transmission)
        .Field("status", drm.status)
        .Field("changes", drm.changes)
        .Done();
    if (!drm.uuid.empty() && drm.uuid.size() != 16)
    {
        at.Child("uuid").Fail("expected 16 bytes");
    }
}

void Read(const TSJsonAt& at, TSProfileDefinition& profile)
{
    TCJsonObject(at)
        .Field("antennaMode", profile.antennaMode)
        .Field("serviceMode", profile.serviceMode)
        .Field("name", profile.name)
        .Field("supportedAntennaModes", profile.supportedAntennaModes)
        .Field("type", profile.type)
        .Field("contentLabels", profile.contentLabels)
        .Field("offered", profile.isOffered)
        .Field("installMs", profile.installMs)
        .Field("updateMs", profile.updateMs)
        .Field("installFails", profile.installFails)
        .Field("updateFails", profile.updateFails)
        .Done();
}

void Read(const TSJsonAt& at, TSCamDefinition& cam)
{
    std::string base;
    TCJsonObject(at)
        .Needed("name", cam.name)
        .Field("base", base)
        .Field("mode", cam.mode)
        .Field("applicationType", cam.applicationType)
        .Field("manufacturerId", cam.manufacturerId)
        .Field("manufacturerCode", cam.manufacturerCode)
        .Field("menuString", cam.menuString)
        .Field("manufacturerText", cam.manufacturerText)
        .Field("readyMs", cam.readyMs)
        .Field("jitterPercent", cam.jitterPercent)
        .Field("silent", cam.isSilent)
        .Field("resetMs", cam.resetMs)
        .Field("resets", cam.resets)
        .Field("trustError", cam.trustError)
        .Field("caSystemIds", cam.caSystemIds)
        .Field("cardIn", cam.isCardIn)
        .Field("entitlement", cam.entitlement)
        .Field("caReplyMs", cam.caReplyMs)
        .Field("emi", cam.emi)
        .Field("menu", cam.menu)
        .Field("menus", cam.menus)
        .Field("mmiMs", cam.mmiMs)
        .Field("ignoresFirstEnterMenu", cam.ignoresFirstEnterMenu)
        .Field("pin", cam.pin)
        .Field("upgrade", cam.upgrade)
        .Field("sasApplications", cam.sasApplications)
        .Field("fileSystems", cam.fileSystems)
        .Field("appMmi", cam.appMmi)
        .Field("contents", cam.contents)
        .Field("drmSystems", cam.drmSystems)
        .Field("sampleBufferSize", cam.sampleBufferSize)
        .Field("maxDecryptions", cam.maxDecryptions)
        .Field("profiles", cam.profiles)
        .Field("holdsTuner", cam.holdsTuner)
        .Field("releasesTuner", cam.releasesTuner)
        .Field("releaseMs", cam.releaseMs)
        .Field("wantsAppRunning", cam.wantsAppRunning)
        .Field("transcodesAutomatically", cam.transcodesAutomatically)
        .Field("needsSpecialTreatment", cam.needsSpecialTreatment)
        .Done();
}

void Read(const TSJsonAt& at, TSSectionDefinition& section)
{
    TCJsonObject(at)
        .Needed("begin", section.begin)
        .Needed("end", section.end)
        .Field("retentionMinutes", section.retentionMinutes)
        .Done();
}

void Read(const TSJsonAt& at, TSTrickLimits& limits)
{
    TCJsonObject(at)
        .Field("skipForward", limits.skipForward)
        .Field("skipBackward", limits.skipBackward)
        .Field("fastForward", limits.fastForward)
        .Field("fastRewind", limits.fastRewind)
        .Field("maxSpeed", limits.maxSpeed)
        .Done();
}

void Read(const TSJsonAt& at, TSRecordingDefinition& recording)
{
    TCJsonObject(at)
        .Needed("file", recording.file)
        .Field("emi", recording.emi)
        .Field("recordedAtMs", recording.recordedAtMs)
        .Field("retentionMinutes", recording.retentionMinutes)
        .Field("durationMs", recording.durationMs)
        .Field("playCount", recording.playCount)
        .Field("verified", recording.isVerified)
        .Field("cam", recording.cam)
        .Field("blocked", recording.isBlocked)
        .Field("sections", recording.sections)
        .Field("limits", recording.limits)
        .Done();
}

void Read(const TSJsonAt& at, TSCertificateStore& store)
{
    TCJsonObject(at).Field("type", store.type).Field("kind", store.kind).Done();
}

void Read(const TSJsonAt& at, TSKeyDefinition& keys)
{
    TCJsonObject(at)
        .Field("sak", keys.sak)
        .Field("siv", keys.siv)
        .Field("sek", keys.sek)
        .Field("dhsk", keys.dhsk)
        .Done();
    for (const TBytes* key : {&keys.sak, &keys.siv, &keys.sek})
    {
        if (key->size() != 16)
        {
            at.Fail("expected sak, siv and sek of 16 bytes");
        }
    }
}

namespace
{
/// The CAMs of a set: each may build upon another one that stands before it, or in the built-in set.
struct TSCamsField
{
    std::vector<TSCamDefinition>& cams;
};
void Read(const TSJsonAt& at, TSCamsField& field)
{
    if (!at.value.is_array())
    {
        at.Fail("expected an array of CAMs");
    }
    const TSSetDefinition builtIn = DefaultSet();
    for (std::size_t i = 0; i < at.value.size(); ++i)
    {
        const TSJsonAt child = at.Child(i);
        TSCamDefinition cam;
        if (child.value.is_object() && child.value.contains("base"))
        {
            std::string base;
            Read(child.Child("base"), base);
            const auto found = std::find_if(field.cams.rbegin(), field.cams.rend(),
                                            [&](const TSCamDefinition& other) { return other.name == base; });
            const TSCamDefinition* const origin = found != field.cams.rend() ? &*found : builtIn.FindCam(base);
            if (!origin)
            {
                child.Child("base").Fail("expected the name of a CAM before this one, or a built-in one");
            }
            cam = *origin;
        }
        Read(child, cam);
        std::erase_if(field.cams, [&](const TSCamDefinition& other) { return other.name == cam.name; });
        field.cams.push_back(std::move(cam));
    }
}

std::map<int, std::string> SlotsOf(const TSJsonAt& at, const TSSetDefinition& set,
                                   const std::map<std::string, std::string>& inserted)
{
    std::map<int, std::string> slots;
    for (const auto& [key, cam] : inserted)
    {
        const nlohmann::json number = key;
        const auto slot = static_cast<int>(ReadInteger({number, at.path + "/" + key}, 0, set.slots - 1));
        if (!set.FindCam(cam))
        {
            at.Child(key).Fail("expected the name of a CAM of this set");
        }
        slots[slot] = cam;
    }
    return slots;
}
} // namespace

TSSetDefinition ReadSet(const TSJsonAt& at)
{
    TCJsonObject object(at);
    std::string base;
    object.Field("base", base);
    if (!base.empty() && base != "default")
    {
        at.Child("base").Fail("expected \"default\", or no base for an empty set");
    }
    TSSetDefinition set = base.empty() ? TSSetDefinition() : DefaultSet();
    TSCamsField cams{set.cams};
    std::map<std::string, std::string> inserted;
    object.Field("slots", set.slots)
        .Field("cams", cams)
        .Field("inserted", inserted)
        .Field("recordings", set.recordings)
        .Field("secureStorage", set.secureStorage)
        .Field("eeprom", set.eeprom)
        .Field("keyWritable", set.isKeyWritable)
        .Field("keys", set.keys)
        .Field("backupFiles", set.backupFiles)
        .Field("protectedServices", set.protectedServices)
        .Done();
    if (set.slots < 0 || set.slots > 255)
    {
        at.Child("slots").Fail("expected an integer from 0 to 255");
    }
    if (object.Has("inserted"))
    {
        set.inserted = SlotsOf(at.Child("inserted"), set, inserted);
    }
    std::erase_if(set.inserted, [&](const auto& entry) { return entry.first >= set.slots; });
    return set;
}
} // namespace CIM::sim
