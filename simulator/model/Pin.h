#pragma once

#include "simulator/world/World.h"

#include "json/Draft.h"
#include "json/Secret.h"

#include <string>

namespace CIM::sim
{
enum EPinOutcome : int
{
    PIN_WRONG,
    PIN_RIGHT,
    PIN_BLOCKED,
};

/// The CAMs' PINs: tries, blocking, requests. A PIN's digits appear neither in the state nor in a signal.
class TCPin
{
public:
    explicit TCPin(TSWorld& world) : m_world(world), m_states(world.slots.size()) {}

    /// Compares an answer with the PIN and counts the try. Leading zeros count.
    EPinOutcome Check(const TSSlot& slot, std::string_view digits);
    int TriesLeft(const TSSlot& slot) const;

    /// Operations of the general interface; 1 or 0.
    int Verify(unsigned char slot, const TBytes& pin);
    int Set(unsigned char slot, const TBytes& pin);
    int IsNeeded() const;

    /// The CAM asks for its PIN because of a programme's rating.
    TSOutcome Ask(unsigned slot, const TVSHandle& pipeline, int rating);
    /// A right PIN came by another way, such as the CAM's own dialogue.
    void Answered(const TSSlot& slot);

    void OnCamIn(const TSSlot& slot);
    /// A CAM remembers its PIN and its tries over a reset; what was asked and verified is over.
    void OnCamGone(const TSSlot& slot);
    json::TCDraft State() const;

private:
    struct TSState
    {
        json::TCSecret digits;
        int triesLeft = 0;
        TTime blockedUntil = 0;
        bool isAsked = false;
        bool isVerified = false;
        bool isBusy = false;
        TVSHandle pipeline;
    };

    bool m_IsBlocked(const TSSlot& slot) const { return m_world.clock.Now() < m_states[slot.number].blockedUntil; }
    int m_Start(unsigned char slot, const TBytes& pin, ECISignalType reply, bool replaces);
    void m_Reply(unsigned char slot, ECISignalType type, ECamPinCodeStatus status);

    TSWorld& m_world;
    std::vector<TSState> m_states;
};
} // namespace CIM::sim
