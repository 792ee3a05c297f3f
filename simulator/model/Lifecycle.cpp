#include "Lifecycle.h"

#include "commandline/Nearest.h"
#include "Parts.h"
#include "simulator/definition/Text.h"

namespace CIM::sim
{
namespace
{
/// The CI Plus error after which a CAM goes on as a plain CI module; after the others it is not used.
constexpr int ERROR_FALLS_BACK_TO_CI = 14;
} // namespace

TSOutcome TCLifecycle::m_Find(unsigned slot, TSSlot*& found)
{
    found = m_world.Find(slot);
    if (!found)
    {
        return TSOutcome::Refused("there is no slot " + std::to_string(slot) + ", only " +
                                  std::to_string(m_world.slots.size()));
    }
    return TSOutcome::Done();
}

TSOutcome TCLifecycle::Insert(unsigned slot, const std::string& cam)
{
    TSSlot* found = nullptr;
    if (TSOutcome outcome = m_Find(slot, found); !outcome)
    {
        return outcome;
    }
    if (found->HoldsCam())
    {
        return TSOutcome::Refused("slot " + std::to_string(slot) + " holds the CAM '" + found->cam.name + "'");
    }
    const TSCamDefinition* const definition = m_world.definition.FindCam(cam);
    if (!definition)
    {
        return TSOutcome::Refused("there is no CAM '" + cam + "'; " + ThereAre(m_world.definition.CamNames(), cam));
    }
    found->cam = *definition;
    found->phase = CAM_PHASE_INIT;
    found->shownErrors.clear();
    m_parts.pin.OnCamIn(*found);
    m_Begin(*found);
    return TSOutcome::Done();
}

TSOutcome TCLifecycle::Remove(unsigned slot)
{
    TSSlot* found = nullptr;
    if (TSOutcome outcome = m_Find(slot, found); !outcome)
    {
        return outcome;
    }
    if (!found->HoldsCam())
    {
        return TSOutcome::Refused("slot " + std::to_string(slot) + " holds no CAM");
    }
    m_End(*found, CAM_PHASE_ABSENT);
    return TSOutcome::Done();
}

TSOutcome TCLifecycle::Reset(unsigned slot)
{
    TSSlot* found = nullptr;
    if (TSOutcome outcome = m_Find(slot, found); !outcome)
    {
        return outcome;
    }
    if (!found->HoldsCam())
    {
        return TSOutcome::Refused("slot " + std::to_string(slot) + " holds no CAM");
    }
    m_End(*found, CAM_PHASE_INIT);
    m_Begin(*found);
    return TSOutcome::Done();
}

void TCLifecycle::ResetAll()
{
    for (TSSlot& slot : m_world.slots)
    {
        if (slot.HoldsCam())
        {
            Reset(slot.number);
        }
    }
}

void TCLifecycle::SetDisabled(bool isDisabled)
{
    if (isDisabled == m_isDisabled)
    {
        return;
    }
    m_isDisabled = isDisabled;
    ResetAll();
}

void TCLifecycle::m_Begin(TSSlot& slot)
{
    slot.session = ++m_world.lastSession;
    slot.mode = slot.cam.mode;
    if (m_isDisabled)
    {
        return;
    }
    if (slot.cam.isSilent)
    {
        m_BeginSilent(slot, 0);
        return;
    }
    const TTime ready = m_world.Varied(slot, slot.cam.readyMs);
    m_world.After(slot, ready / 3, [&slot] { slot.hasApplicationInfo = true; });
    m_world.After(slot, ready * 2 / 3, [this, &slot] { m_parts.ca.OnCaInfo(slot); });
    m_world.After(slot, ready, [this, &slot] { m_BecomeReady(slot); });
}

void TCLifecycle::m_BeginSilent(TSSlot& slot, int resets)
{
    m_world.After(slot, slot.cam.resetMs,
                  [this, &slot, resets]
                  {
                      if (resets == slot.cam.resets)
                      {
                          slot.phase = CAM_PHASE_FAILED;
                          m_world.Raise(SlotSignal(SIGNAL_CI_CAM_COMPATIBILITY_ISSUE, slot.number, CAM_SILENT));
                          return;
                      }
                      m_world.Raise(SlotSignal(SIGNAL_CI_CAM_MONITOR_STATUS, slot.number,
                                               CI_CAM_MONITOR_STATUS_ERROR_DETECTED, 0, resets + 1));
                      m_BeginSilent(slot, resets + 1);
                  });
}

void TCLifecycle::m_BecomeReady(TSSlot& slot)
{
    const int error = slot.cam.mode == CAM_MODE_CI_PLUS ? slot.cam.trustError : 0;
    if (error != 0)
    {
        // Once for each insertion, however often the CAM is reset.
        if (slot.shownErrors.insert(error).second)
        {
            m_world.Raise(SlotSignal(SIGNAL_CI_CAM_COMPATIBILITY_ISSUE, slot.number, error));
        }
        if (error != ERROR_FALLS_BACK_TO_CI)
        {
            slot.phase = CAM_PHASE_FAILED;
            m_parts.ca.OnCamGone(slot);
            return;
        }
        slot.mode = CAM_MODE_CI;
    }
    slot.phase = CAM_PHASE_READY;
    m_world.Raise(SlotSignal(SIGNAL_CI_CAM_MODE_CHANGED, slot.number, slot.mode));
    if (slot.mode == CAM_MODE_CI_PLUS)
    {
        m_world.Raise(SlotSignal(SIGNAL_CI_SAC_STATUS_CHANGE, slot.number, SAC_ESTABLISHED));
    }
    m_world.Raise(SlotSignal(SIGNAL_CI_CAM_READY_STATUS_CHANGED, slot.number, CAM_STATUS_READY));
    m_parts.fileSystems.OnCamReady(slot);
    m_parts.profiles.OnCamReady(slot);
    m_parts.host.OnCamReady(slot);
}

void TCLifecycle::m_End(TSSlot& slot, ECamPhase phase)
{
    const bool wasReady = slot.IsReady();
    slot.phase = phase;
    m_world.clock.CancelGroup(slot.session);
    slot.hasApplicationInfo = false;
    m_parts.mmi.OnCamGone(slot);
    m_parts.upgrade.OnCamGone(slot);
    m_parts.appMmi.OnCamGone(slot);
    m_parts.sas.OnCamGone(slot);
    m_parts.fileSystems.OnCamGone(slot);
    m_parts.player.OnCamGone(slot);
    m_parts.pvr.OnCamGone(slot);
    m_parts.decryption.OnCamGone(slot);
    m_parts.profiles.OnCamGone(slot);
    m_parts.pin.OnCamGone(slot);
    m_parts.host.OnCamGone(slot);
    m_parts.ca.OnCamGone(slot);
    if (wasReady && slot.mode == CAM_MODE_CI_PLUS)
    {
        m_world.Raise(SlotSignal(SIGNAL_CI_SAC_STATUS_CHANGE, slot.number, SAC_GONE));
    }
    if (wasReady)
    {
        m_world.Raise(SlotSignal(SIGNAL_CI_CAM_READY_STATUS_CHANGED, slot.number, CAM_STATUS_NO_CAM));
    }
}

json::TCDraft TCLifecycle::State() const
{
    json::TCDraft slots = json::List();
    for (const TSSlot& slot : m_world.slots)
    {
        json::TCDraft entry = json::Record({{"slot", slot.number}, {"phase", ToName(slot.phase)}});
        if (slot.HoldsCam())
        {
            entry.Put("cam", slot.cam.name);
            entry.Put("mode", EnumName(slot.mode));
            entry.Put("menuString", ToUtf8(slot.cam.menuString));
            entry.Put("manufacturer", ToUtf8(slot.cam.manufacturerText));
        }
        slots.Append(std::move(entry));
    }
    return json::Record({{"slots", std::move(slots)}, {"disabled", m_isDisabled}});
}
} // namespace CIM::sim
