#include "Ca.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
constexpr std::size_t MAX_HISTORY = 100;
constexpr const char* NO_ENTITLEMENT_MENU = "no-entitlement";

json::TCDraft ToJson(const TVSHandle& pipeline)
{
    return json::Record({{"profile", static_cast<int>(pipeline.profile)}, {"handle", pipeline.handle}});
}
} // namespace

std::vector<unsigned short> TCCa::m_Ids(const TSSlot& slot) const
{
    const bool isShown = slot.hasCaInfo && slot.cam.isCardIn && slot.phase != CAM_PHASE_FAILED;
    return isShown ? slot.cam.caSystemIds : std::vector<unsigned short>();
}

void TCCa::GetSystemIds(std::map<unsigned char, std::list<unsigned short>>& ids) const
{
    ids.clear();
    for (const TSSlot& slot : m_world.slots)
    {
        if (slot.hasCaInfo)
        {
            const auto own = m_Ids(slot);
            ids[slot.number].assign(own.begin(), own.end());
        }
    }
}

int TCCa::SendPmt(unsigned char slot, const TVSHandle& pipeline, const std::list<unsigned short>& caSystemIds,
                  ECaPmtCmd command)
{
    TSSlot* const found = m_world.FindReady(slot);
    if (!found || command < ECAPMTCMD_OKDESCR || command > ECAPMTCMD_NOT_SELECTED)
    {
        return 0;
    }
    m_world.Raise(PipelineSignal(SIGNAL_CI_PMT_SENT_TO_CAM, pipeline, slot, command));
    if (command == ECAPMTCMD_NOT_SELECTED)
    {
        m_Leave(*found, pipeline);
        return 1;
    }
    const auto ids = m_Ids(*found);
    const bool isKnown =
        caSystemIds.empty() || std::any_of(caSystemIds.begin(), caSystemIds.end(),
                                           [&](auto id) { return std::count(ids.begin(), ids.end(), id) > 0; });
    if (isKnown && command != ECAPMTCMD_QUERY &&
        std::count(found->pipelines.begin(), found->pipelines.end(), pipeline) == 0)
    {
        found->pipelines.push_back(pipeline);
        if (m_history.size() < MAX_HISTORY)
        {
            m_history.push_back(std::to_string(m_world.clock.Now()) + " ms: slot " + std::to_string(slot) +
                                " descrambles for " + std::to_string(pipeline.profile) + "/" +
                                std::to_string(pipeline.handle));
        }
        m_world.Raise(PipelineSignal(SIGNAL_CI_CAM_CONNECTED_TO_PIPELINE, pipeline, slot, PIPELINE_CONNECTED));
    }
    if (found->cam.caReplyMs < 0)
    {
        return 1;
    }
    m_world.After(*found, m_world.Varied(*found, found->cam.caReplyMs),
                  [this, found, pipeline, command, isKnown]
                  {
                      const int reply = isKnown ? found->cam.entitlement : CA_REPLY_NOT_POSSIBLE_TECHNICAL;
                      m_Reply(*found, pipeline, reply);
                      if (command == ECAPMTCMD_OKMMI && reply == CA_REPLY_NOT_POSSIBLE_NO_ENTITLEMENT &&
                          m_mmi.HasMenu(*found, NO_ENTITLEMENT_MENU))
                      {
                          m_mmi.OpenUnsolicited(found->number, NO_ENTITLEMENT_MENU);
                      }
                  });
    return 1;
}

void TCCa::m_Reply(const TSSlot& slot, const TVSHandle& pipeline, int reply)
{
    m_world.Raise(PipelineSignal(SIGNAL_CI_CA_REPLY, pipeline, slot.number, reply));
}

void TCCa::m_Leave(TSSlot& slot, const TVSHandle& pipeline)
{
    if (std::erase(slot.pipelines, pipeline) > 0)
    {
        m_world.Raise(
            PipelineSignal(SIGNAL_CI_CAM_CONNECTED_TO_PIPELINE, pipeline, slot.number, PIPELINE_DISCONNECTED));
    }
}

int TCCa::SwitchDescrambling(const std::vector<TVSHandle>& pipelines, bool isEnabled)
{
    for (const TVSHandle& pipeline : pipelines)
    {
        const TKey key(pipeline.profile, pipeline.handle);
        if (isEnabled)
        {
            m_disabled.erase(key);
        }
        else
        {
            m_disabled.insert(key);
        }
    }
    return 1;
}

bool TCCa::IsCopyProtected(const TVSHandle& pipeline) const
{
    if (const auto own = m_emi.find(TKey(pipeline.profile, pipeline.handle)); own != m_emi.end())
    {
        return own->second != 0;
    }
    return std::any_of(m_world.slots.begin(), m_world.slots.end(),
                       [&](const TSSlot& slot)
                       {
                           return slot.IsReady() && slot.mode == CAM_MODE_CI_PLUS && slot.cam.emi != 0 &&
                                  std::count(slot.pipelines.begin(), slot.pipelines.end(), pipeline) > 0;
                       });
}

TSOutcome TCCa::SetCard(unsigned slot, bool isIn)
{
    TSSlot* const found = m_world.FindReady(slot);
    if (!found)
    {
        return TSOutcome::Refused("no ready CAM in slot " + std::to_string(slot));
    }
    if (found->cam.isCardIn == isIn)
    {
        return TSOutcome::Refused(isIn ? "the card is in already" : "there is no card in the CAM");
    }
    found->cam.isCardIn = isIn;
    OnCaInfo(*found);
    return TSOutcome::Done();
}

TSOutcome TCCa::SetEntitlement(unsigned slot, int reply)
{
    TSSlot* const found = m_world.FindReady(slot);
    if (!found)
    {
        return TSOutcome::Refused("no ready CAM in slot " + std::to_string(slot));
    }
    found->cam.entitlement = reply;
    for (const TVSHandle& pipeline : found->pipelines)
    {
        m_Reply(*found, pipeline, reply);
    }
    return TSOutcome::Done();
}

void TCCa::OnCaInfo(TSSlot& slot)
{
    slot.hasCaInfo = true;
    m_world.Raise(SlotSignal(SIGNAL_CI_CA_SYSTEMS_CHANGE, slot.number, 0, 0, m_Ids(slot).size()));
}

void TCCa::OnCamGone(TSSlot& slot)
{
    while (!slot.pipelines.empty())
    {
        m_Leave(slot, TVSHandle(slot.pipelines.front()));
    }
    if (slot.hasCaInfo)
    {
        slot.hasCaInfo = false;
        m_world.Raise(SlotSignal(SIGNAL_CI_CA_SYSTEMS_CHANGE, slot.number));
    }
}

json::TCDraft TCCa::State() const
{
    json::TCDraft slots = json::List();
    for (const TSSlot& slot : m_world.slots)
    {
        if (slot.HoldsCam())
        {
            json::TCDraft pipelines = json::List();
            for (const TVSHandle& pipeline : slot.pipelines)
            {
                pipelines.Append(ToJson(pipeline));
            }
            slots.Append(json::Record({{"slot", slot.number},
                                       {"caSystemIds", m_Ids(slot)},
                                       {"cardIn", slot.cam.isCardIn},
                                       {"entitlement", slot.cam.entitlement},
                                       {"pipelines", std::move(pipelines)}}));
        }
    }
    json::TCDraft disabled = json::List();
    for (const auto& [profile, handle] : m_disabled)
    {
        disabled.Append(json::Record({{"profile", profile}, {"handle", handle}}));
    }
    return json::Record(
        {{"slots", std::move(slots)}, {"descramblingDisabled", std::move(disabled)}, {"history", m_history}});
}
} // namespace CIM::sim
