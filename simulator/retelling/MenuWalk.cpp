#include "MenuWalk.h"

#include <algorithm>

namespace CIM::sim
{
TCMenuWalk::TCMenuWalk(const TSRecording& recording, TSRecordedSet& set, TCKnownCams& cams)
    : m_recording(recording), m_set(set), m_cams(cams)
{
}

void TCMenuWalk::Walk()
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

TCCamMenus* TCMenuWalk::m_MenusAt(unsigned slot, std::size_t place)
{
    const TSStay* const stay = m_set.FindStay(slot, place);
    return stay != nullptr ? &m_cams.MenusOf(stay->cam) : nullptr;
}

void TCMenuWalk::m_TakeCall(std::size_t place, const TSRecordedCall& call)
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

void TCMenuWalk::m_Show(std::size_t place, const TSSeenPage& seen)
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
} // namespace CIM::sim
