#include "Host.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
constexpr TTime TUNE_ANSWER_MS = 500;
constexpr TTime SLOT_TEST_MS = 500;

bool AnyReady(const TSWorld& world, bool TSCamDefinition::*flag)
{
    return std::any_of(world.slots.begin(), world.slots.end(),
                       [flag](const TSSlot& slot) { return slot.IsReady() && slot.cam.*flag; });
}
} // namespace

TCHost::TCHost(TSWorld& world)
    : m_world(world), m_backupFiles(world.definition.backupFiles.begin(), world.definition.backupFiles.end())
{
}

int TCHost::AskRelease()
{
    if (!m_holder)
    {
        return 0;
    }
    const TSSlot& slot = m_world.slots[*m_holder];
    if (slot.cam.releaseMs < 0)
    {
        return 1;
    }
    m_world.After(slot, slot.cam.releaseMs,
                  [this, &slot]
                  {
                      if (m_holder != slot.number)
                      {
                          return;
                      }
                      const bool isReleased = slot.cam.releasesTuner;
                      if (isReleased)
                      {
                          m_holder.reset();
                      }
                      m_world.Raise(PipelineSignal(SIGNAL_CI_TUNER_RELEASE_REPLY_STATUS, m_heldPipeline, slot.number,
                                                   isReleased ? RELEASE_ANSWER_OK : RELEASE_ANSWER_REFUSED));
                  });
    return 1;
}

bool TCHost::IsTuneBlocked(const TVSHandle& pipeline, EStateChange change)
{
    if (m_isTuneBlocked)
    {
        // By then it may no longer be blocked: the answer is that of the time when it comes.
        m_world.clock.After(TUNE_ANSWER_MS,
                            [this, pipeline, change] { AcknowledgeTune(!m_isTuneBlocked, change, pipeline); });
    }
    return m_isTuneBlocked;
}

void TCHost::AcknowledgeTune(bool isAllowed, EStateChange change, const TVSHandle& pipeline)
{
    const bool isSource = change == STATE_CHANGE_SOURCE;
    const ECISignalType allowed =
        isSource ? SIGNAL_CI_TUNE_ACK_SOURCE_CHANGE_ALLOWED : SIGNAL_CI_TUNE_ACK_SERVICE_CHANGE_ALLOWED;
    const ECISignalType notAllowed =
        isSource ? SIGNAL_CI_TUNE_ACK_SOURCE_CHANGE_NOT_ALLOWED : SIGNAL_CI_TUNE_ACK_SERVICE_CHANGE_NOT_ALLOWED;
    m_world.Raise(PipelineSignal(isAllowed ? allowed : notAllowed, pipeline, NO_SLOT));
}

bool TCHost::IsAppWanted() const { return AnyReady(m_world, &TSCamDefinition::wantsAppRunning); }
bool TCHost::IsTranscodingAutomatic() const { return AnyReady(m_world, &TSCamDefinition::transcodesAutomatically); }
bool TCHost::IsSpecialCamInserted() const { return AnyReady(m_world, &TSCamDefinition::needsSpecialTreatment); }

int TCHost::TestSlot(unsigned char slot)
{
    if (!m_world.Find(slot))
    {
        return 0;
    }
    m_world.clock.After(
        SLOT_TEST_MS,
        [this, slot]
        {
            const bool isGood = m_world.FindReady(slot) != nullptr;
            m_world.Raise(SlotSignal(SIGNAL_CI_SLOT_TEST_RESULT, slot, isGood ? SLOT_TEST_PASSED : SLOT_TEST_FAILED));
        });
    return 1;
}

int TCHost::SetDisplayStatus(unsigned char slot, bool status)
{
    if (!m_world.FindReady(slot))
    {
        return 0;
    }
    m_displayStatus[slot] = status;
    return 1;
}

int TCHost::BackupDone(const std::list<std::string>& paths)
{
    for (const std::string& path : paths)
    {
        if (std::count(m_backupFiles.begin(), m_backupFiles.end(), path) == 0)
        {
            return 0;
        }
    }
    m_backupFiles.remove_if([&](const std::string& path) { return std::count(paths.begin(), paths.end(), path) > 0; });
    return 1;
}

TSOutcome TCHost::SetHostControl(unsigned slot, bool isActive, const TVSHandle& pipeline)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found)
    {
        return TSOutcome::Refused("no ready CAM in slot " + std::to_string(slot));
    }
    if (isActive && m_holder && *m_holder != slot)
    {
        return TSOutcome::Refused("the CAM in slot " + std::to_string(*m_holder) + " holds the tuner");
    }
    if (!isActive && m_holder != slot)
    {
        return TSOutcome::Refused("the CAM in slot " + std::to_string(slot) + " does not hold the tuner");
    }
    if (isActive)
    {
        m_holder = found->number;
        m_heldPipeline = pipeline;
    }
    else
    {
        m_holder.reset();
    }
    return TSOutcome::Done();
}

void TCHost::BlockTuning(bool isBlocked, const TVSHandle& pipeline)
{
    m_isTuneBlocked = isBlocked;
    m_world.Raise(PipelineSignal(SIGNAL_CI_REQUEST_TUNE_BLOCKING, pipeline, NO_SLOT,
                                 isBlocked ? TUNING_BLOCKED : TUNING_ALLOWED));
}

void TCHost::OnCamReady(const TSSlot& slot)
{
    if (slot.cam.holdsTuner && !m_holder)
    {
        SetHostControl(slot.number, true);
    }
}

void TCHost::OnCamGone(const TSSlot& slot)
{
    m_displayStatus.erase(slot.number);
    if (m_holder != slot.number)
    {
        return;
    }
    m_holder.reset();
    m_world.Raise(PipelineSignal(SIGNAL_CI_TUNER_RELEASE_REPLY_STATUS, m_heldPipeline, slot.number, RELEASE_ANSWER_OK));
}

json::TCDraft TCHost::State() const
{
    json::TCDraft display = json::Record();
    for (const auto& [slot, status] : m_displayStatus)
    {
        display.Put(std::to_string(slot), status);
    }
    return json::Record({{"hostControl", m_holder ? json::TCDraft(*m_holder) : json::TCDraft()},
                         {"tuneBlocked", m_isTuneBlocked},
                         {"displayStatus", std::move(display)},
                         {"backupFiles", m_backupFiles}});
}
} // namespace CIM::sim
