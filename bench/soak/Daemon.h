#pragma once

#include "soak/Shared.h"

// Who applications talk to, and who pretends to be it. Each is a process of its own and runs until it is killed.

namespace CIM::soak
{
/// Interface and method for calls without an argument tree: the payload of the answer is what its request asks for.
inline constexpr short RAW_METHOD = 100;
/// The answer tells how many signals each key has had: a TFence.
inline constexpr short FENCE_METHOD = 101;
/// The first of the four methods of ICIGeneral with bytes as second argument and as answer.
inline constexpr short FIRST_BYTES_METHOD = 33;

/// What FAULT_ERROR is answered with; its text is the number of the call.
inline constexpr const char* ERROR_NAME = "com.kelvora.soak.Error";

/// The keys that applications subscribe to: one CI signal type of one pipeline each.
inline constexpr unsigned SIGNAL_KEYS = 12;
constexpr int SignalTypeOf(unsigned key) { return 17 + static_cast<int>(key) / 3; }
constexpr unsigned short HandleOf(unsigned key) { return static_cast<unsigned short>(key % 3); }

/// The place of a signal among all of its key: by daemon, then by number. It travels as the signal's eight bytes.
using TStamp = std::uint64_t;
constexpr TStamp StampOf(unsigned daemon, unsigned key, unsigned number)
{
    return static_cast<TStamp>(daemon) << 40 | static_cast<TStamp>(key) << 32 | number;
}
constexpr unsigned DaemonOf(TStamp stamp) { return static_cast<unsigned>(stamp >> 40); }
constexpr unsigned KeyOf(TStamp stamp) { return static_cast<unsigned>(stamp >> 32) & 0xFF; }
/// Who sends with this daemon's number is a stranger.
inline constexpr unsigned STRANGER = 0xFFFFFF;

/// The last stamp of each key.
using TFence = std::array<TStamp, SIGNAL_KEYS>;

int RunDaemon(SShared& shared, unsigned number);
/// Sends signals as another user, well-formed and malformed ones: nobody may take them. Needs root.
int RunStranger(SShared& shared);
} // namespace CIM::soak
