#include "StoryFromRecording.h"

#include "CamMenus.h"
#include "Receivers.h"
#include "SetFromRecording.h"
#include "StoryNarrator.h"
#include "StoryNotes.h"
#include "StoryParts.h"
#include "Understudy.h"
#include "json/Harmless.h"
#include "json/Signals.h"

#include <algorithm>
#include <filesystem>

namespace CIM::sim
{
using json::TJson;

namespace
{
constexpr std::size_t LINE = 120;      ///< characters of what others said, at most
constexpr TTime SOON_MS = 1'000;       ///< so long what the model raises later counts as the recorded signal
constexpr std::int64_t GOING_MS = 300; ///< so long a CAM that is pulled goes on ending things

std::string Words(const TSSignal& signal)
{
    return "the set says " + json::SignalName(signal.type) + " " + json::SignalWords(signal);
}

/// Tells a recording as a story: the model answers its calls, and what it does not do by itself is done to it.
class TCTeller
{
public:
    explicit TCTeller(const TSRecording& recording)
        : m_recording(WithoutFarewell(recording)), m_set(ReadSet(m_recording)), m_model(m_set.Definition()),
          m_notes(m_set.notes), m_story(recording.calls)
    {
        for (std::size_t i = 0; i < m_recording.events.size(); ++i)
        {
            const auto signal = ReadRecordedSignal(m_recording.events[i]);
            if (signal && signal->type == SIGNAL_CI_CAM_READY_STATUS_CHANGED)
            {
                const TSSignalFields fields = UnpackSignalData(signal->data);
                m_statuses.push_back({i, fields.slot, fields.code});
            }
        }
    }

    std::string Tell()
    {
        m_Begin();
        for (m_place = 0; m_place < m_recording.events.size(); ++m_place)
        {
            const TSRecordedEvent& event = m_recording.events[m_place];
            m_model.AdvanceTo(m_begin + event.at / NS_PER_MS);
            m_story.GoTo(event.at);
            switch (event.kind)
            {
            case TSRecordedEvent::CALL:
                m_TakeCall(event.call);
                break;
            case TSRecordedEvent::SIGNAL:
                m_TakeSignal(event);
                break;
            case TSRecordedEvent::MARK:
                m_story.AddDeed("mark", json::Shortened(json::Harmless(event.mark), LINE), {}, /*isTimed=*/false);
                break;
            case TSRecordedEvent::REPLY:
                break;
            }
        }
        m_Finish();
        return m_Write();
    }

private:
    /// A signal that tells whether a slot's CAM is ready.
    struct TSStatus
    {
        std::size_t place;
        unsigned slot;
        unsigned status;
    };

    std::int64_t m_Now() const { return m_recording.events[m_place].at; }

    void m_Begin()
    {
        const TJson& inserted = m_set.json["inserted"];
        if (inserted.empty())
        {
            return;
        }
        TTime readyMs = 0;
        for (const TSCamDefinition& cam : m_set.Definition().cams)
        {
            readyMs = std::max<TTime>(readyMs, cam.readyMs);
        }
        constexpr TTime MORE_MS = 500;
        m_begin = readyMs + MORE_MS;
        m_model.AdvanceTo(m_begin);
        m_model.ForgetRaised();
        m_story.AddBegin(inserted.size() == 1 ? "the CAM is ready" : "the CAMs are ready", {{"advance", m_begin}});
    }

    // Calls

    void m_TakeCall(std::size_t index)
    {
        const TSRecordedCall& call = m_recording.calls[index];
        if (call.operation == nullptr)
        {
            m_notes.AddOnce(call.request.operation,
                            call.request.operation + " is called, which no interface of the CI daemon has: left out.");
            return;
        }
        TSSpoken spoken = ReadSpoken(call);
        if (!spoken.isReadable)
        {
            m_notes.AddOnce(call.request.operation,
                            call.request.operation + " comes with arguments that cannot be read: left out.");
            return;
        }
        m_BeforeCall(call, spoken);
        const bool isRefusedSecret = call.operation->HasSecrets() && spoken.isAnswered && !spoken.isDone;
        if (spoken.error.empty() && !isRefusedSecret) // of that nobody knows why
        {
            m_Compare(call, spoken, m_model.Call(call, m_IsRight(call, spoken)));
        }
        m_story.AddCall(call, std::move(spoken));
    }

    /// What has to be done to the set for the answer to be what it was.
    void m_BeforeCall(const TSRecordedCall& call, const TSSpoken& spoken)
    {
        if (!spoken.error.empty())
        {
            TJson fault = {{"kind", "error"},
                           {"operation", OperationOf(call)},
                           {"times", 1},
                           {"name", spoken.error},
                           {"text", spoken.errorText}};
            if (const auto slot = spoken.Slot())
            {
                fault["slot"] = *slot;
            }
            m_story.AddDeed("failing", "the daemon will not answer " + OperationOf(call), {{"fault", fault}},
                            /*isTimed=*/false);
        }
        const auto page = m_set.pages.find(m_place);
        if (page != m_set.pages.end() && !page->second.IsEnd())
        {
            m_OpenPage(page->second, "had opened");
        }
        if (const auto slot = spoken.Slot(); slot && spoken.isDone && !ReadsPage(OperationOf(call)))
        {
            const TSSlot* const found = m_model.Slot(*slot);
            if (found != nullptr && !found->HoldsCam()) // it is there, whatever its status
            {
                m_Insert(*slot, /*isReady=*/!m_ComesReady(*slot));
            }
        }
        if (IsOf(call, "ICIGeneral.GetCiSlotStatus") && spoken.isDone)
        {
            for (const auto& [slot, status] : BySlot(spoken.Output("statuses")))
            {
                const TSSlot* const found = m_model.Slot(slot);
                if (found != nullptr && status == "CAM_STATUS_READY" && !found->HoldsCam())
                {
                    m_Insert(slot, /*isReady=*/true);
                }
                else if (found != nullptr && status != "CAM_STATUS_READY" && found->IsReady() && !m_Goes(slot))
                {
                    m_Remove(slot);
                }
            }
        }
    }

    /// Whether the secret of a call was right, by what came of it.
    bool m_IsRight(const TSRecordedCall& call, const TSSpoken& spoken)
    {
        if (!call.operation->HasSecrets())
        {
            return true;
        }
        const unsigned slot = spoken.Slot().value_or(0);
        if (IsOf(call, "ICIGeneral.AnswerMmiEnquiry"))
        {
            const TSSeenPage* const shown = m_story.Shown(slot);
            const auto next = std::find_if(m_set.pages.upper_bound(m_place), m_set.pages.end(),
                                           [&](const auto& page) { return page.second.slot == slot; });
            return shown == nullptr || next == m_set.pages.end() || !IsAskedAgain(shown->page, next->second);
        }
        constexpr std::int64_t LATEST = 10'000 * NS_PER_MS;
        for (std::size_t i = m_place; i < m_recording.events.size() && m_recording.events[i].at - m_Now() < LATEST; ++i)
        {
            const auto signal = ReadRecordedSignal(m_recording.events[i]);
            if (signal && (signal->type == SIGNAL_CI_PIN_REPLY_TO_PIN_CMD ||
                           signal->type == SIGNAL_CI_PIN_REPLY_TO_CI_APP_REQUEST))
            {
                m_notes.AddOnce("pin",
                                "The PIN is covered in the recording: here it is that of the CAM, 1234 unless its "
                                "definition says something else.");
                return UnpackSignalData(signal->data).code != CAM_PIN_CODE_STATUS_BAD;
            }
        }
        return true;
    }

    void m_Compare(const TSRecordedCall& call, const TSSpoken& recorded, const TSSpoken& answered)
    {
        const std::string operation = OperationOf(call);
        if (call.isSubscription || call.isOneWay)
        {
            return;
        }
        if (!recorded.isAnswered)
        {
            m_notes.AddOnce(operation, operation + (call.reply != nullptr ? " got a reply without an answer."
                                                                          : " was not answered in the recording."));
            return;
        }
        const auto told = [](const TSSpoken& spoken) {
            return json::Shortened(json::Dump(TJson({{"result", spoken.result}, {"outputs", spoken.outputs}})), LINE);
        };
        if (recorded.result != answered.result || !json::IsSame(recorded.outputs, answered.outputs))
        {
            m_notes.AddOnce(operation, operation + " " + json::Dump(Telling(call, recorded)) + " was answered " +
                                           told(recorded) + "; this set answers " + told(answered) + ".");
        }
    }

    // Signals

    void m_TakeSignal(const TSRecordedEvent& event)
    {
        const auto signal = ReadRecordedSignal(event);
        if (!signal)
        {
            m_notes.AddOnce("signal", "There are signals that cannot be read, or that nobody knows: left out.");
            return;
        }
        if (m_receivers.IsForAnother(event, *signal))
        {
            return;
        }
        const TSSignalFields fields = UnpackSignalData(signal->data);
        const auto seen = m_set.pages.find(m_place);
        const TSSeenPage* const page = seen != m_set.pages.end() ? &seen->second : nullptr;
        const bool isMeant = m_model.Raises(*signal, SOON_MS) && (page == nullptr || m_model.Shows(*page));
        if (isMeant)
        {
            m_story.AddCauseOf(fields);
        }
        else
        {
            m_DoWhatRaises(*signal, fields, page);
        }
        if (page != nullptr)
        {
            m_AddPage(*page, *signal);
        }
        else if (signal->type == SIGNAL_CI_CAM_READY_STATUS_CHANGED && fields.code == CAM_STATUS_READY)
        {
            const TSStay* const stay = m_set.FindStay(fields.slot, m_place);
            m_story.AddSignalled("ready", "the CAM " + Quoted(stay->cam) + " is ready", *signal);
        }
    }

    void m_DoWhatRaises(const TSSignal& signal, const TSSignalFields& fields, const TSSeenPage* page)
    {
        const TSSlot* const slot = m_model.Slot(fields.slot);
        if (slot != nullptr && !slot->HoldsCam() && m_ComesReady(fields.slot))
        {
            m_Insert(fields.slot, /*isReady=*/false);
            if (m_model.Raises(signal, slot->cam.readyMs + 1))
            {
                return;
            }
        }
        if (slot != nullptr && slot->HoldsCam() && m_Goes(fields.slot))
        {
            m_Remove(fields.slot);
            if (m_model.Raises(signal, 0))
            {
                return;
            }
        }
        if (page != nullptr)
        {
            m_OpenPage(*page, "opens");
            m_model.Raises(signal, 0);
            return;
        }
        const TJson deed = DeedFor(signal);
        if (!deed.is_null() && m_Do(deed))
        {
            m_story.AddDeed("done", Words(signal), deed, /*isTimed=*/true);
            if (m_model.Raises(signal, 0))
            {
                return;
            }
        }
        m_story.AddRaised(Words(signal), RaisedDeed(signal));
    }

    // CAMs that come and go

    /// What is told next of a slot; null: nothing more.
    const TSStatus* m_NextStatus(unsigned slot) const
    {
        const auto told =
            std::find_if(m_statuses.begin(), m_statuses.end(),
                         [&](const TSStatus& status) { return status.place >= m_place && status.slot == slot; });
        return told != m_statuses.end() ? &*told : nullptr;
    }
    /// Whether the CAM of a slot goes right now, without the application's doing.
    bool m_Goes(unsigned slot) const
    {
        const TSStatus* const told = m_NextStatus(slot);
        if (told == nullptr || told->status != CAM_STATUS_NO_CAM)
        {
            return false;
        }
        const auto& events = m_recording.events;
        const auto isCause = [&](const TSRecordedEvent& event)
        {
            return event.kind == TSRecordedEvent::CALL && m_recording.calls[event.call].operation != nullptr &&
                   IsActing(m_recording.calls[event.call]);
        };
        const auto at = [&](std::size_t place) { return events.begin() + static_cast<std::ptrdiff_t>(place); };
        return events[told->place].at - m_Now() < GOING_MS * NS_PER_MS &&
               std::none_of(at(std::min(m_place + 1, told->place)), at(told->place), isCause);
    }
    /// Whether the next that is told of a slot is that its CAM is ready.
    bool m_ComesReady(unsigned slot) const
    {
        const TSStatus* const told = m_NextStatus(slot);
        return told != nullptr && told->status == CAM_STATUS_READY;
    }

    void m_Insert(unsigned slot, bool isReady)
    {
        const TSStay* const stay = m_set.FindStay(slot, m_place);
        const TJson deed = {{"insert", {{"slot", slot}, {"cam", stay != nullptr ? stay->cam : std::string()}}}};
        if (stay == nullptr || stay->begin > m_place || !m_Do(deed))
        {
            return;
        }
        m_story.AddSlotDeed(slot, "inserted",
                            "the CAM " + Quoted(stay->cam) + " is put into slot " + std::to_string(slot), deed);
        if (isReady)
        {
            const TTime readyMs = m_model.Slot(slot)->cam.readyMs + 1;
            m_story.AddTime(readyMs);
            m_begin += readyMs;
            m_model.AdvanceTo(m_model.Now() + readyMs);
            m_model.ForgetRaised();
        }
    }

    void m_Remove(unsigned slot)
    {
        const TJson deed = {{"remove", {{"slot", slot}}}};
        if (m_Do(deed))
        {
            m_story.AddSlotDeed(slot, "pulled", "the CAM in slot " + std::to_string(slot) + " is pulled", deed);
            m_pulledAt[slot] = m_Now();
        }
    }

    // Dialogues

    void m_OpenPage(const TSSeenPage& page, const std::string& opens)
    {
        const auto menu = m_set.menus.find(m_place);
        const TJson deed = menu != m_set.menus.end()
                               ? TJson({{"open-menu", {{"slot", page.slot}, {"menu", menu->second}}}})
                               : TJson({{"show-page", {{"slot", page.slot}, {"page", page.page}}}});
        const std::string says =
            page.IsEnd() ? "the CAM closes its dialogue by itself"
                         : "the CAM " + opens + " the " + page.Kind() + " " + Quoted(page.Title()) + " by itself";
        if (m_Do(deed))
        {
            m_story.AddSlotDeed(page.slot, page.IsEnd() ? "closing" : "opening", says, deed);
            if (!page.IsEnd())
            {
                m_story.Show(page);
            }
        }
    }

    void m_AddPage(const TSSeenPage& page, const TSSignal& signal)
    {
        if (!page.IsEnd())
        {
            m_story.Show(page);
            m_story.AddSignalled(
                "shown", "the CAM shows the " + page.Kind() + " " + Quoted(page.Title()) + InSlot(page.slot), signal);
            return;
        }
        const bool wasOpen = m_story.Close(page.slot);
        const auto pulled = m_pulledAt.find(page.slot);
        const bool isPulled = pulled != m_pulledAt.end() && m_Now() - pulled->second < GOING_MS * NS_PER_MS;
        if (wasOpen && !isPulled)
        {
            m_story.AddSignalled("closed", "the dialogue" + InSlot(page.slot) + " is closed", signal);
        }
    }

    bool m_Do(const TJson& deed)
    {
        try
        {
            return static_cast<bool>(m_model.Do(deed.items().begin().key(), *deed.begin()));
        }
        catch (const json::TCJsonError&)
        {
            return false; // what it stands for is no more than a number here
        }
    }

    void m_Finish()
    {
        m_story.Finish();
        for (const auto& [type, count] : m_model.Unasked())
        {
            m_notes.Add(json::SignalName(type) + " is raised by this set " +
                        (count == 1 ? "once" : std::to_string(count) + " times") + " where the recording has none.");
        }
    }

    std::string m_Write()
    {
        const std::string file =
            m_recording.file == "-" ? "standard input" : std::filesystem::path(m_recording.file).filename().string();
        const auto signals = std::count_if(m_recording.events.begin(), m_recording.events.end(),
                                           [](const auto& event) { return event.kind == TSRecordedEvent::SIGNAL; });
        std::string text = "// Made from the recording in " + json::Harmless(file) + ": " +
                           json::Harmless(m_recording.ClientsInWords()) + "; " +
                           Counted(static_cast<std::size_t>(signals), "signal") + ".\n";
        if (!m_recording.ending.empty())
        {
            m_notes.Add("The recording is not whole: " + m_recording.ending + ".");
        }
        TJson scenario = {{"name", WordFrom(std::filesystem::path(m_recording.file).stem().string(), "recording")},
                          {"description", "what the recording in " + json::Harmless(file) + " shows"},
                          {"set", m_set.json}};
        m_story.Write(scenario);
        return text + m_notes.Text() + LaidOut(scenario);
    }

    const TSRecording m_recording;
    TSRecordedSet m_set;
    TCUnderstudy m_model;
    TCStoryNotes m_notes;
    TCStoryNarrator m_story;
    TCReceivers m_receivers;
    std::size_t m_place = 0;
    TTime m_begin = 0; ///< the model's time when the recording begins
    std::vector<TSStatus> m_statuses;
    std::map<unsigned, std::int64_t> m_pulledAt;
};
} // namespace

std::string StoryOf(const TSRecording& recording) { return TCTeller(recording).Tell(); }
} // namespace CIM::sim
