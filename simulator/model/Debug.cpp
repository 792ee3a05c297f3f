#include "Debug.h"

#include "Parts.h"

namespace CIM::sim
{
namespace
{
constexpr std::size_t MAX_LOG = 100;
} // namespace

TCDebug::TCDebug(TSWorld& world, TSParts& parts)
    : m_world(world), m_parts(parts), m_mspus(world.slots.size()),
      m_protectedServices(world.definition.protectedServices)
{
}

void TCDebug::m_Log(std::string line)
{
    m_log.push_back(std::to_string(m_world.clock.Now()) + " ms: " + std::move(line));
    if (m_log.size() > MAX_LOG)
    {
        m_log.pop_front();
    }
}

int TCDebug::PrintStatus()
{
    for (const TSSlot& slot : m_world.slots)
    {
        m_Log("slot " + std::to_string(slot.number) + ": " + ToName(slot.phase) +
              (slot.HoldsCam() ? ", CAM '" + slot.cam.name + "'" : ""));
    }
    return 1;
}

int TCDebug::ClearDescramblingHistory()
{
    m_parts.ca.ClearHistory();
    return 1;
}

int TCDebug::ResetPcmcia(unsigned char slot) { return m_parts.lifecycle.Reset(slot) ? 1 : 0; }

int TCDebug::ResetCertificateDataInEeprom()
{
    m_parts.certificates.ResetEeprom();
    return 1;
}

int TCDebug::ResetCertificateDataInSecureStorage()
{
    m_parts.certificates.ResetStorage();
    return 1;
}

int TCDebug::SetTransportStreamRouteMode(unsigned char slot, bool through)
{
    if (!m_world.Find(slot))
    {
        return 0;
    }
    m_mspus[slot].isThrough = through;
    return 1;
}

int TCDebug::GetTransportStreamRouteMode(unsigned char slot, bool& through)
{
    if (!m_world.Find(slot))
    {
        return 0;
    }
    through = m_mspus[slot].isThrough;
    return 1;
}

int TCDebug::RestartCIMManager()
{
    ++m_restarts;
    m_parts.lifecycle.ResetAll();
    return 1;
}

int TCDebug::FactoryReset()
{
    m_parts.profiles.RemoveAll();
    m_parts.profiles.ClearSchedule();
    m_protectedServices.clear();
    m_parts.lifecycle.ResetAll();
    return 1;
}

int TCDebug::DebugTunePreparation(bool enable)
{
    m_isPreparingTune = enable;
    m_parts.host.BlockTuning(enable);
    return 1;
}

int TCDebug::DebugTunePreparationAck(bool ack)
{
    if (!m_isPreparingTune)
    {
        return 0;
    }
    m_parts.host.AcknowledgeTune(ack, STATE_CHANGE_SERVICE, {PROFILE_MAIN, 0});
    return 1;
}

int TCDebug::IsTunerLockedByCI(bool& locked)
{
    locked = m_parts.host.IsHostControlActive();
    return 1;
}

int TCDebug::OPClearSchedule()
{
    m_parts.profiles.ClearSchedule();
    return 1;
}

int TCDebug::OPRegisterSchedule(unsigned int schedule)
{
    m_parts.profiles.Schedule(schedule);
    return 1;
}

int TCDebug::OPPrintBootupReason()
{
    m_Log("started by the simulator");
    return 1;
}

int TCDebug::StartOperatorProfileInstallation() { return m_parts.profiles.StartFirst() ? 1 : 0; }

int TCDebug::RemoveAllOperatorProfiles()
{
    m_parts.profiles.RemoveAll();
    return 1;
}

int TCDebug::PrintCIServiceProtectionDatabase()
{
    m_Log("protected services: " + std::to_string(m_protectedServices.size()));
    for (const std::string& service : m_protectedServices)
    {
        m_Log("protected service " + service);
    }
    return 1;
}

int TCDebug::ClearCIServiceProtectionDatabase()
{
    m_protectedServices.clear();
    return 1;
}

int TCDebug::GetSlotsCount(unsigned char& count)
{
    count = static_cast<unsigned char>(m_world.slots.size());
    return 1;
}

int TCDebug::RunMSPUCommand(unsigned char slot, ECIDebugMSPUCommand command, unsigned char param, unsigned short ltsId)
{
    if (!m_world.Find(slot) || EnumName(command).empty())
    {
        return 0;
    }
    TSMspu& mspu = m_mspus[slot];
    switch (command)
    {
    case CI_DEBUG_SET_ROUTE_BYPASS:
    case CI_DEBUG_SET_ROUTE_THROUGH:
        mspu.isThrough = command == CI_DEBUG_SET_ROUTE_THROUGH;
        break;
    case CI_DEBUG_MSPU_SET_LTS_ID:
        mspu.ltsIds.insert(ltsId);
        break;
    case CI_DEBUG_MSPU_CLEAR_LTS_ID:
        if (mspu.ltsIds.erase(ltsId) == 0)
        {
            return 0;
        }
        mspu.runningLtsIds.erase(ltsId);
        break;
    case CI_DEBUG_MSPU_CLEAR_ALL:
        mspu.isRunning = false;
        [[fallthrough]];
    case CI_DEBUG_MSPU_CLEAR_ALL_LTSID:
        mspu.ltsIds.clear();
        mspu.runningLtsIds.clear();
        break;
    case CI_DEBUG_MSPU_START:
    case CI_DEBUG_MSPU_STOP:
        mspu.isRunning = command == CI_DEBUG_MSPU_START;
        break;
    case CI_DEBUG_MSPU_START_LTSID:
        if (mspu.ltsIds.count(ltsId) == 0)
        {
            return 0;
        }
        mspu.runningLtsIds.insert(ltsId);
        break;
    case CI_DEBUG_MSPU_STOP_LTSID:
        if (mspu.runningLtsIds.erase(ltsId) == 0)
        {
            return 0;
        }
        break;
    case CI_DEBUG_SET_TUNER_MAIN:
    case CI_DEBUG_SET_MSPU_TUNER_MAIN:
    case CI_DEBUG_SET_MSPU_TUNER_SUB:
        break;
    }
    mspu.lastCommand = EnumName(command);
    mspu.lastParameter = param;
    return 1;
}

int TCDebug::DisableCAM(bool disable)
{
    m_parts.lifecycle.SetDisabled(disable);
    return 1;
}

int TCDebug::TransferCertifcateDataFromEepromToSecureStorage() { return m_parts.certificates.MoveToStorage() ? 1 : 0; }

int TCDebug::CILogToggle(bool& enabled)
{
    m_isLogging = !enabled;
    enabled = m_isLogging;
    return 1;
}

json::TCDraft TCDebug::State() const
{
    json::TCDraft mspus = json::List();
    for (std::size_t slot = 0; slot < m_mspus.size(); ++slot)
    {
        const TSMspu& mspu = m_mspus[slot];
        mspus.Append(json::Record({{"slot", slot},
                                   {"through", mspu.isThrough},
                                   {"running", mspu.isRunning},
                                   {"ltsIds", mspu.ltsIds},
                                   {"runningLtsIds", mspu.runningLtsIds},
                                   {"lastCommand", mspu.lastCommand},
                                   {"lastParameter", mspu.lastParameter}}));
    }
    return json::Record({{"mspus", std::move(mspus)},
                         {"protectedServices", m_protectedServices},
                         {"log", m_log},
                         {"logging", m_isLogging},
                         {"restarts", m_restarts}});
}
} // namespace CIM::sim
