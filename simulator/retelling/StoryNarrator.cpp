#include "StoryNarrator.h"

#include "CamMenus.h"
#include "StoryParts.h"
#include "json/Signals.h"

#include <algorithm>
#include <set>

namespace CIM::sim
{
using json::TJson;

namespace
{
constexpr std::int64_t LONGEST_MS = 5'000; ///< what the set does by itself comes no later in the story
constexpr unsigned POLLED = 6;             ///< a question that comes more often is asked all the time
constexpr unsigned MOST_ALIKE = 3;         ///< expectations of one call

template <class Map>
std::optional<std::size_t> FindEvent(const Map& events, const typename Map::key_type& key)
{
    const auto found = events.find(key);
    return found != events.end() ? std::optional(found->second) : std::nullopt;
}

std::string SaysFor(const TSRecordedCall& call, const TSSpoken& spoken)
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
} // namespace

std::string InSlot(unsigned slot) { return slot == 0 ? "" : " of slot " + std::to_string(slot); }

TCStoryNarrator::TCStoryNarrator(const std::vector<TSRecordedCall>& calls)
{
    for (const TSRecordedCall& call : calls)
    {
        ++m_counts[call.request.text];
    }
}

void TCStoryNarrator::AddBegin(const std::string& says, const TJson& deed)
{
    m_events.Add("begun", says, {}, TJson::array({deed}));
}

const TSSeenPage* TCStoryNarrator::Shown(unsigned slot) const
{
    const auto shown = m_shown.find(slot);
    return shown != m_shown.end() ? &shown->second : nullptr;
}

void TCStoryNarrator::AddCauseOf(const TSSignalFields& fields)
{
    for (std::size_t i = m_waiting.size(); i-- > 0;)
    {
        const TSWaiting& waiting = m_waiting[i];
        const auto slot = waiting.spoken.Slot();
        const bool isCause = waiting.spoken.error.empty() && IsActing(*waiting.call) &&
                             (!slot || fields.slot == NO_SLOT || slot == fields.slot);
        if (isCause)
        {
            m_AddCall(i);
            return;
        }
    }
}

std::optional<std::size_t> TCStoryNarrator::m_Last() const
{
    return m_events.IsEmpty() ? std::nullopt : std::optional(m_events.Size() - 1);
}

void TCStoryNarrator::m_Happened(std::int64_t at)
{
    m_at = at;
    m_isRaised = false;
}

void TCStoryNarrator::m_AddCall(std::size_t index)
{
    const TSWaiting cause = m_waiting[index];
    const TSRecordedCall& call = *cause.call;
    const std::string operation = OperationOf(call);
    const auto slot = cause.spoken.Slot();
    TJson called = Pattern(call, cause.spoken);
    const auto since =
        IsMmi(operation) && slot ? FindEvent(m_slotEvents, *slot) : FindEvent(m_callEvents, call.request.text);
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

std::pair<std::string, std::string> TCStoryNarrator::m_WordsFor(const std::string& operation,
                                                                const TSSpoken& spoken) const
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
        const TSSeenPage* const shown = Shown(slot);
        const bool isEntry =
            choice > 0 && shown != nullptr && shown->Kind() == "menu" && choice <= shown->page["entries"].size();
        return isEntry ? std::pair("chosen", "the viewer chooses " + Quoted(shown->page["entries"][choice - 1]))
                       : std::pair("back", std::string("the viewer goes back"));
    }
    return {"called", "the application calls " + operation};
}

std::size_t TCStoryNarrator::AddDeed(const std::string& word, const std::string& says, const TJson& deed, bool isTimed)
{
    TJson when = json::NewObject();
    const auto last = m_Last();
    const auto answered = std::find_if(m_waiting.rbegin(), m_waiting.rend(),
                                       [&](const TSWaiting& waiting) { return !m_IsPolled(*waiting.call); });
    if (answered != m_waiting.rend())
    {
        const TSRecordedCall& call = *answered->call;
        when["called"] = Pattern(call, answered->spoken);
        if (last && m_counts[call.request.text] > 1)
        {
            when["called"]["since"] = m_events.NameOf(*last);
        }
    }
    const std::int64_t gapMs = (m_now - m_at) / NS_PER_MS;
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
    m_Happened(m_now);
    return event;
}

void TCStoryNarrator::AddSlotDeed(unsigned slot, const std::string& word, const std::string& says, const TJson& deed)
{
    m_slotEvents[slot] = m_raisedSince[slot] = AddDeed(word, says, deed, /*isTimed=*/true);
}

void TCStoryNarrator::AddSignalled(const std::string& word, const std::string& says, const TSSignal& signal)
{
    const TSSignalFields fields = UnpackSignalData(signal.data);
    TJson signalled = {{"signal", json::SignalName(signal.type)},
                       {"slot", fields.slot},
                       {"code", json::SignalDataToJson(signal)["code"]}};
    if (const auto since = FindEvent(m_raisedSince, fields.slot))
    {
        signalled["since"] = m_events.NameOf(*since);
    }
    const auto last = m_Last();
    const std::size_t event = m_events.Add(word, says, {{"signalled", signalled}}, json::NewList());
    m_Expect(last, m_waiting.size(), std::nullopt);
    m_waiting.clear();
    m_slotEvents[fields.slot] = m_raisedSince[fields.slot] = event;
    m_Happened(m_now);
}

bool TCStoryNarrator::m_IsPolled(const TSRecordedCall& call) const
{
    const auto count = m_counts.find(call.request.text);
    return count->second > POLLED && !IsActing(call) && !ReadsPage(OperationOf(call));
}

void TCStoryNarrator::m_Expect(std::optional<std::size_t> after, std::size_t count, std::optional<std::size_t> before)
{
    std::set<std::string> texts;
    for (std::size_t i = 0; i < count; ++i)
    {
        const TSWaiting& waiting = m_waiting[i];
        const TSRecordedCall& call = *waiting.call;
        const bool isPage = ReadsPage(OperationOf(call));
        const unsigned most = m_IsPolled(call) ? 1 : MOST_ALIKE;
        if (!texts.insert(call.request.text).second || (!isPage && m_expected[call.request.text]++ >= most))
        {
            continue;
        }
        m_events.Expect(SaysFor(call, waiting.spoken), Pattern(call, waiting.spoken), after,
                        isPage && before && waiting.spoken.isDone ? before : std::nullopt);
    }
}

void TCStoryNarrator::AddRaised(const std::string& says, const TJson& deed)
{
    constexpr std::int64_t TOGETHER = 50 * NS_PER_MS;
    if (m_isRaised && m_waiting.empty() && m_now - m_at < TOGETHER)
    {
        m_events.AddDeed(deed);
        return;
    }
    AddDeed("raised", says, deed, /*isTimed=*/true);
    m_isRaised = true;
}

void TCStoryNarrator::Finish()
{
    if (m_events.IsEmpty())
    {
        const TJson when = m_waiting.empty()
                               ? json::NewObject()
                               : TJson({{"called", Pattern(*m_waiting.front().call, m_waiting.front().spoken)}});
        m_events.Add("begun", "the application is there", when, json::NewList());
    }
    if (m_waiting.empty())
    {
        constexpr int NOTICING_MS = 300;
        m_events.Add("noticed", "the application has had time to see it", {{"after", NOTICING_MS}}, json::NewList());
    }
    m_Expect(m_Last(), m_waiting.size(), std::nullopt);
}
} // namespace CIM::sim
