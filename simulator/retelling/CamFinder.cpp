#include "CamFinder.h"

#include "json/Signals.h"

#include <algorithm>
#include <cstdio>

namespace CIM::sim
{
using json::TJson;

std::string Hexadecimal(std::uint64_t number, int digits)
{
    char text[20];
    std::snprintf(text, sizeof text, "0x%0*llX", digits, static_cast<unsigned long long>(number));
    return text;
}

void TCCamFinder::Find()
{
    for (m_place = 0; m_place < m_recording.events.size(); ++m_place)
    {
        const TSRecordedEvent& event = m_recording.events[m_place];
        if (event.kind == TSRecordedEvent::CALL)
        {
            m_TakeCall(m_recording.calls[event.call]);
        }
        else if (const auto signal = ReadRecordedSignal(event))
        {
            m_TakeSignal(*signal, UnpackSignalData(signal->data));
        }
    }
}

TCCamFinder::TSPlace& TCCamFinder::m_At(unsigned slot)
{
    m_slots = std::max(m_slots, slot + 1);
    return m_places[slot];
}

TSKnownCam& TCCamFinder::m_Cam(unsigned slot)
{
    TSPlace& place = m_At(slot);
    if (!place.known)
    {
        TSKnownCam known;
        known.stay = {slot, m_place, m_recording.events.size(), !place.isEmpty, {}};
        known.firstAt = m_recording.events[m_place].at;
        place.known = m_known.size();
        m_known.push_back(std::move(known));
    }
    return m_known[*place.known];
}

void TCCamFinder::m_Say(unsigned slot, const char* member, const TJson& value)
{
    TJson& cam = m_Cam(slot).cam;
    if (!value.is_null() && !cam.contains(member))
    {
        cam[member] = value;
    }
}

void TCCamFinder::m_TakeCall(const TSRecordedCall& call)
{
    struct TSReader
    {
        const char* operation;
        void (TCCamFinder::*read)(const TSSpoken&);
    };
    static constexpr TSReader READERS[] = {
        {"ICIGeneral.GetCiSlotStatus", &TCCamFinder::m_TakeStatuses},
        {"ICIGeneral.GetCamModes", &TCCamFinder::m_TakeModes},
        {"ICIGeneral.GetCurrentCiStatus", &TCCamFinder::m_TakeCurrent},
        {"ICIGeneral.GetApplicationInfo", &TCCamFinder::m_TakeInfo},
        {"ICIGeneral.GetCaSystemIds", &TCCamFinder::m_TakeCaSystems},
        {"ICIGeneral.ConnectToSasApplication", &TCCamFinder::m_TakeSas},
        {"ICIGeneral.SendCaPmt", &TCCamFinder::m_TakeCaPmt},
        {"ICIGeneral.GetPinWindowShowHandler", &TCCamFinder::m_TakePinHandler},
        {"ICIGeneral.GetBackupFilePaths", &TCCamFinder::m_TakeBackupFiles},
        {"ICIOperatorProfile.GetNotInstalledOperatorProfiles#map", &TCCamFinder::m_TakeProfileNames},
        {"ICIOperatorProfile.GetNotInstalledOperatorProfiles#list", &TCCamFinder::m_TakeProfiles},
    };
    const std::string operation = OperationOf(call);
    const auto reader = std::find_if(std::begin(READERS), std::end(READERS),
                                     [&](const TSReader& row) { return row.operation == operation; });
    const TSSpoken spoken = ReadSpoken(call);
    if (!spoken.isDone)
    {
        return;
    }
    if (reader != std::end(READERS))
    {
        (this->*reader->read)(spoken);
    }
    else if (const auto slot = spoken.Slot(); slot && *slot < NO_SLOT && !ReadsPage(operation))
    {
        m_Serves(*slot); // otherwise it would have been refused
    }
    if (operation.starts_with("ICIOperatorProfile.StartOperatorProfileInstallation"))
    {
        m_installedAt = m_recording.events[m_place].at;
    }
}

void TCCamFinder::m_Serves(unsigned slot)
{
    m_Cam(slot);
    m_At(slot).isReady = true;
}

TJson& TCCamFinder::m_AnyCam()
{
    const auto ready =
        std::find_if(m_places.begin(), m_places.end(), [](const auto& place) { return place.second.isReady; });
    const unsigned slot = ready != m_places.end() ? ready->first : 0;
    m_Serves(slot);
    return m_Cam(slot).cam;
}

void TCCamFinder::m_TakeStatuses(const TSSpoken& spoken)
{
    m_isCounted = m_isCounted || spoken.arguments.value("selection", 1U) == 0;
    for (const auto& [slot, status] : BySlot(spoken.Output("statuses")))
    {
        if (status == "CAM_STATUS_READY")
        {
            m_Cam(slot);
            m_At(slot).isReady = true;
        }
        else if (m_At(slot).isReady)
        {
            m_Leave(slot);
        }
        else if (!m_At(slot).known)
        {
            m_At(slot).isEmpty = true;
        }
    }
}

void TCCamFinder::m_TakeModes(const TSSpoken& spoken)
{
    for (const auto& [slot, mode] : BySlot(spoken.Output("modes")))
    {
        m_Say(slot, "mode", mode);
    }
}

void TCCamFinder::m_TakeCurrent(const TSSpoken& spoken)
{
    const TJson& status = spoken.Output("status");
    if (!status.is_object() || !status.contains("slots"))
    {
        return;
    }
    for (const auto& [slot, info] : BySlot(status["slots"]))
    {
        m_At(slot);
        const std::int64_t number = info.value("slotValue", std::int64_t{-1});
        if (info.value("slotFlag", 0) != 0 && number > 0 && number <= 0xFFFFFFFF)
        {
            m_Say(slot, "manufacturerId", Hexadecimal(number >> 16, 4));
            m_Say(slot, "manufacturerCode", Hexadecimal(number & 0xFFFF, 4));
        }
    }
}

void TCCamFinder::m_TakeInfo(const TSSpoken& spoken)
{
    if (const auto slot = spoken.Slot())
    {
        m_Say(*slot, "applicationType", spoken.Output("applicationType"));
        m_Say(*slot, "menuString", spoken.Output("firstText"));
        m_Say(*slot, "manufacturerText", spoken.Output("secondText"));
    }
}

void TCCamFinder::m_TakeCaSystems(const TSSpoken& spoken)
{
    for (const auto& [slot, ids] : BySlot(spoken.Output("caSystemIds")))
    {
        if (!ids.empty())
        {
            TJson list = json::NewList();
            for (const TJson& id : ids)
            {
                list.push_back(Hexadecimal(id.get<unsigned>(), 4));
            }
            m_Say(slot, "caSystemIds", list);
        }
    }
}

void TCCamFinder::m_TakeCaPmt(const TSSpoken& spoken)
{
    if (const auto slot = spoken.Slot())
    {
        m_Serves(*slot);
        std::set<unsigned>& ids = m_Cam(*slot).pmtIds;
        for (const TJson& id : spoken.arguments["values"])
        {
            ids.insert(id.get<unsigned>());
        }
    }
}

void TCCamFinder::m_TakeSas(const TSSpoken& spoken)
{
    TJson& applications = m_AnyCam()["sasApplications"];
    const TJson& id = spoken.arguments["applicationId"];
    if (std::none_of(applications.begin(), applications.end(), [&](const TJson& known) { return known["id"] == id; }))
    {
        constexpr int SESSIONS = 16;
        applications.push_back({{"id", id}, {"maxSessions", SESSIONS}});
    }
}

void TCCamFinder::m_TakeProfileNames(const TSSpoken& spoken)
{
    for (const auto& [slot, names] : BySlot(spoken.Output("profiles")))
    {
        for (const auto& item : names.items())
        {
            m_AddProfile(slot, {{"antennaMode", item.key()}, {"name", item.value()}});
        }
    }
}

void TCCamFinder::m_TakeProfiles(const TSSpoken& spoken)
{
    for (const TJson& profile : spoken.Output("profiles"))
    {
        m_AddProfile(profile["slotId"].get<unsigned>(), {{"antennaMode", profile["antennaMode"]},
                                                         {"serviceMode", profile["serviceMode"]},
                                                         {"name", profile["profileName"]},
                                                         {"supportedAntennaModes", profile["supportedAntennaModes"]},
                                                         {"type", profile["profileType"]}});
    }
}

void TCCamFinder::m_AddProfile(unsigned slot, const TJson& profile)
{
    TJson& profiles = m_Cam(slot).cam["profiles"];
    for (TJson& known : profiles)
    {
        if (known["antennaMode"] == profile["antennaMode"])
        {
            known.update(profile);
            return;
        }
    }
    profiles.push_back(profile);
}

void TCCamFinder::m_TakeSignal(const TSSignal& signal, const TSSignalFields& fields)
{
    const unsigned slot = fields.slot;
    if (slot == NO_SLOT)
    {
        return;
    }
    const TJson told = json::SignalDataToJson(signal);
    const auto meaning = [&](const char* key) -> TJson
    { return told.contains("meaning") && told["meaning"].contains(key) ? told["meaning"][key] : TJson(); };
    switch (signal.type)
    {
    case SIGNAL_CI_CAM_READY_STATUS_CHANGED:
        if (fields.code == CAM_STATUS_READY)
        {
            m_BecomeReady(slot);
        }
        else
        {
            m_Leave(slot);
        }
        break;
    case SIGNAL_CI_CA_SYSTEMS_CHANGE:
        if (fields.value > 0)
        {
            m_Expect(slot);
            TSKnownCam& known = m_Cam(slot);
            known.caSystems = std::max<std::size_t>(known.caSystems, fields.value);
        }
        break;
    case SIGNAL_CI_CAM_MODE_CHANGED:
        m_Expect(slot);
        m_Say(slot, "mode", told["code"]);
        break;
    case SIGNAL_CI_SAC_STATUS_CHANGE:
        if (fields.code == SAC_ESTABLISHED)
        {
            m_Expect(slot);
            m_Say(slot, "mode", "CAM_MODE_CI_PLUS");
        }
        break;
    case SIGNAL_CI_CA_REPLY:
        m_Serves(slot);
        m_Say(slot, "entitlement", fields.code);
        break;
    case SIGNAL_CI_OPERATOR_PROFILE_STATUS_CHANGE:
        m_TakeProfile(slot, fields.code, meaning("antennaMode"), meaning("serviceMode"));
        break;
    case SIGNAL_CI_FILE_RETRIEVAL_MESSAGE:
        if (fields.code == CI_FILE_RETRIEVAL_NEW_FILE_SYSTEM)
        {
            TJson& fileSystems = m_Cam(slot).cam["fileSystems"];
            const TJson fileSystem = {{"domain", meaning("domain")}};
            if (std::find(fileSystems.begin(), fileSystems.end(), fileSystem) == fileSystems.end())
            {
                fileSystems.push_back(fileSystem);
            }
        }
        break;
    case SIGNAL_CI_MMI_STATUS_CHANGED:
        if (fields.code != CI_MMI_STATUS_SESSION_CLOSED)
        {
            m_Serves(slot);
        }
        break;
    case SIGNAL_CI_CAM_COMPATIBILITY_ISSUE:
    case SIGNAL_CI_CAM_MONITOR_STATUS:
    case SIGNAL_CI_SLOT_TEST_RESULT:
        break; // that says nothing about a CAM that is ready
    default:
        m_Serves(slot);
        break;
    }
}

void TCCamFinder::m_TakeProfile(unsigned slot, unsigned status, const TJson& antennaMode, const TJson& serviceMode)
{
    TJson profile = {{"antennaMode", antennaMode}, {"serviceMode", serviceMode}};
    if (status == CAM_OP_STATUS_INSTALLATION_SUCCESS && m_installedAt)
    {
        const std::int64_t ms = (m_recording.events[m_place].at - *m_installedAt) / NS_PER_MS;
        constexpr std::int64_t MOST_MS = 600'000;
        profile["installMs"] = std::clamp<std::int64_t>(ms, 1, MOST_MS);
    }
    m_AddProfile(slot, profile);
}

void TCCamFinder::m_Expect(unsigned slot)
{
    TSPlace& place = m_At(slot);
    place.isEmpty = place.isEmpty || !place.known;
}

void TCCamFinder::m_BecomeReady(unsigned slot)
{
    m_Expect(slot);
    TSKnownCam& known = m_Cam(slot);
    if (!known.stay.isFromBegin && !known.cam.contains("readyMs"))
    {
        // CA systems are known after two thirds of the time.
        constexpr std::int64_t LEAST_MS = 100;
        constexpr std::int64_t MOST_MS = 10'000;
        const std::int64_t third = (m_recording.events[m_place].at - known.firstAt) / NS_PER_MS;
        known.cam["readyMs"] = std::clamp(third / 10 * 30, LEAST_MS, MOST_MS);
    }
    m_At(slot).isReady = true;
}

void TCCamFinder::m_Leave(unsigned slot)
{
    m_Cam(slot).stay.end = m_place;
    m_places[slot] = {std::nullopt, true, false};
}
} // namespace CIM::sim
