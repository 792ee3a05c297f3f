#pragma once

#include <ciapi/CIEnumerations.h>
#include <ciapi/CISampleDecryptionDataType.h>
#include <ciapi/CISignalDataType.h>

#include <cstdint>
#include <cstring>

// What the simulator puts into its signals. docs/signals.md has the same as a table.
//
// Every signal's eight bytes have one layout, integers in the host's byte order:
//
//   offset 0, 1 byte   slot    the slot concerned, 0xFF when there is none
//   offset 1, 1 byte   code    a status, reason, message or answer; its enumeration depends on the signal
//   offset 2, 2 bytes  id      which session, file system, player, ... is meant; 0 when there is nothing to tell apart
//   offset 4, 4 bytes  value   a number that goes with the code
//
// A signal about a TV pipeline carries that pipeline's profile and handle number. Every other signal is raised with
// profile 0 and the slot as handle number (0 when there is no slot).

namespace CIM::sim
{
/// A signal as an application receives it.
struct TSSignal
{
    ECISignalType type = SIGNAL_CI_TYPE_BEGIN;
    EProfile profile = PROFILE_MAIN;
    unsigned short handle = 0;
    TSSignalData data;
};

/// The fields of a signal's eight bytes.
struct TSSignalFields
{
    std::uint8_t slot = 0xFF;
    std::uint8_t code = 0;
    std::uint16_t id = 0;
    std::uint32_t value = 0;
};
static_assert(sizeof(TSSignalFields) == sizeof(TSSignalData), "the fields fill the data, without gaps");

inline constexpr std::uint8_t NO_SLOT = 0xFF;

inline TSSignalData PackSignalData(const TSSignalFields& fields)
{
    TSSignalData data;
    std::memcpy(data.bytes, &fields, sizeof fields);
    return data;
}

inline TSSignalFields UnpackSignalData(const TSSignalData& data)
{
    TSSignalFields fields;
    std::memcpy(&fields, data.bytes, sizeof fields);
    return fields;
}

/// A signal that concerns a slot, or nothing in particular (NO_SLOT).
inline TSSignal SlotSignal(ECISignalType type, std::uint8_t slot, int code = 0, std::uint16_t id = 0,
                           std::uint32_t value = 0)
{
    return {type, PROFILE_MAIN, static_cast<unsigned short>(slot == NO_SLOT ? 0 : slot),
            PackSignalData({slot, static_cast<std::uint8_t>(code), id, value})};
}

/// A signal that concerns a TV pipeline.
inline TSSignal PipelineSignal(ECISignalType type, const TVSHandle& pipeline, std::uint8_t slot, int code = 0,
                               std::uint16_t id = 0, std::uint32_t value = 0)
{
    return {type, pipeline.profile, pipeline.handle,
            PackSignalData({slot, static_cast<std::uint8_t>(code), id, value})};
}

/// What SIGNAL_CI_CA_REPLY carries as code: the CA_enable values of EN 50221's ca_pmt_reply.
enum ECaReply : int
{
    CA_REPLY_POSSIBLE = 0x01,
    CA_REPLY_POSSIBLE_PURCHASE = 0x02,
    CA_REPLY_POSSIBLE_TECHNICAL = 0x03,
    CA_REPLY_NOT_POSSIBLE_NO_ENTITLEMENT = 0x71,
    CA_REPLY_NOT_POSSIBLE_TECHNICAL = 0x73,
};

/// What SIGNAL_CI_CICAM_PLAYER_PLAYBACK_STATUS carries as code.
enum EPlayerStatus : int
{
    PLAYER_STATUS_STOPPED = 0,
    PLAYER_STATUS_PLAYING = 1,
    PLAYER_STATUS_PAUSED = 2,
    PLAYER_STATUS_REACHED_BEGIN = 3,
    PLAYER_STATUS_REACHED_END = 4,
};

/// What SIGNAL_CI_CICAM_PLAYER_ERROR carries as code: CI Plus's player errors, and our own for a CAM that went.
enum EPlayerError : int
{
    PLAYER_ERROR_CONTENT_UNKNOWN = 1,
    PLAYER_ERROR_CONTENT_REFUSED = 2,
    PLAYER_ERROR_PLAYBACK = 3,
    PLAYER_ERROR_CAM_GONE = 0xFF,
};

/// What SIGNAL_CI_TUNER_RELEASE_REPLY_STATUS carries as code.
enum EReleaseAnswer : int
{
    RELEASE_ANSWER_OK = 0,
    RELEASE_ANSWER_REFUSED = 1,
};

/// What SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE carries as value with CAM_UPGRADE_STATUS_RESET.
enum EUpgradeReset : int
{
    UPGRADE_RESET_PCMCIA = 0,
    UPGRADE_RESET_INTERFACE = 1,
    UPGRADE_RESET_NONE = 2,
    UPGRADE_FAILED = 0xFF,
};
} // namespace CIM::sim
