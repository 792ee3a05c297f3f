#include "StoryFromRecording.h"

#include "CamMenus.h"
#include "SetFromRecording.h"
#include "StoryEvents.h"
#include "StoryParts.h"
#include "Understudy.h"
#include "json/Harmless.h"
#include "json/Signals.h"

#include <ciapi/CIEnumNames.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace CIM::sim
{
using json::TJson;

namespace
{
constexpr TTime SOON_MS = 1'000;           ///< so long what the model raises later counts as the recorded signal
constexpr std::int64_t GOING_MS = 300;     ///< so long a CAM that is pulled goes on ending things
constexpr std::int64_t LONGEST_MS = 5'000; ///< what the set does by itself comes no later in the story
constexpr unsigned POLLED = 6;             ///< a question that comes more often is asked all the time
constexpr unsigned MOST_ALIKE = 3;         ///< expectations of one call
constexpr std::size_t MOST_NOTES = 40;

std::string InSlot(unsigned slot) { return slot == 0 ? "" : " of slot " + std::to_string(slot); }

/// Tells a recording as a story: the model answers its calls, and what it does not do by itself is done to it.
class TCTeller
{
public:
    explicit TCTeller(const TSRecording& recording)
        : m_recording(WithoutFarewell(recording)), m_set(ReadSet(m_recording)), m_model(m_set.Definition())
    {
        for (const TSRecordedCall& call : recording.calls)
        {
            ++m_counts[call.request.text];
        }
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
            switch (event.kind)
            {
            case TSRecordedEvent::CALL:
                m_TakeCall(event.call);
                break;
            case TSRecordedEvent::SIGNAL:
                m_TakeSignal(event);
                break;
            case TSRecordedEvent::MARK:
                m_AddDeed("mark", Short(json::Harmless(event.mark)), {}, /*isTimed=*/false);
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
    /// A call that no event of the story is about yet.
    struct TSWaiting
    {
        std::size_t call;
        std::int64_t at;
        TSSpoken spoken;
    };

    const TSRecordedCall& m_Call(const TSWaiting& waiting) const { return m_recording.calls[waiting.call]; }
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
        m_events.Add("begun", inserted.size() == 1 ? "the CAM is ready" : "the CAMs are ready", {},
                     TJson::array({{{"advance", m_begin}}}));
    }

    // Calls

    void m_TakeCall(std::size_t index)
    {
        const TSRecordedCall& call = m_recording.calls[index];
        if (call.operation == nullptr)
        {
            m_NoteOnce(call.request.operation,
                       call.request.operation + " is called, which no interface of the CI daemon has: left out.");
            return;
        }
        TSSpoken spoken = ReadSpoken(call);
        if (!spoken.isReadable)
        {
            m_NoteOnce(call.request.operation,
                       call.request.operation + " comes with arguments that cannot be read: left out.");
            return;
        }
        m_BeforeCall(call, spoken);
        const bool isRefusedSecret = call.operation->HasSecrets() && spoken.isAnswered && !spoken.isDone;
        if (spoken.error.empty() && !isRefusedSecret) // of that nobody knows why
        {
            m_Compare(call, spoken, m_model.Call(call, m_IsRight(call, spoken)));
        }
        m_waiting.push_back({index, m_Now(), std::move(spoken)});
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
            m_AddDeed("failing", "the daemon will not answer " + OperationOf(call), {{"fault", fault}},
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
            for (const auto& status : spoken.Output("statuses").items())
            {
                const auto slot = static_cast<unsigned>(std::stoul(status.key()));
                const TSSlot* const found = m_model.Slot(slot);
                if (found != nullptr && status.value() == "CAM_STATUS_READY" && !found->HoldsCam())
                {
                    m_Insert(slot, /*isReady=*/true);
                }
                else if (found != nullptr && status.value() != "CAM_STATUS_READY" && found->IsReady() && !m_Goes(slot))
                {
                    m_Remove(slot);
                }
            }
        }
    }

    /// Whether the secret of a call was right, by what came of it.
    bool m_IsRight(const TSRecordedCall& call, const TSSpoken& spoken) const
    {
        if (!call.operation->HasSecrets())
        {
            return true;
        }
        const unsigned slot = spoken.Slot().value_or(0);
        if (IsOf(call, "ICIGeneral.AnswerMmiEnquiry"))
        {
            const auto shown = m_shown.find(slot);
            const auto next = std::find_if(m_set.pages.upper_bound(m_place), m_set.pages.end(),
                                           [&](const auto& page) { return page.second.slot == slot; });
            return shown == m_shown.end() || next == m_set.pages.end() ||
                   !IsAskedAgain(shown->second.page, next->second);
        }
        constexpr std::int64_t LATEST = 10'000 * NS_PER_MS;
        for (std::size_t i = m_place; i < m_recording.events.size() && m_recording.events[i].at - m_Now() < LATEST; ++i)
        {
            const auto signal = ReadRecordedSignal(m_recording.events[i]);
            if (signal && (signal->type == SIGNAL_CI_PIN_REPLY_TO_PIN_CMD ||
                           signal->type == SIGNAL_CI_PIN_REPLY_TO_CI_APP_REQUEST))
            {
                m_NoteOnce("pin", "The PIN is covered in the recording: here it is that of the CAM, 1234 unless its "
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
            m_NoteOnce(operation, operation + (call.reply != nullptr ? " got a reply without an answer."
                                                                     : " was not answered in the recording."));
            return;
        }
        const auto told = [](const TSSpoken& spoken) {
            return Short(json::Dump(TJson({{"result", spoken.result}, {"outputs", spoken.outputs}})));
        };
        if (recorded.result != answered.result || !json::IsSame(recorded.outputs, answered.outputs))
        {
            m_NoteOnce(operation, operation + " " + json::Dump(Telling(call, recorded)) + " was answered " +
                                      told(recorded) + "; this set answers " + told(answered) + ".");
        }
    }

    // Signals

    void m_TakeSignal(const TSRecordedEvent& event)
    {
        const auto signal = ReadRecordedSignal(event);
        if (!signal)
        {
            m_NoteOnce("signal", "There are signals that cannot be read, or that nobody knows: left out.");
            return;
        }
        if (m_IsForAnother(event, *signal))
        {
            return;
        }
        const TSSignalFields fields = UnpackSignalData(signal->data);
        const auto seen = m_set.pages.find(m_place);
        const TSSeenPage* const page = seen != m_set.pages.end() ? &seen->second : nullptr;
        const bool isMeant = m_model.Raises(*signal, SOON_MS) && (page == nullptr || m_model.Shows(*page));
        if (isMeant)
        {
            m_AddCauseOf(fields);
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
            m_AddSignalled("ready", "the CAM " + Quoted(stay->cam) + " is ready", *signal);
        }
    }

    /// A daemon may send each subscriber a signal of its own: once is enough.
    bool m_IsForAnother(const TSRecordedEvent& event, const TSSignal& signal)
    {
        const char* const to = dbus_message_get_destination(event.signal.get());
        if (to == nullptr)
        {
            return false;
        }
        constexpr std::int64_t TOGETHER = 50 * NS_PER_MS;
        const bool isSame = m_sentTo && event.at - m_sentAt < TOGETHER && m_sentTo->type == signal.type &&
                            m_sentTo->handle == signal.handle && m_sentTo->profile == signal.profile &&
                            std::memcmp(&m_sentTo->data, &signal.data, sizeof signal.data) == 0;
        if (isSame && m_receivers.insert(to).second)
        {
            return true;
        }
        m_sentTo = signal;
        m_sentAt = event.at;
        m_receivers = {to};
        return false;
    }

    /// The call that a signal answers becomes an event, unless it is one.
    void m_AddCauseOf(const TSSignalFields& fields)
    {
        for (std::size_t i = m_waiting.size(); i-- > 0;)
        {
            const TSWaiting& waiting = m_waiting[i];
            const auto slot = waiting.spoken.Slot();
            const bool isCause = waiting.spoken.error.empty() && IsActing(m_Call(waiting)) &&
                                 (!slot || fields.slot == NO_SLOT || slot == fields.slot);
            if (isCause)
            {
                m_AddCall(i);
                return;
            }
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
            m_AddDeed("done", m_Words(signal), deed, /*isTimed=*/true);
            if (m_model.Raises(signal, 0))
            {
                return;
            }
        }
        m_AddRaised(signal);
    }

    std::string m_Words(const TSSignal& signal) const
    {
        return "the set says " + json::SignalName(signal.type) + " " + json::SignalWords(signal);
    }

    void m_AddRaised(const TSSignal& signal)
    {
        const TJson deed = RaisedDeed(signal);
        constexpr std::int64_t TOGETHER = 50 * NS_PER_MS;
        if (m_isRaised && m_waiting.empty() && m_Now() - m_at < TOGETHER)
        {
            m_events.AddDeed(deed);
            return;
        }
        m_AddDeed("raised", m_Words(signal), deed, /*isTimed=*/true);
        m_isRaised = true;
    }

    // CAMs that come and go

    /// Whether the CAM of a slot goes right now, without the application's doing.
    bool m_Goes(unsigned slot) const
    {
        const auto told =
            std::find_if(m_statuses.begin(), m_statuses.end(),
                         [&](const TSStatus& status) { return status.place >= m_place && status.slot == slot; });
        if (told == m_statuses.end() || told->status != CAM_STATUS_NO_CAM)
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
        const auto told =
            std::find_if(m_statuses.begin(), m_statuses.end(),
                         [&](const TSStatus& status) { return status.place >= m_place && status.slot == slot; });
        return told != m_statuses.end() && told->status == CAM_STATUS_READY;
    }

    void m_Insert(unsigned slot, bool isReady)
    {
        const TSStay* const stay = m_set.FindStay(slot, m_place);
        const TJson deed = {{"insert", {{"slot", slot}, {"cam", stay != nullptr ? stay->cam : std::string()}}}};
        if (stay == nullptr || stay->begin > m_place || !m_Do(deed))
        {
            return;
        }
        m_AddSlotDeed(slot, "inserted", "the CAM " + Quoted(stay->cam) + " is put into slot " + std::to_string(slot),
                      deed);
        if (isReady)
        {
            const TTime readyMs = m_model.Slot(slot)->cam.readyMs + 1;
            m_events.AddDeed({{"advance", readyMs}});
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
            m_AddSlotDeed(slot, "pulled", "the CAM in slot " + std::to_string(slot) + " is pulled", deed);
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
            m_AddSlotDeed(page.slot, page.IsEnd() ? "closing" : "opening", says, deed);
            if (!page.IsEnd())
            {
                m_shown[page.slot] = page;
            }
        }
    }

    void m_AddPage(const TSSeenPage& page, const TSSignal& signal)
    {
        const bool isOpen = m_shown.count(page.slot) > 0;
        if (!page.IsEnd())
        {
            m_shown[page.slot] = page;
            m_AddSignalled("shown", "the CAM shows the " + page.Kind() + " " + Quoted(page.Title()) + InSlot(page.slot),
                           signal);
            return;
        }
        m_shown.erase(page.slot);
        const auto pulled = m_pulledAt.find(page.slot);
        const bool isPulled = pulled != m_pulledAt.end() && m_Now() - pulled->second < GOING_MS * NS_PER_MS;
        if (isOpen && !isPulled)
        {
            m_AddSignalled("closed", "the dialogue" + InSlot(page.slot) + " is closed", signal);
        }
    }

    // Events of the story

    std::optional<std::size_t> m_Last() const
    {
        return m_events.IsEmpty() ? std::nullopt : std::optional(m_events.Size() - 1);
    }

    void m_Happened(std::int64_t at)
    {
        m_at = at;
        m_isRaised = false;
    }

    void m_AddCall(std::size_t index)
    {
        const TSWaiting cause = m_waiting[index];
        const TSRecordedCall& call = m_Call(cause);
        const std::string operation = OperationOf(call);
        const auto slot = cause.spoken.Slot();
        TJson called = Pattern(call, cause.spoken);
        const auto since =
            IsMmi(operation) && slot ? m_FindEvent(m_slotEvents, *slot) : m_FindEvent(m_callEvents, call.request.text);
        if (since)
        {
            called["since"] = m_events.NameOf(*since);
        }
        const auto before = m_Last();
        const auto [word, says] = m_WordsFor(operation, cause.spoken);
        const std::size_t event = m_events.Add(word, says, {{"called", called}}, json::NewList());
        m_Expect(before, index, event);
        m_waiting.erase(m_waiting.begin(), m_waiting.begin() + static_cast<std::ptrdiff_t>(index) + 1);
        m_callEvents[call.request.text] = event;
        if (IsMmi(operation) && slot)
        {
            m_slotEvents[*slot] = event;
        }
        const std::int64_t gapMs = (cause.at - m_at) / NS_PER_MS;
        if (gapMs > LONGEST_MS)
        {
            m_events.WaitFor(static_cast<unsigned>((gapMs + 2 * LONGEST_MS) / 1'000 * 1'000));
        }
        m_Happened(cause.at);
    }

    template <class Map>
    static std::optional<std::size_t> m_FindEvent(const Map& events, const typename Map::key_type& key)
    {
        const auto found = events.find(key);
        return found != events.end() ? std::optional(found->second) : std::nullopt;
    }

    /// A word and a sentence for a call that leads to something.
    std::pair<std::string, std::string> m_WordsFor(const std::string& operation, const TSSpoken& spoken) const
    {
        const unsigned slot = spoken.Slot().value_or(0);
        if (operation == "ICIGeneral.EnterMenu")
        {
            return {"opened", "the viewer opens the menu" + InSlot(slot)};
        }
        if (operation == "ICIGeneral.CloseMmi")
        {
            return {"left", "the viewer closes the dialogue" + InSlot(slot)};
        }
        if (operation == "ICIGeneral.AnswerMmiEnquiry")
        {
            const bool isCancelled = spoken.arguments["answerId"] == "MMI_ANSWER_ID_CANCEL";
            return {isCancelled ? "cancelled" : "answered",
                    isCancelled ? "the viewer gives no answer" : "the viewer answers"};
        }
        if (operation == "ICIGeneral.AnswerMmiMenu")
        {
            const std::size_t choice = spoken.arguments["choice"].get<std::size_t>();
            const auto shown = m_shown.find(slot);
            const bool isEntry = choice > 0 && shown != m_shown.end() && shown->second.Kind() == "menu" &&
                                 choice <= shown->second.page["entries"].size();
            return isEntry
                       ? std::pair("chosen", "the viewer chooses " + Quoted(shown->second.page["entries"][choice - 1]))
                       : std::pair("back", std::string("the viewer goes back"));
        }
        return {"called", "the application calls " + operation};
    }

    /// Adds what happens without the application's doing; it waits for the calls that came before.
    /// \param[in] isTimed  it waits for its time, too
    std::size_t m_AddDeed(const std::string& word, const std::string& says, const TJson& deed, bool isTimed)
    {
        TJson when = json::NewObject();
        const auto last = m_Last();
        const auto answered = std::find_if(m_waiting.rbegin(), m_waiting.rend(),
                                           [&](const TSWaiting& waiting) { return !m_IsPolled(m_Call(waiting)); });
        if (answered != m_waiting.rend())
        {
            const TSRecordedCall& call = m_Call(*answered);
            when["called"] = Pattern(call, answered->spoken);
            if (last && m_counts[call.request.text] > 1)
            {
                when["called"]["since"] = m_events.NameOf(*last);
            }
        }
        const std::int64_t gapMs = (m_Now() - m_at) / NS_PER_MS;
        constexpr std::int64_t SHORTEST_MS = 20;
        if (isTimed && gapMs >= SHORTEST_MS && last)
        {
            when["after"] = std::min(gapMs, LONGEST_MS);
        }
        const std::string later =
            isTimed && gapMs > LONGEST_MS ? " (" + std::to_string(gapMs / 1'000) + " s later in the recording)" : "";
        const std::size_t event =
            m_events.Add(word, says + later, when, deed.empty() ? json::NewList() : TJson::array({deed}));
        m_Expect(last, m_waiting.size(), std::nullopt);
        m_waiting.clear();
        m_Happened(m_Now());
        return event;
    }

    void m_AddSlotDeed(unsigned slot, const std::string& word, const std::string& says, const TJson& deed)
    {
        m_slotEvents[slot] = m_raisedSince[slot] = m_AddDeed(word, says, deed, /*isTimed=*/true);
    }

    /// Adds that a signal was raised.
    void m_AddSignalled(const std::string& word, const std::string& says, const TSSignal& signal)
    {
        const TSSignalFields fields = UnpackSignalData(signal.data);
        TJson signalled = {{"signal", json::SignalName(signal.type)},
                           {"slot", fields.slot},
                           {"code", json::SignalDataToJson(signal)["code"]}};
        if (const auto since = m_FindEvent(m_raisedSince, fields.slot))
        {
            signalled["since"] = m_events.NameOf(*since);
        }
        const auto last = m_Last();
        const std::size_t event = m_events.Add(word, says, {{"signalled", signalled}}, json::NewList());
        m_Expect(last, m_waiting.size(), std::nullopt);
        m_waiting.clear();
        m_slotEvents[fields.slot] = m_raisedSince[fields.slot] = event;
        m_Happened(m_Now());
    }

    bool m_IsPolled(const TSRecordedCall& call) const
    {
        const auto count = m_counts.find(call.request.text);
        return count->second > POLLED && !IsActing(call) && !ReadsPage(OperationOf(call));
    }

    /// Expects the first of the calls that wait, between two events.
    void m_Expect(std::optional<std::size_t> after, std::size_t count, std::optional<std::size_t> before)
    {
        std::set<std::string> texts;
        for (std::size_t i = 0; i < count; ++i)
        {
            const TSWaiting& waiting = m_waiting[i];
            const TSRecordedCall& call = m_Call(waiting);
            const bool isPage = ReadsPage(OperationOf(call));
            const unsigned most = m_IsPolled(call) ? 1 : MOST_ALIKE;
            if (!texts.insert(call.request.text).second || (!isPage && m_expected[call.request.text]++ >= most))
            {
                continue;
            }
            m_events.Expect(m_SaysFor(call, waiting.spoken), Pattern(call, waiting.spoken), after,
                            isPage && before && waiting.spoken.isDone ? before : std::nullopt);
        }
    }

    static std::string m_SaysFor(const TSRecordedCall& call, const TSSpoken& spoken)
    {
        if (ReadsPage(OperationOf(call)))
        {
            return "the page is read";
        }
        if (IsOf(call, "ICISignalSubscriber.Subscribe"))
        {
            return "the application listens for " + json::WordOf(spoken.arguments["signalType"]);
        }
        return "the application calls " + OperationOf(call);
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
        if (m_events.IsEmpty())
        {
            const TJson when = m_waiting.empty()
                                   ? json::NewObject()
                                   : TJson({{"called", Pattern(m_Call(m_waiting.front()), m_waiting.front().spoken)}});
            m_events.Add("begun", "the application is there", when, json::NewList());
        }
        if (m_waiting.empty())
        {
            constexpr int NOTICING_MS = 300;
            m_events.Add("noticed", "the application has had time to see it", {{"after", NOTICING_MS}},
                         json::NewList());
        }
        m_Expect(m_Last(), m_waiting.size(), std::nullopt);
        for (const auto& [type, count] : m_model.Unasked())
        {
            m_notes.push_back(json::SignalName(type) + " is raised by this set " +
                              (count == 1 ? "once" : std::to_string(count) + " times") +
                              " where the recording has none.");
        }
    }

    void m_NoteOnce(const std::string& about, const std::string& note) const
    {
        if (m_noted.insert(about).second)
        {
            m_notes.push_back(note);
        }
    }

    std::string m_Write()
    {
        const std::string file =
            m_recording.file == "-" ? "standard input" : std::filesystem::path(m_recording.file).filename().string();
        const auto signals = std::count_if(m_recording.events.begin(), m_recording.events.end(),
                                           [](const auto& event) { return event.kind == TSRecordedEvent::SIGNAL; });
        std::string text = "// Made from the recording in " + json::Harmless(file) + ": " +
                           json::Harmless(m_recording.ClientsInWords()) + "; " + std::to_string(signals) +
                           (signals == 1 ? " signal" : " signals") + ".\n";
        if (!m_recording.ending.empty())
        {
            m_notes.push_back("The recording is not whole: " + m_recording.ending + ".");
        }
        m_notes.insert(m_notes.begin(), m_set.notes.begin(), m_set.notes.end());
        for (std::size_t i = 0; i < std::min(m_notes.size(), MOST_NOTES); ++i)
        {
            text += "// " + json::Harmless(m_notes[i]) + "\n";
        }
        if (m_notes.size() > MOST_NOTES)
        {
            text += "// And " + std::to_string(m_notes.size() - MOST_NOTES) + " things more.\n";
        }
        TJson scenario = {{"name", WordFrom(std::filesystem::path(m_recording.file).stem().string(), "recording")},
                          {"description", "what the recording in " + json::Harmless(file) + " shows"},
                          {"set", m_set.json}};
        m_events.Write(scenario);
        return text + LaidOut(scenario);
    }

    const TSRecording m_recording;
    TSRecordedSet m_set;
    TCUnderstudy m_model;
    TCStoryEvents m_events;
    std::size_t m_place = 0;
    TTime m_begin = 0; ///< the model's time when the recording begins
    std::map<std::string, unsigned> m_counts;
    std::map<std::string, unsigned> m_expected;
    std::vector<TSStatus> m_statuses;
    std::vector<TSWaiting> m_waiting;
    std::map<unsigned, TSSeenPage> m_shown;
    std::map<unsigned, std::int64_t> m_pulledAt;
    std::map<unsigned, std::size_t> m_slotEvents;  ///< the last event about a slot's CAM or its dialogue
    std::map<unsigned, std::size_t> m_raisedSince; ///< ... but for the application's calls: signals count from there
    std::map<std::string, std::size_t> m_callEvents;
    std::int64_t m_at = 0; ///< when the last event was recorded
    bool m_isRaised = false;
    std::optional<TSSignal> m_sentTo; ///< the last signal that was for one receiver
    std::int64_t m_sentAt = 0;
    std::set<std::string> m_receivers;
    mutable std::vector<std::string> m_notes;
    mutable std::set<std::string> m_noted;
};
} // namespace

std::string StoryOf(const TSRecording& recording) { return TCTeller(recording).Tell(); }
} // namespace CIM::sim
