#pragma once

#include "simulator/world/World.h"

#include <ciapi/ICIDebug.h>

#include "json/Draft.h"

#include <deque>

namespace CIM::sim
{
struct TSParts;

/// The debug and factory commands. What a daemon writes to its log stands, as the last 100 lines, in the state. What
/// the interface leaves to the daemon is decided so:
/// - OPRegisterSchedule: seconds from now.
/// - RestartCIMManager resets every CAM; whoever wants the process gone does that outside of the model.
/// - FactoryReset forgets profiles, protected services and the schedule, and resets every CAM; certificates stay.
/// - RunMSPUCommand: the parameter is kept with the command; LTS identifiers are those of the slot.
class TCDebug final : public ICIDebug
{
public:
    TCDebug(TSWorld& world, TSParts& parts);

    int PrintStatus() override;
    int ClearDescramblingHistory() override;
    int ResetPcmcia(unsigned char slot) override;
    int ResetCertificateDataInEeprom() override;
    int ResetCertificateDataInSecureStorage() override;
    int SetTransportStreamRouteMode(unsigned char slot, bool through) override;
    int GetTransportStreamRouteMode(unsigned char slot, bool& through) override;
    int RestartCIMManager() override;
    int FactoryReset() override;
    int DebugTunePreparation(bool enable) override;
    int DebugTunePreparationAck(bool ack) override;
    int IsTunerLockedByCI(bool& locked) override;
    int OPClearSchedule() override;
    int OPRegisterSchedule(unsigned int schedule) override;
    int OPPrintBootupReason() override;
    int StartOperatorProfileInstallation() override;
    int RemoveAllOperatorProfiles() override;
    int PrintCIServiceProtectionDatabase() override;
    int ClearCIServiceProtectionDatabase() override;
    int GetSlotsCount(unsigned char& count) override;
    int RunMSPUCommand(unsigned char slot, ECIDebugMSPUCommand command, unsigned char param,
                       unsigned short ltsId) override;
    int DisableCAM(bool disable) override;
    int TransferCertifcateDataFromEepromToSecureStorage() override;
    int CILogToggle(bool& enabled) override;

    json::TCDraft State() const;

private:
    struct TSMspu
    {
        bool isThrough = true;
        std::set<unsigned short> ltsIds;
        std::set<unsigned short> runningLtsIds;
        bool isRunning = false;
        std::string lastCommand;
        int lastParameter = 0;
    };

    void m_Log(std::string line);

    TSWorld& m_world;
    TSParts& m_parts;
    std::vector<TSMspu> m_mspus;
    std::vector<std::string> m_protectedServices;
    std::deque<std::string> m_log;
    bool m_isLogging = false;
    bool m_isPreparingTune = false;
    unsigned m_restarts = 0;
};
} // namespace CIM::sim
