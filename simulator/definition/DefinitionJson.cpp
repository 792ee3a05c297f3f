#include "DefinitionJson.h"

#include "commandline/Nearest.h"

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
using json::TCJsonError;
using json::TCJsonObject;
using json::TCJsonPath;
using json::TJson;

void ReadJson(const TJson& json, TSPinDefinition& pin, const TCJsonPath& path)
{
    TCJsonObject(json, path)
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
        throw TCJsonError(TCJsonPath(path, "digits"), "decimal digits are needed, and nothing else");
    }
}

void ReadJson(const TJson& json, TSUpgradeDefinition& upgrade, const TCJsonPath& path)
{
    TCJsonObject(json, path)
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
void ReadJson(const TJson& json, TSSasAnswer& answer, const TCJsonPath& path)
{
    TCJsonObject(json, path).Needed("to", answer.to).Needed("send", answer.send).Done();
}

void ReadJson(const TJson& json, TSSasApplicationDefinition& application, const TCJsonPath& path)
{
    std::vector<TSSasAnswer> answers;
    TCJsonObject(json, path)
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

void ReadJson(const TJson& json, TSFileDefinition& file, const TCJsonPath& path)
{
    TCJsonObject(json, path).Field("content", file.content).Field("size", file.size).Done();
    if (file.size > 64u * 1'024 * 1'024)
    {
        throw TCJsonError(TCJsonPath(path, "size"), "at most 64 MiB are possible");
    }
}

void ReadJson(const TJson& json, TSFileSystemDefinition& fileSystem, const TCJsonPath& path)
{
    TCJsonObject(json, path)
        .Field("domain", fileSystem.domain)
        .Field("files", fileSystem.files)
        .Field("offered", fileSystem.isOffered)
        .Field("delayMs", fileSystem.delayMs)
        .Done();
}

void ReadJson(const TJson& json, TSAppMmiDefinition& appMmi, const TCJsonPath& path)
{
    TCJsonObject(json, path).Field("files", appMmi.files).Field("delayMs", appMmi.delayMs).Done();
}

void ReadJson(const TJson& json, TSContentDefinition& content, const TCJsonPath& path)
{
    TCJsonObject(json, path)
        .Needed("location", content.location)
        .Field("allowed", content.isAllowed)
        .Field("durationSeconds", content.durationSeconds)
        .Field("live", content.isLive)
        .Field("startMs", content.startMs)
        .Field("errorAfterMs", content.errorAfterMs)
        .Field("error", content.error)
        .Done();
}

void ReadJson(const TJson& json, TSDrmStatusChange& change, const TCJsonPath& path)
{
    TCJsonObject(json, path).Field("afterMs", change.afterMs).Needed("status", change.status).Done();
}

void ReadJson(const TJson& json, TSDrmDefinition& drm, const TCJsonPath& path)
{
    TCJsonObject(json, path)
        .Field("systemId", drm.systemId)
        .Field("uuid", drm.uuid)
        .Field("transmission", drm.transmission)
        .Field("status", drm.status)
        .Field("changes", drm.changes)
        .Done();
    if (!drm.uuid.empty() && drm.uuid.size() != 16)
    {
        throw TCJsonError(TCJsonPath(path, "uuid"), "16 bytes are needed");
    }
}

void ReadJson(const TJson& json, TSProfileDefinition& profile, const TCJsonPath& path)
{
    TCJsonObject(json, path)
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

void ReadJson(const TJson& json, TSCamDefinition& cam, const TCJsonPath& path)
{
    std::string base;
    TCJsonObject(json, path)
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

void ReadJson(const TJson& json, TSSectionDefinition& section, const TCJsonPath& path)
{
    TCJsonObject(json, path)
        .Needed("begin", section.begin)
        .Needed("end", section.end)
        .Field("retentionMinutes", section.retentionMinutes)
        .Done();
}

void ReadJson(const TJson& json, TSTrickLimits& limits, const TCJsonPath& path)
{
    TCJsonObject(json, path)
        .Field("skipForward", limits.skipForward)
        .Field("skipBackward", limits.skipBackward)
        .Field("fastForward", limits.fastForward)
        .Field("fastRewind", limits.fastRewind)
        .Field("maxSpeed", limits.maxSpeed)
        .Done();
}

void ReadJson(const TJson& json, TSRecordingDefinition& recording, const TCJsonPath& path)
{
    TCJsonObject(json, path)
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

void ReadJson(const TJson& json, TSCertificateStore& store, const TCJsonPath& path)
{
    TCJsonObject(json, path).Field("type", store.type).Field("kind", store.kind).Done();
}

void ReadJson(const TJson& json, TSKeyDefinition& keys, const TCJsonPath& path)
{
    TCJsonObject(json, path)
        .Field("sak", keys.sak)
        .Field("siv", keys.siv)
        .Field("sek", keys.sek)
        .Field("dhsk", keys.dhsk)
        .Done();
    for (const TBytes* key : {&keys.sak, &keys.siv, &keys.sek})
    {
        if (key->size() != 16)
        {
            throw TCJsonError(path, "sak, siv and sek have 16 bytes each");
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
void ReadJson(const TJson& json, TSCamsField& field, const TCJsonPath& path)
{
    if (!json.is_array())
    {
        throw TCJsonError(path, std::string("a list of CAMs is needed, not ") + json::KindOf(json));
    }
    const TSSetDefinition builtIn = DefaultSet();
    for (std::size_t i = 0; i < json.size(); ++i)
    {
        const TCJsonPath place(path, i);
        TSCamDefinition cam;
        if (json[i].is_object() && json[i].contains("base"))
        {
            std::string base;
            const TCJsonPath basePlace(place, "base");
            json::FromJson(json[i]["base"], base, basePlace);
            const auto found = std::find_if(field.cams.rbegin(), field.cams.rend(),
                                            [&](const TSCamDefinition& other) { return other.name == base; });
            const TSCamDefinition* const origin = found != field.cams.rend() ? &*found : builtIn.FindCam(base);
            if (!origin)
            {
                TNames names = builtIn.CamNames();
                for (const TSCamDefinition& before : field.cams)
                {
                    names.emplace_back(before.name);
                }
                throw TCJsonError(basePlace, "the name of a CAM before this one is needed, or of a built-in one" +
                                                 DidYouMean(base, names));
            }
            cam = *origin;
        }
        ReadJson(json[i], cam, place);
        std::erase_if(field.cams, [&](const TSCamDefinition& other) { return other.name == cam.name; });
        field.cams.push_back(std::move(cam));
    }
}

void CheckInserted(const TSSetDefinition& set, const TCJsonPath& path)
{
    for (const auto& [slot, cam] : set.inserted)
    {
        const std::string key = std::to_string(slot);
        if (slot < 0 || slot >= set.slots)
        {
            throw TCJsonError(TCJsonPath(path, key), "there is no such slot; there are " + std::to_string(set.slots));
        }
        if (!set.FindCam(cam))
        {
            throw TCJsonError(TCJsonPath(path, key),
                              "the name of a CAM of this set is needed; " + ThereAre(set.CamNames(), cam));
        }
    }
}
} // namespace

void ReadJson(const TJson& json, TSSetDefinition& out, const TCJsonPath& path)
{
    TCJsonObject object(json, path);
    std::string base;
    object.Field("base", base);
    if (!base.empty() && base != "default")
    {
        throw TCJsonError(TCJsonPath(path, "base"), "\"default\" is needed, or no base for an empty set");
    }
    TSSetDefinition set = base.empty() ? TSSetDefinition() : DefaultSet();
    TSCamsField cams{set.cams};
    object.Field("slots", set.slots)
        .Field("cams", cams)
        .Field("inserted", set.inserted)
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
        throw TCJsonError(TCJsonPath(path, "slots"), std::to_string(set.slots) + " is not within 0 to 255");
    }
    if (object.Has("inserted"))
    {
        CheckInserted(set, TCJsonPath(path, "inserted"));
    }
    std::erase_if(set.inserted, [&](const auto& entry) { return entry.first >= set.slots; });
    out = std::move(set);
}
} // namespace CIM::sim
