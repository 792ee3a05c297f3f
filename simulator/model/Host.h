#pragma once

#include "simulator/world/World.h"

#include "json/Draft.h"

#include <list>
#include <string>

namespace CIM::sim
{
/// What CI does with the set itself: host control of the tuner, tune blocking, flags that CAMs raise, the slots'
/// hardware test and the backup.
class TCHost
{
public:
    explicit TCHost(TSWorld& world);

    bool IsHostControlActive() const { return m_holder.has_value(); }
    int AskRelease();
    bool IsTuneBlocked(const TVSHandle& pipeline, EStateChange change);
    bool IsAppWanted() const;
    bool IsTranscodingAutomatic() const;
    bool IsSpecialCamInserted() const;
    int TestSlot(unsigned char slot);
    int SetDisplayStatus(unsigned char slot, bool status);
    void GetBackupFiles(std::list<std::string>& paths) const { paths = m_backupFiles; }
    int BackupDone(const std::list<std::string>& paths);

    /// The CAM takes the tuner, or gives it back.
    TSOutcome SetHostControl(unsigned slot, bool isActive, const TVSHandle& pipeline = {PROFILE_MAIN, 0});
    void BlockTuning(bool isBlocked, const TVSHandle& pipeline = {PROFILE_MAIN, 0});
    /// Answers for a tune that was asked for while tuning is blocked.
    void AcknowledgeTune(bool isAllowed, EStateChange change, const TVSHandle& pipeline);
    void SetBackupFiles(std::list<std::string> paths) { m_backupFiles = std::move(paths); }

    void OnCamReady(const TSSlot& slot);
    void OnCamGone(const TSSlot& slot);
    json::TCDraft State() const;

private:
    TSWorld& m_world;
    std::optional<unsigned char> m_holder; ///< the slot whose CAM holds the tuner
    TVSHandle m_heldPipeline{PROFILE_MAIN, 0};
    bool m_isTuneBlocked = false;
    std::map<int, bool> m_displayStatus;
    std::list<std::string> m_backupFiles;
};
} // namespace CIM::sim
