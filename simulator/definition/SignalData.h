#pragma once

#include "protocol/SignalRows.h"

// What the simulator puts into its signals: docs/signals.md, and the rows in protocol/SignalRows.h.

namespace CIM::sim
{
using protocol::NO_SLOT;
using protocol::PackSignalData;
using protocol::UnpackSignalData;
using TSSignal = protocol::SSignal;
using TSSignalFields = protocol::SSignalFields;

using protocol::EPlayerError;
using protocol::EUpgradeReset;
using enum protocol::ECaReply;
using enum protocol::ECamCompatibility;
using enum protocol::EContentVerification;
using enum protocol::EPipelineConnection;
using enum protocol::EPlayerError;
using enum protocol::EPlayerStatus;
using enum protocol::EReleaseAnswer;
using enum protocol::ESacStatus;
using enum protocol::ESlotTestResult;
using enum protocol::ETuneBlocking;
using enum protocol::EUpgradeReset;

/// A signal that concerns a slot, or nothing in particular (NO_SLOT).
/// \throws std::logic_error for an enumerator that the signal does not have
inline TSSignal SlotSignal(ECISignalType type, std::uint8_t slot, const protocol::SGiven& code = {},
                           const protocol::SGiven& id = {}, const protocol::SGiven& value = {})
{
    return {type, PROFILE_MAIN, static_cast<unsigned short>(slot == NO_SLOT ? 0 : slot),
            protocol::MakeSignalData(type, slot, code, id, value)};
}

/// A signal that concerns a TV pipeline.
/// \throws std::logic_error for an enumerator that the signal does not have
inline TSSignal PipelineSignal(ECISignalType type, const TVSHandle& pipeline, std::uint8_t slot,
                               const protocol::SGiven& code = {}, const protocol::SGiven& id = {},
                               const protocol::SGiven& value = {})
{
    return {type, pipeline.profile, pipeline.handle, protocol::MakeSignalData(type, slot, code, id, value)};
}
} // namespace CIM::sim
