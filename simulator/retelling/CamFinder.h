#pragma once

#include "SetFromRecording.h"

#include <set>

namespace CIM::sim
{
/// What is known about a stay's CAM, besides its menus.
struct TSKnownCam
{
    TSStay stay;
    json::TJson cam = json::NewObject(); ///< members of its definition
    std::int64_t firstAt = 0;
    std::size_t caSystems = 0; ///< how many, where not even that tells which
    std::set<unsigned> pmtIds; ///< those of the services that it was asked to descramble
};

/// Collects which CAMs were in which slots of a recording, and what they are.
class TCCamFinder
{
public:
    explicit TCCamFinder(const TSRecording& recording) : m_recording(recording) {}

    void Find();

    std::vector<TSKnownCam>& Known() { return m_known; }
    unsigned Slots() const { return std::max(m_slots, m_isCounted ? 1U : 2U); }
    const json::TJson& BackupFiles() const { return m_backupFiles; }

private:
    struct TSPlace
    {
        std::optional<std::size_t> known; ///< the CAM that is there
        bool isEmpty = false;             ///< known to be
        bool isReady = false;
    };
    TSPlace& m_At(unsigned slot);

    /// The CAM of a slot, about which something is said now.
    TSKnownCam& m_Cam(unsigned slot);
    /// What was said first counts.
    void m_Say(unsigned slot, const char* member, const json::TJson& value);
    void m_TakeCall(const TSRecordedCall& call);
    void m_Serves(unsigned slot);
    /// The CAM that answers what is asked of no certain one.
    json::TJson& m_AnyCam();
    void m_TakeStatuses(const TSSpoken& spoken);
    void m_TakeModes(const TSSpoken& spoken);
    void m_TakeCurrent(const TSSpoken& spoken);
    void m_TakeInfo(const TSSpoken& spoken);
    void m_TakeCaSystems(const TSSpoken& spoken);
    void m_TakeCaPmt(const TSSpoken& spoken);
    void m_TakeSas(const TSSpoken& spoken);
    void m_TakePinHandler(const TSSpoken& spoken) { m_AnyCam()["pin"]["handler"] = spoken.Output("handler"); }
    void m_TakeBackupFiles(const TSSpoken& spoken) { m_backupFiles = spoken.Output("paths"); }
    void m_TakeProfileNames(const TSSpoken& spoken);
    void m_TakeProfiles(const TSSpoken& spoken);
    /// What was said before about the profile of an antenna mode is added to.
    void m_AddProfile(unsigned slot, const json::TJson& profile);
    void m_TakeSignal(const TSSignal& signal, const TSSignalFields& fields);
    void m_TakeProfile(unsigned slot, unsigned status, const json::TJson& antennaMode, const json::TJson& serviceMode);
    /// A CAM announces itself: unless one is known to be there, the slot was empty.
    void m_Expect(unsigned slot);
    void m_BecomeReady(unsigned slot);
    void m_Leave(unsigned slot);

    const TSRecording& m_recording;
    std::size_t m_place = 0;
    std::map<unsigned, TSPlace> m_places;
    std::vector<TSKnownCam> m_known;
    unsigned m_slots = 0;
    bool m_isCounted = false;                  ///< all slots were asked for
    std::optional<std::int64_t> m_installedAt; ///< the installation of an operator profile began
    json::TJson m_backupFiles = json::NewList();
};

/// "0x0500", as ids are written in definitions.
std::string Hexadecimal(std::uint64_t number, int digits);
} // namespace CIM::sim
