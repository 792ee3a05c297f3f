#include "Profiles.h"

#include "simulator/definition/Text.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
TSTvMode ModeOf(const TSProfileDefinition& profile) { return {profile.antennaMode, profile.serviceMode}; }

TSCIOperatorProfileData DataOf(const TSProfileDefinition& profile, unsigned char slot)
{
    return {profile.antennaMode,  profile.serviceMode,           slot,
            WideOf(profile.name), profile.supportedAntennaModes, profile.type};
}
} // namespace

template <class Action>
void TCProfiles::m_ForEachNotInstalled(Action action) const
{
    for (const auto& [slot, index] : m_offered)
    {
        const TSProfileDefinition& profile = m_world.slots[slot].cam.profiles[index];
        if (!m_IsInstalled(profile, slot))
        {
            action(slot, index, profile);
        }
    }
}

bool TCProfiles::m_IsInstalled(const TSProfileDefinition& profile, unsigned char slot) const
{
    const auto found = m_installed.find(ModeOf(profile));
    return found != m_installed.end() && found->second.slot == slot && found->second.profile.name == profile.name;
}

std::optional<std::size_t> TCProfiles::m_FirstNotInstalled(unsigned char slot) const
{
    std::optional<std::size_t> first;
    m_ForEachNotInstalled(
        [&](unsigned char offeredSlot, std::size_t index, const TSProfileDefinition&)
        {
            if (offeredSlot == slot && !first)
            {
                first = index;
            }
        });
    return first;
}

int TCProfiles::GetNotInstalledOperatorProfiles(std::map<unsigned char, std::map<EAntennaMode, TName>>& profiles)
{
    profiles.clear();
    m_ForEachNotInstalled([&](unsigned char slot, std::size_t, const TSProfileDefinition& profile)
                          { profiles[slot][profile.antennaMode] = WideOf(profile.name); });
    return 1;
}

int TCProfiles::GetNotInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>& profiles)
{
    profiles.clear();
    m_ForEachNotInstalled([&](unsigned char slot, std::size_t, const TSProfileDefinition& profile)
                          { profiles.push_back(DataOf(profile, slot)); });
    return 1;
}

int TCProfiles::GetInstalledOperatorProfileModesPerServiceMode(EServiceMode serviceMode,
                                                               std::map<TSTvMode, TName>& modes)
{
    modes.clear();
    for (const auto& [mode, installed] : m_installed)
    {
        if (mode.serviceMode == serviceMode)
        {
            modes[mode] = WideOf(installed.profile.name);
        }
    }
    return 1;
}

int TCProfiles::GetInstalledOperatorProfiles(std::map<TSTvMode, TName>& profiles)
{
    profiles.clear();
    for (const auto& [mode, installed] : m_installed)
    {
        profiles[mode] = WideOf(installed.profile.name);
    }
    return 1;
}

int TCProfiles::GetInstalledOperatorProfileModesCiSlots(std::map<TSTvMode, unsigned char>& slots)
{
    slots.clear();
    for (const auto& [mode, installed] : m_installed)
    {
        slots[mode] = installed.slot;
    }
    return 1;
}

int TCProfiles::GetInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>& profiles)
{
    profiles.clear();
    for (const auto& [mode, installed] : m_installed)
    {
        profiles.push_back(DataOf(installed.profile, installed.slot));
    }
    return 1;
}

int TCProfiles::StartOperatorProfileInstallation(EProfile, int param, unsigned char slot, TSTvMode const& tvMode)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found || m_runs[slot].isRunning)
    {
        return 0;
    }
    std::optional<std::size_t> wanted;
    m_ForEachNotInstalled(
        [&](unsigned char offeredSlot, std::size_t index, const TSProfileDefinition& profile)
        {
            if (offeredSlot == slot && ModeOf(profile) == tvMode)
            {
                wanted = index;
            }
        });
    if (!wanted)
    {
        return 0;
    }
    const auto origin = static_cast<EOperatorProfileInstallationOrigin>(param);
    const bool isOrigin = origin != OP_INSTALLATION_INACTIVE && !EnumName(origin).empty();
    m_Start(*found, *wanted, isOrigin ? origin : OP_INSTALLATION_ACTIVATED_CI_APP, false);
    return 1;
}

int TCProfiles::StartOperatorProfileInstallation(EOperatorProfileInstallationOrigin origin, unsigned char slot,
                                                 EOperatorProfileStartInstallationStatus& status)
{
    const TSSlot* const found = m_world.FindReady(slot);
    const auto index = found ? m_FirstNotInstalled(slot) : std::nullopt;
    if (!found)
    {
        status = OP_START_INSTALLATION_NO_CAM;
    }
    else if (m_runs[slot].isRunning)
    {
        status = OP_START_INSTALLATION_ALREADY_RUNNING;
    }
    else if (!index)
    {
        status = OP_START_INSTALLATION_NO_OPERATOR_PROFILE;
    }
    else if (origin == OP_INSTALLATION_INACTIVE || EnumName(origin).empty())
    {
        status = OP_START_INSTALLATION_REFUSED;
    }
    else
    {
        m_Start(*found, *index, origin, false);
        status = OP_START_INSTALLATION_STARTED;
    }
    return 1;
}

void TCProfiles::m_Start(const TSSlot& slot, std::size_t index, EOperatorProfileInstallationOrigin origin,
                         bool isUpdate)
{
    const TSProfileDefinition& profile = slot.cam.profiles[index];
    const bool isGood = isUpdate ? !profile.updateFails : !profile.installFails;
    TSRun& run = m_runs[slot.number];
    run = {true, isUpdate, index, 0, origin, origin};
    run.event = m_world.After(slot, isUpdate ? profile.updateMs : profile.installMs,
                              [this, number = slot.number, isGood] { m_Finish(number, isGood); });
}

void TCProfiles::m_Finish(unsigned char slot, bool isGood)
{
    TSRun& run = m_runs[slot];
    const TSProfileDefinition& profile = m_world.slots[slot].cam.profiles[run.index];
    m_world.clock.Cancel(run.event);
    run.isRunning = false;
    run.state = OP_INSTALLATION_INACTIVE;
    if (run.isUpdate)
    {
        m_Raise(slot, isGood ? CAM_OP_STATUS_UPDATE_SUCCESS : CAM_OP_STATUS_UPDATE_FAILED, profile);
        return;
    }
    if (isGood)
    {
        m_installed[ModeOf(profile)] = {profile, slot};
    }
    m_Raise(slot, isGood ? CAM_OP_STATUS_INSTALLATION_SUCCESS : CAM_OP_STATUS_INSTALLATION_FAILED, profile);
}

void TCProfiles::m_Raise(unsigned char slot, ECamOperatorProfileStatus status, const TSProfileDefinition& profile)
{
    m_world.Raise(
        SlotSignal(SIGNAL_CI_OPERATOR_PROFILE_STATUS_CHANGE, slot, status, profile.antennaMode, profile.serviceMode));
}

int TCProfiles::UpdateOperatorProfile(unsigned char slot)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found || m_runs[slot].isRunning)
    {
        return 0;
    }
    for (std::size_t index = 0; index < found->cam.profiles.size(); ++index)
    {
        if (m_IsInstalled(found->cam.profiles[index], slot))
        {
            m_Raise(slot, CAM_OP_STATUS_UPDATE_READY_TO_START, found->cam.profiles[index]);
            m_Start(*found, index, m_runs[slot].origin, true);
            return 1;
        }
    }
    return 0;
}

int TCProfiles::SetOperatorProfileInstallationState(unsigned char slot, EOperatorProfileInstallationOrigin origin, bool)
{
    if (!m_world.Find(slot) || EnumName(origin).empty())
    {
        return 0;
    }
    TSRun& run = m_runs[slot];
    if (origin == OP_INSTALLATION_INACTIVE && run.isRunning)
    {
        m_Finish(slot, false);
        return 1;
    }
    run.state = origin;
    if (origin != OP_INSTALLATION_INACTIVE)
    {
        run.origin = origin;
    }
    return 1;
}

int TCProfiles::GetOperatorProfileInstallationState(unsigned char slot, EOperatorProfileInstallationOrigin& origin)
{
    if (!m_world.Find(slot))
    {
        return 0;
    }
    origin = m_runs[slot].state;
    return 1;
}

int TCProfiles::GetOperatorProfileInstallationOrigin(unsigned char slot, EOperatorProfileInstallationOrigin& origin)
{
    if (!m_world.Find(slot))
    {
        return 0;
    }
    origin = m_runs[slot].origin;
    return 1;
}

int TCProfiles::RemoveOperatorProfile(TSTvMode const& tvMode, bool) { return m_installed.erase(tvMode) > 0 ? 1 : 0; }

int TCProfiles::GetOperatorProfileContentLabel(TSTvMode const& tvMode, unsigned char slot, unsigned char labelIndex,
                                               TName& label)
{
    const auto found = m_installed.find(tvMode);
    if (found == m_installed.end() || found->second.slot != slot ||
        labelIndex >= found->second.profile.contentLabels.size())
    {
        return 0;
    }
    label = WideOf(found->second.profile.contentLabels[labelIndex]);
    return 1;
}

TSOutcome TCProfiles::Offer(unsigned slot, std::size_t index)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found || index >= found->cam.profiles.size())
    {
        return TSOutcome::Refused("no ready CAM in slot " + std::to_string(slot) + " has an operator profile " +
                                  std::to_string(index));
    }
    m_offered.emplace(found->number, index);
    if (!m_IsInstalled(found->cam.profiles[index], found->number))
    {
        m_Raise(found->number, CAM_OP_STATUS_NEW_OP_INSERTED, found->cam.profiles[index]);
    }
    return TSOutcome::Done();
}

TSOutcome TCProfiles::Announce(unsigned slot, ECamOperatorProfileStatus status)
{
    for (const auto& [mode, installed] : m_installed)
    {
        if (installed.slot == slot && m_world.FindReady(slot))
        {
            m_Raise(installed.slot, status, installed.profile);
            return TSOutcome::Done();
        }
    }
    return TSOutcome::Refused("no profile of a ready CAM in slot " + std::to_string(slot) + " is installed");
}

void TCProfiles::RemoveAll() { m_installed.clear(); }

bool TCProfiles::StartFirst()
{
    for (const TSSlot& slot : m_world.slots)
    {
        EOperatorProfileStartInstallationStatus status = OP_START_INSTALLATION_REFUSED;
        StartOperatorProfileInstallation(OP_INSTALLATION_ACTIVATED_CI_APP, slot.number, status);
        if (status == OP_START_INSTALLATION_STARTED)
        {
            return true;
        }
    }
    return false;
}

void TCProfiles::Schedule(unsigned seconds)
{
    ClearSchedule();
    m_scheduledAt = m_world.clock.Now() + static_cast<TTime>(seconds) * 1'000;
    m_schedule = m_world.clock.At(m_scheduledAt,
                                  [this]
                                  {
                                      m_scheduledAt = -1;
                                      for (const TSSlot& slot : m_world.slots)
                                      {
                                          Announce(slot.number, CAM_OP_STATUS_REFRESH_REQUEST);
                                      }
                                  });
}

void TCProfiles::ClearSchedule()
{
    m_world.clock.Cancel(m_schedule);
    m_scheduledAt = -1;
}

void TCProfiles::OnCamReady(const TSSlot& slot)
{
    for (std::size_t index = 0; index < slot.cam.profiles.size(); ++index)
    {
        if (slot.cam.profiles[index].isOffered)
        {
            Offer(slot.number, index);
        }
    }
}

void TCProfiles::OnCamGone(const TSSlot& slot)
{
    if (m_runs[slot.number].isRunning)
    {
        m_Finish(slot.number, false);
    }
    std::erase_if(m_offered, [&](const auto& offer) { return offer.first == slot.number; });
}

json::TCDraft TCProfiles::State() const
{
    const auto describe = [](const TSProfileDefinition& profile, unsigned char slot)
    {
        return json::Record({{"slot", slot},
                             {"antennaMode", static_cast<int>(profile.antennaMode)},
                             {"serviceMode", static_cast<int>(profile.serviceMode)},
                             {"name", ToUtf8(profile.name)}});
    };
    json::TCDraft offered = json::List();
    m_ForEachNotInstalled([&](unsigned char slot, std::size_t, const TSProfileDefinition& profile)
                          { offered.Append(describe(profile, slot)); });
    json::TCDraft installed = json::List();
    for (const auto& [mode, entry] : m_installed)
    {
        installed.Append(describe(entry.profile, entry.slot));
    }
    json::TCDraft runs = json::List();
    for (std::size_t slot = 0; slot < m_runs.size(); ++slot)
    {
        runs.Append(json::Record({{"slot", slot},
                                  {"running", m_runs[slot].isRunning},
                                  {"update", m_runs[slot].isUpdate},
                                  {"state", EnumName(m_runs[slot].state)},
                                  {"origin", EnumName(m_runs[slot].origin)}}));
    }
    return json::Record({{"offered", std::move(offered)},
                         {"installed", std::move(installed)},
                         {"installations", std::move(runs)},
                         {"scheduledAt", m_scheduledAt}});
}
} // namespace CIM::sim
