#include "Upgrade.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
TSMmiPage Question()
{
    TSMmiPage page;
    page.kind = MMI_KIND_MENU;
    page.title = u"Module software";
    page.subtitle = u"A new version is available";
    page.bottom = u"Do not remove the module";
    page.entries = {{u"Install now", {}}, {u"Later", {}}};
    return page;
}
} // namespace

int TCUpgrade::Reply(unsigned char slot, ECamUpgradeAnswer answer)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found || m_states[slot].step != STEP_REQUESTED)
    {
        return 0;
    }
    switch (answer)
    {
    case CAM_UPGRADE_ANSWER_YES:
        m_Start(*found);
        return 1;
    case CAM_UPGRADE_ANSWER_NO:
        m_world.clock.Cancel(m_states[slot].next);
        m_states[slot] = {};
        return 1;
    case CAM_UPGRADE_ANSWER_ASK:
        m_mmi.Open(*found, Question(),
                   [this, slot](unsigned char choice)
                   { Reply(slot, choice == 1 ? CAM_UPGRADE_ANSWER_YES : CAM_UPGRADE_ANSWER_NO); });
        return 1;
    }
    return 0;
}

TSOutcome TCUpgrade::Request(unsigned slot, ECamUpgradeMode mode)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found)
    {
        return TSOutcome::Refused("no ready CAM in slot " + std::to_string(slot));
    }
    TSState& state = m_states[slot];
    if (state.step != STEP_NONE)
    {
        return TSOutcome::Refused("an upgrade is under way in slot " + std::to_string(slot));
    }
    state = {STEP_REQUESTED, mode, 0, 0};
    m_world.Raise(
        SlotSignal(SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE, found->number, CAM_UPGRADE_STATUS_REPLY_REQUESTED, mode));
    if (mode == CAM_UPGRADE_MODE_IMMEDIATE)
    {
        state.next = m_world.After(*found, found->cam.upgrade.graceMs, [this, found] { m_Start(*found); });
    }
    return TSOutcome::Done();
}

TSOutcome TCUpgrade::SetProgress(unsigned slot, int percent)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found || m_states[slot].step != STEP_RUNNING)
    {
        return TSOutcome::Refused("no upgrade is running in slot " + std::to_string(slot));
    }
    if (percent < 0 || percent > 100)
    {
        return TSOutcome::Refused("progress goes from 0 to 100, not " + std::to_string(percent));
    }
    m_Advance(*found, percent);
    return TSOutcome::Done();
}

void TCUpgrade::m_Start(const TSSlot& slot)
{
    m_states[slot.number].step = STEP_RUNNING;
    m_Advance(slot, 0);
}

void TCUpgrade::m_Advance(const TSSlot& slot, int percent)
{
    TSState& state = m_states[slot.number];
    const TSUpgradeDefinition& upgrade = slot.cam.upgrade;
    m_world.clock.Cancel(state.next);
    state.percent = percent;
    m_Raise(slot, CAM_UPGRADE_STATUS_PROGRESS, percent);
    if (upgrade.failAtPercent >= 0 && percent >= upgrade.failAtPercent)
    {
        state = {};
        m_Raise(slot, CAM_UPGRADE_STATUS_RESET, UPGRADE_FAILED);
        return;
    }
    if (percent < 100)
    {
        const TTime wait = percent == upgrade.stuckAtPercent ? upgrade.stuckMs : upgrade.stepMs;
        int next = std::min(100, percent + std::max(1, upgrade.stepPercent));
        if (percent < upgrade.stuckAtPercent)
        {
            next = std::min(next, upgrade.stuckAtPercent);
        }
        state.next = m_world.After(slot, wait, [this, &slot, next] { m_Advance(slot, next); });
        return;
    }
    state = {};
    m_Raise(slot, CAM_UPGRADE_STATUS_RESET, upgrade.reset);
    TSSlot& upgraded = m_world.slots[slot.number];
    if (!upgrade.newMenuString.empty())
    {
        upgraded.cam.menuString = upgrade.newMenuString;
    }
    if (upgrade.reset != UPGRADE_RESET_NONE)
    {
        m_reset(slot.number);
    }
}

void TCUpgrade::m_Raise(const TSSlot& slot, ECamUpgradeStatus status, int value)
{
    m_world.Raise(SlotSignal(SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE, slot.number, status, 0, value));
}

void TCUpgrade::OnCamGone(const TSSlot& slot)
{
    if (m_states[slot.number].step != STEP_NONE)
    {
        m_states[slot.number] = {};
        m_Raise(slot, CAM_UPGRADE_STATUS_RESET, UPGRADE_FAILED);
    }
}

json::TCDraft TCUpgrade::State() const
{
    static constexpr const char* steps[] = {"none", "requested", "running"};
    json::TCDraft result = json::List();
    for (std::size_t slot = 0; slot < m_states.size(); ++slot)
    {
        const TSState& state = m_states[slot];
        if (state.step != STEP_NONE)
        {
            result.Append(json::Record({{"slot", slot},
                                        {"step", steps[state.step]},
                                        {"mode", EnumName(state.mode)},
                                        {"percent", state.percent}}));
        }
    }
    return result;
}
} // namespace CIM::sim
