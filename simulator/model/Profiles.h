#pragma once

#include "simulator/world/World.h"

#include <ciapi/ICIOperatorProfile.h>

#include "json/Draft.h"

#include <map>

namespace CIM::sim
{
/// Operator profiles: offered by CAMs, installed in the set, where they stay when the CAM goes. What the interface
/// leaves to the daemon is decided so:
/// - The number of the start for a TV mode is the EOperatorProfileInstallationOrigin; another number counts as
///   OP_INSTALLATION_ACTIVATED_CI_APP.
/// - Setting the installation state to inactive cancels what runs; setting another one only notes it.
/// - Content labels are counted from 0.
/// SIGNAL_CI_OPERATOR_PROFILE_STATUS_CHANGE carries an ECamOperatorProfileStatus as code, the antenna mode as id and
/// the service mode as value.
class TCProfiles final : public ICIOperatorProfile
{
public:
    using TName = std::basic_string<unsigned short>;

    explicit TCProfiles(TSWorld& world) : m_world(world), m_runs(world.slots.size()) {}

    int GetNotInstalledOperatorProfiles(std::map<unsigned char, std::map<EAntennaMode, TName>>& profiles) override;
    int GetNotInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>& profiles) override;
    int GetInstalledOperatorProfileModesPerServiceMode(EServiceMode serviceMode,
                                                       std::map<TSTvMode, TName>& modes) override;
    int GetInstalledOperatorProfiles(std::map<TSTvMode, TName>& profiles) override;
    int GetInstalledOperatorProfileModesCiSlots(std::map<TSTvMode, unsigned char>& slots) override;
    int GetInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>& profiles) override;
    int StartOperatorProfileInstallation(EProfile profile, int param, unsigned char slot,
                                         TSTvMode const& tvMode) override;
    int StartOperatorProfileInstallation(EOperatorProfileInstallationOrigin origin, unsigned char slot,
                                         EOperatorProfileStartInstallationStatus& status) override;
    int UpdateOperatorProfile(unsigned char slot) override;
    int SetOperatorProfileInstallationState(unsigned char slot, EOperatorProfileInstallationOrigin origin,
                                            bool oneWay) override;
    int GetOperatorProfileInstallationState(unsigned char slot, EOperatorProfileInstallationOrigin& origin) override;
    int GetOperatorProfileInstallationOrigin(unsigned char slot, EOperatorProfileInstallationOrigin& origin) override;
    int RemoveOperatorProfile(TSTvMode const& tvMode, bool oneWay) override;
    int GetOperatorProfileContentLabel(TSTvMode const& tvMode, unsigned char slot, unsigned char labelIndex,
                                       TName& label) override;

    /// The CAM offers a profile of its definition.
    /// \param[in] index  which one, counted from 0
    TSOutcome Offer(unsigned slot, std::size_t index);
    /// The CAM says something about its installed profile, such as that it wants a refresh.
    TSOutcome Announce(unsigned slot, ECamOperatorProfileStatus status);

    // For the debug interface.
    void RemoveAll();
    bool StartFirst();
    void Schedule(unsigned seconds);
    void ClearSchedule();

    void OnCamReady(const TSSlot& slot);
    void OnCamGone(const TSSlot& slot);
    json::TCDraft State() const;

private:
    struct TSInstalled
    {
        TSProfileDefinition profile;
        unsigned char slot = 0;
    };
    struct TSRun
    {
        bool isRunning = false;
        bool isUpdate = false;
        std::size_t index = 0;
        TCClock::TEventId event = 0;
        EOperatorProfileInstallationOrigin state = OP_INSTALLATION_INACTIVE;
        EOperatorProfileInstallationOrigin origin = OP_INSTALLATION_INACTIVE;
    };

    bool m_IsInstalled(const TSProfileDefinition& profile, unsigned char slot) const;
    std::optional<std::size_t> m_FirstNotInstalled(unsigned char slot) const;
    void m_Start(const TSSlot& slot, std::size_t index, EOperatorProfileInstallationOrigin origin, bool isUpdate);
    void m_Finish(unsigned char slot, bool isGood);
    void m_Raise(unsigned char slot, ECamOperatorProfileStatus status, const TSProfileDefinition& profile);
    template <class Action>
    void m_ForEachNotInstalled(Action action) const;

    TSWorld& m_world;
    std::set<std::pair<unsigned char, std::size_t>> m_offered; ///< slot and index
    std::map<TSTvMode, TSInstalled> m_installed;
    std::vector<TSRun> m_runs;
    TCClock::TEventId m_schedule = 0;
    TTime m_scheduledAt = -1;
};
} // namespace CIM::sim
