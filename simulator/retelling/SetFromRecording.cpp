#include "SetFromRecording.h"

#include "CamMenus.h"
#include "simulator/definition/DefinitionJson.h"
#include "StoryParts.h"
#include "json/Signals.h"

#include <algorithm>
#include <cstdio>
#include <set>

namespace CIM::sim
{
using json::TJson;

namespace
{
/// What is known about a stay's CAM, besides its menus.
struct TSKnown
{
    TSStay stay;
    TJson cam = json::NewObject(); ///< members of its definition
    std::int64_t firstAt = 0;
    std::size_t caSystems = 0; ///< how many, where not even that tells which
    std::set<unsigned> pmtIds; ///< those of the services that it was asked to descramble
};

std::string Hexadecimal(std::uint64_t number, int digits)
{
    char text[20];
    std::snprintf(text, sizeof text, "0x%0*llX", digits, static_cast<unsigned long long>(number));
    return text;
}

std::optional<unsigned> SlotFromKey(const std::string& key)
{
    const bool isNumber = !key.empty() && key.size() <= 3 && key.find_first_not_of("0123456789") == key.npos;
    return isNumber && std::stoul(key) < NO_SLOT ? std::optional<unsigned>(std::stoul(key)) : std::nullopt;
}

/// Collects which CAMs were in which slots, and what they are.
class TCFinder
{
public:
    explicit TCFinder(const TSRecording& recording) : m_recording(recording) {}

    void Find()
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

    std::vector<TSKnown>& Known() { return m_known; }
    unsigned Slots() const { return std::max(m_slots, m_isCounted ? 1U : 2U); }
    const TJson& BackupFiles() const { return m_backupFiles; }

private:
    struct TSPlace
    {
        std::optional<std::size_t> known; ///< the CAM that is there
        bool isEmpty = false;             ///< known to be
        bool isReady = false;
    };

    TSPlace& m_At(unsigned slot)
    {
        m_slots = std::max(m_slots, slot + 1);
        return m_places[slot];
    }

    /// The CAM of a slot, about which something is said now.
    TSKnown& m_Cam(unsigned slot)
    {
        TSPlace& place = m_At(slot);
        if (!place.known)
        {
            TSKnown known;
            known.stay = {slot, m_place, m_recording.events.size(), !place.isEmpty, {}};
            known.firstAt = m_recording.events[m_place].at;
            place.known = m_known.size();
            m_known.push_back(std::move(known));
        }
        return m_known[*place.known];
    }
    /// What was said first counts.
    void m_Say(unsigned slot, const char* member, const TJson& value)
    {
        TJson& cam = m_Cam(slot).cam;
        if (!value.is_null() && !cam.contains(member))
        {
            cam[member] = value;
        }
    }

    void m_TakeCall(const TSRecordedCall& call)
    {
        struct TSReader
        {
            const char* operation;
            void (TCFinder::*read)(const TSSpoken&);
        };
        static constexpr TSReader READERS[] = {
            {"ICIGeneral.GetCiSlotStatus", &TCFinder::m_TakeStatuses},
            {"ICIGeneral.GetCamModes", &TCFinder::m_TakeModes},
            {"ICIGeneral.GetCurrentCiStatus", &TCFinder::m_TakeCurrent},
            {"ICIGeneral.GetApplicationInfo", &TCFinder::m_TakeInfo},
            {"ICIGeneral.GetCaSystemIds", &TCFinder::m_TakeCaSystems},
            {"ICIGeneral.ConnectToSasApplication", &TCFinder::m_TakeSas},
            {"ICIGeneral.SendCaPmt", &TCFinder::m_TakeCaPmt},
            {"ICIGeneral.GetPinWindowShowHandler", &TCFinder::m_TakePinHandler},
            {"ICIGeneral.GetBackupFilePaths", &TCFinder::m_TakeBackupFiles},
            {"ICIOperatorProfile.GetNotInstalledOperatorProfiles#map", &TCFinder::m_TakeProfileNames},
            {"ICIOperatorProfile.GetNotInstalledOperatorProfiles#list", &TCFinder::m_TakeProfiles},
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

    void m_Serves(unsigned slot)
    {
        m_Cam(slot);
        m_At(slot).isReady = true;
    }

    /// The CAM that answers what is asked of no certain one.
    TJson& m_AnyCam()
    {
        const auto ready =
            std::find_if(m_places.begin(), m_places.end(), [](const auto& place) { return place.second.isReady; });
        const unsigned slot = ready != m_places.end() ? ready->first : 0;
        m_Serves(slot);
        return m_Cam(slot).cam;
    }

    template <class Visit>
    void m_ForEachSlot(const TJson& map, Visit visit)
    {
        for (const auto& item : map.items())
        {
            if (const auto slot = SlotFromKey(item.key()))
            {
                visit(*slot, item.value());
            }
        }
    }

    void m_TakeStatuses(const TSSpoken& spoken)
    {
        m_isCounted = m_isCounted || spoken.arguments.value("selection", 1U) == 0;
        m_ForEachSlot(spoken.Output("statuses"),
                      [&](unsigned slot, const TJson& status)
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
                      });
    }
    void m_TakeModes(const TSSpoken& spoken)
    {
        m_ForEachSlot(spoken.Output("modes"), [&](unsigned slot, const TJson& mode) { m_Say(slot, "mode", mode); });
    }
    void m_TakeCurrent(const TSSpoken& spoken)
    {
        const TJson& status = spoken.Output("status");
        if (!status.is_object() || !status.contains("slots"))
        {
            return;
        }
        m_ForEachSlot(status["slots"],
                      [&](unsigned slot, const TJson& info)
                      {
                          m_At(slot);
                          const std::int64_t number = info.value("slotValue", std::int64_t{-1});
                          if (info.value("slotFlag", 0) != 0 && number > 0 && number <= 0xFFFFFFFF)
                          {
                              m_Say(slot, "manufacturerId", Hexadecimal(number >> 16, 4));
                              m_Say(slot, "manufacturerCode", Hexadecimal(number & 0xFFFF, 4));
                          }
                      });
    }
    void m_TakeInfo(const TSSpoken& spoken)
    {
        if (const auto slot = spoken.Slot())
        {
            m_Say(*slot, "applicationType", spoken.Output("applicationType"));
            m_Say(*slot, "menuString", spoken.Output("firstText"));
            m_Say(*slot, "manufacturerText", spoken.Output("secondText"));
        }
    }
    void m_TakeCaSystems(const TSSpoken& spoken)
    {
        m_ForEachSlot(spoken.Output("caSystemIds"),
                      [&](unsigned slot, const TJson& ids)
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
                      });
    }
    void m_TakeCaPmt(const TSSpoken& spoken)
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
    void m_TakeSas(const TSSpoken& spoken)
    {
        TJson& applications = m_AnyCam()["sasApplications"];
        const TJson& id = spoken.arguments["applicationId"];
        if (std::none_of(applications.begin(), applications.end(),
                         [&](const TJson& known) { return known["id"] == id; }))
        {
            constexpr int SESSIONS = 16;
            applications.push_back({{"id", id}, {"maxSessions", SESSIONS}});
        }
    }
    void m_TakePinHandler(const TSSpoken& spoken) { m_AnyCam()["pin"]["handler"] = spoken.Output("handler"); }
    void m_TakeBackupFiles(const TSSpoken& spoken) { m_backupFiles = spoken.Output("paths"); }
    void m_TakeProfileNames(const TSSpoken& spoken)
    {
        m_ForEachSlot(spoken.Output("profiles"),
                      [&](unsigned slot, const TJson& names)
                      {
                          for (const auto& item : names.items())
                          {
                              m_AddProfile(slot, {{"antennaMode", item.key()}, {"name", item.value()}});
                          }
                      });
    }
    void m_TakeProfiles(const TSSpoken& spoken)
    {
        for (const TJson& profile : spoken.Output("profiles"))
        {
            m_AddProfile(profile["slotId"].get<unsigned>(),
                         {{"antennaMode", profile["antennaMode"]},
                          {"serviceMode", profile["serviceMode"]},
                          {"name", profile["profileName"]},
                          {"supportedAntennaModes", profile["supportedAntennaModes"]},
                          {"type", profile["profileType"]}});
        }
    }
    /// What was said before about the profile of an antenna mode is added to.
    void m_AddProfile(unsigned slot, const TJson& profile)
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

    void m_TakeSignal(const TSSignal& signal, const TSSignalFields& fields)
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
                TSKnown& known = m_Cam(slot);
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

    void m_TakeProfile(unsigned slot, unsigned status, const TJson& antennaMode, const TJson& serviceMode)
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

    /// A CAM announces itself: unless one is known to be there, the slot was empty.
    void m_Expect(unsigned slot)
    {
        TSPlace& place = m_At(slot);
        place.isEmpty = place.isEmpty || !place.known;
    }
    void m_BecomeReady(unsigned slot)
    {
        m_Expect(slot);
        TSKnown& known = m_Cam(slot);
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
    void m_Leave(unsigned slot)
    {
        m_Cam(slot).stay.end = m_place;
        m_places[slot] = {std::nullopt, true, false};
    }

    const TSRecording& m_recording;
    std::size_t m_place = 0;
    std::map<unsigned, TSPlace> m_places;
    std::vector<TSKnown> m_known;
    unsigned m_slots = 0;
    bool m_isCounted = false;                  ///< all slots were asked for
    std::optional<std::int64_t> m_installedAt; ///< the installation of an operator profile began
    TJson m_backupFiles = json::NewList();
};

/// Whether what is known about two CAMs goes together.
bool MayBeOne(const TJson& one, const TJson& other)
{
    for (const char* const member : {"mode", "applicationType", "menuString", "manufacturerText", "manufacturerId"})
    {
        if (one.contains(member) && other.contains(member) && one[member] != other[member])
        {
            return false;
        }
    }
    return true;
}

/// The CAMs of all stays: one that comes back is the same as long as nothing contradicts it.
class TCCams
{
public:
    TCCams(std::vector<TSKnown>& known, std::vector<std::string>& notes)
    {
        for (TSKnown& each : known)
        {
            TSCam& cam = m_CamFor(each);
            each.cam.update(cam.json); // what was said first counts
            cam.json = each.cam;
            cam.caSystems = std::max(cam.caSystems, each.caSystems);
            cam.pmtIds.insert(each.pmtIds.begin(), each.pmtIds.end());
            each.stay.cam = cam.name;
        }
        for (TSCam& cam : m_cams)
        {
            if (cam.json.contains("caSystemIds") || (cam.caSystems == 0 && cam.pmtIds.empty()))
            {
                continue;
            }
            for (unsigned id = 1; cam.pmtIds.size() < std::min<std::size_t>(cam.caSystems, 0xFF); ++id)
            {
                cam.pmtIds.insert(id);
            }
            for (const unsigned id : cam.pmtIds)
            {
                cam.json["caSystemIds"].push_back(Hexadecimal(id, 4));
            }
            notes.push_back("No application asked for the CA systems of the CAM \"" + cam.name +
                            "\": their ids here are those that it was asked to descramble, or made up.");
        }
    }

    TCCamMenus& MenusOf(const std::string& name)
    {
        return std::find_if(m_cams.begin(), m_cams.end(), [&](const TSCam& cam) { return cam.name == name; })->menus;
    }

    void SayMmiMs(const std::string& name, std::int64_t ms)
    {
        TSCam& cam = *std::find_if(m_cams.begin(), m_cams.end(), [&](const TSCam& each) { return each.name == name; });
        if (!cam.json.contains("mmiMs"))
        {
            cam.json["mmiMs"] = ms;
        }
    }

    TJson Define(std::vector<std::string>& notes)
    {
        TJson cams = json::NewList();
        for (TSCam& cam : m_cams)
        {
            TJson json = {{"name", cam.name}};
            json.update(cam.json);
            cam.menus.Define(json, notes);
            cams.push_back(std::move(json));
        }
        return cams;
    }

private:
    struct TSCam
    {
        std::string name;
        unsigned slot;
        TJson json;
        std::size_t caSystems = 0;
        std::set<unsigned> pmtIds{};
        TCCamMenus menus{};
    };

    TSCam& m_CamFor(const TSKnown& known)
    {
        const auto same = std::find_if(m_cams.begin(), m_cams.end(),
                                       [&](const TSCam& cam)
                                       { return cam.slot == known.stay.slot && MayBeOne(cam.json, known.cam); });
        if (same != m_cams.end())
        {
            return *same;
        }
        const std::string word = known.cam.contains("menuString") ? WordFrom(known.cam["menuString"], "cam") : "cam";
        std::string name = word;
        const auto isTaken = [&]
        { return std::any_of(m_cams.begin(), m_cams.end(), [&](const TSCam& cam) { return cam.name == name; }); };
        for (int number = 2; isTaken(); ++number)
        {
            name = word + "-" + std::to_string(number);
        }
        m_cams.push_back({name, known.stay.slot, json::NewObject()});
        return m_cams.back();
    }

    std::vector<TSCam> m_cams;
};

/// Leads the menus of the CAMs through the recording.
class TCMenuWalk
{
public:
    TCMenuWalk(const TSRecording& recording, TSRecordedSet& set, TCCams& cams)
        : m_recording(recording), m_set(set), m_cams(cams)
    {
    }

    void Walk()
    {
        for (std::size_t i = 0; i < m_recording.events.size(); ++i)
        {
            const TSRecordedEvent& event = m_recording.events[i];
            if (event.kind == TSRecordedEvent::CALL)
            {
                m_TakeCall(i, m_recording.calls[event.call]);
            }
            else if (const auto signal = ReadRecordedSignal(event); signal && signal->type == SIGNAL_CI_CA_REPLY)
            {
                m_refusedAt = UnpackSignalData(signal->data).code == CA_REPLY_NOT_POSSIBLE_NO_ENTITLEMENT
                                  ? std::optional(event.at)
                                  : std::nullopt;
            }
            const auto seen = m_set.pages.find(i);
            if (seen != m_set.pages.end())
            {
                m_Show(i, seen->second);
            }
        }
    }

private:
    TCCamMenus* m_MenusAt(unsigned slot, std::size_t place)
    {
        const TSStay* const stay = m_set.FindStay(slot, place);
        return stay != nullptr ? &m_cams.MenusOf(stay->cam) : nullptr;
    }

    void m_TakeCall(std::size_t place, const TSRecordedCall& call)
    {
        const bool isEnter = IsOf(call, "ICIGeneral.EnterMenu");
        const bool isChoice = IsOf(call, "ICIGeneral.AnswerMmiMenu");
        if (!isEnter && !isChoice && !IsOf(call, "ICIGeneral.AnswerMmiEnquiry"))
        {
            return;
        }
        const TSSpoken spoken = ReadSpoken(call);
        TCCamMenus* const menus = spoken.isDone && spoken.Slot() ? m_MenusAt(*spoken.Slot(), place) : nullptr;
        if (menus == nullptr)
        {
            return;
        }
        if (isEnter)
        {
            menus->Enter();
            m_enteredAt[*spoken.Slot()] = m_recording.events[place].at;
        }
        else if (isChoice)
        {
            menus->Choose(spoken.arguments["choice"].get<unsigned>());
        }
        else
        {
            menus->AnswerEnquiry(spoken.arguments["answerId"] == "MMI_ANSWER_ID_CANCEL");
        }
    }

    void m_Show(std::size_t place, const TSSeenPage& seen)
    {
        TCCamMenus* const menus = m_MenusAt(seen.slot, place);
        if (menus == nullptr)
        {
            return;
        }
        const std::int64_t at = m_recording.events[place].at;
        constexpr std::int64_t SOON = 1'000 * NS_PER_MS;
        const std::string name = menus->Show(seen, m_refusedAt && at - *m_refusedAt < SOON);
        if (!name.empty())
        {
            m_set.menus[place] = name;
            m_refusedAt.reset();
        }
        else if (const auto entered = m_enteredAt.find(seen.slot); entered != m_enteredAt.end())
        {
            // A CAM that takes its time does so again; what the simulator's takes need not be said.
            constexpr std::int64_t USUAL_MS = 100;
            constexpr std::int64_t MOST_MS = 10'000;
            const std::int64_t ms = (at - entered->second) / NS_PER_MS;
            if (ms > USUAL_MS)
            {
                m_cams.SayMmiMs(m_set.FindStay(seen.slot, place)->cam, std::min(ms, MOST_MS));
            }
        }
        m_enteredAt.erase(seen.slot);
    }

    const TSRecording& m_recording;
    TSRecordedSet& m_set;
    TCCams& m_cams;
    std::map<unsigned, std::int64_t> m_enteredAt;
    std::optional<std::int64_t> m_refusedAt; ///< the CAM has refused a service
};
} // namespace

TSSetDefinition TSRecordedSet::Definition() const { return json::FromJson<TSSetDefinition>(json); }

const TSStay* TSRecordedSet::FindStay(unsigned slot, std::size_t event) const
{
    const auto found = std::find_if(stays.begin(), stays.end(),
                                    [&](const TSStay& stay) { return stay.slot == slot && stay.end >= event; });
    return found != stays.end() ? &*found : nullptr;
}

TSRecordedSet ReadSet(const TSRecording& recording)
{
    TSRecordedSet set;
    TCFinder finder(recording);
    finder.Find();
    TCCams cams(finder.Known(), set.notes);
    TJson inserted = json::NewObject();
    for (const TSKnown& known : finder.Known())
    {
        set.stays.push_back(known.stay);
        if (known.stay.isFromBegin)
        {
            inserted[std::to_string(known.stay.slot)] = known.stay.cam;
        }
    }
    set.pages = SeenPages(recording);
    TCMenuWalk(recording, set, cams).Walk();
    const auto unread = std::count_if(set.pages.begin(), set.pages.end(),
                                      [](const auto& page) { return !page.second.isRead && !page.second.IsEnd(); });
    if (unread > 0)
    {
        set.notes.push_back(std::to_string(unread) + (unread == 1 ? " page of a CAM was" : " pages of CAMs were") +
                            " announced but never read: it stands here as an alike one that was, or as \"?\".");
    }
    set.json = {{"slots", finder.Slots()}, {"cams", cams.Define(set.notes)}, {"inserted", inserted}};
    if (!finder.BackupFiles().empty())
    {
        set.json["backupFiles"] = finder.BackupFiles();
    }
    return set;
}

TSSetDefinition SetOf(const TSRecording& recording) { return ReadSet(recording).Definition(); }
} // namespace CIM::sim
