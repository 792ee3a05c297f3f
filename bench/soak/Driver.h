#pragma once

#include "soak/Payload.h"
#include "soak/Shared.h"

#include "privatebus/Keeper.h"

#include <functional>
#include <map>
#include <vector>

namespace CIM::soak
{
/// A round without any trouble, in which a planted fault must show, is SMix{}; this makes one with trouble.
SMix MakeMix(std::uint64_t seed, unsigned round);

/// One round: a bus, a daemon and applications of its own, and what happens to them. Everything that it starts ends with
/// it, and with the process. Bound to its thread, which must live as long.
class TCRound
{
public:
    /// \param[in] applications  how many
    /// \throws std::runtime_error when there is no bus or no daemon
    TCRound(SShared& shared, unsigned applications);
    ~TCRound();
    TCRound(const TCRound&) = delete;
    TCRound& operator=(const TCRound&) = delete;

    /// \param[in] isInterrupted  asked again and again; ends the round when true
    void Run(const std::function<bool()>& isInterrupted);

private:
    struct SApplicationProcess
    {
        pid_t process = -1;
        bool isKilled = false; ///< by this driver
        std::uint64_t leavingSince = 0;
    };

    SApplicationProcess& m_AnyApplication();
    void m_StartDaemon();
    void m_StartApplication(unsigned slot);
    void m_Schedule(unsigned perTenSeconds, const std::function<void()>& action);
    void m_Tick(bool isEnding);
    void m_Stop(pid_t process);
    void m_Continue(pid_t process, bool isThere);
    void m_KillDaemon();
    void m_KillBus();
    void m_ArmExit();
    void m_Reap(unsigned slot, bool isEnding);
    void m_CheckExit(SApplicationProcess& application, const SApplicationSlot& told);
    void m_CheckCalls(unsigned slot);
    void m_BeginTrouble();
    void m_EndTrouble();

    SShared& m_shared;
    TCRandom m_random;
    privatebus::TCKeeper m_keeper;
    pid_t m_bus = -1;
    pid_t m_daemon = -1;
    pid_t m_stranger = -1;
    unsigned m_daemons = 0;
    bool m_isDaemonAwaited = false;
    unsigned m_troubles = 0;
    std::vector<SApplicationProcess> m_applications;
    std::map<pid_t, bool> m_stopped;                            ///< whether for so long that it is trouble
    std::multimap<std::uint64_t, std::function<void()>> m_plan; ///< by when it is due
};
} // namespace CIM::soak
