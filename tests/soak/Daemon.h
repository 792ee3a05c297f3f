#pragma once

#include "soak/Shared.h"

#include <string>

// Who applications talk to, and who pretends to be it. Each is a process of its own and runs until it is killed.

namespace CIM::soak
{
/// Interface and method for calls without an argument tree: the payload of the answer is what its request asks for.
inline constexpr short RAW_METHOD = 100;
/// The answer tells how many signals each key has had: see SFence.
inline constexpr short FENCE_METHOD = 101;
/// The methods of ICIGeneral with bytes as second argument and as answer, and a one-way one.
inline constexpr short FIRST_BYTES_METHOD = 33;
inline constexpr short LAST_BYTES_METHOD = 36;
inline constexpr short ONE_WAY_METHOD = 11;

/// The place of a signal among all of its key: by daemon, then by number. It travels as the signal's eight bytes.
using TStamp = std::uint64_t;
constexpr TStamp StampOf(unsigned daemon, unsigned number) { return static_cast<TStamp>(daemon) << 32 | number; }
/// Who sends with this daemon's number is a stranger.
inline constexpr unsigned STRANGER = 0xFFFFFFFF;

/// The last stamp of each key.
using TFence = std::array<TStamp, SIGNAL_KEYS>;

/// The signal type and the pipeline's handle of a key.
constexpr int SignalTypeOf(unsigned key) { return FIRST_SIGNAL_TYPE + static_cast<int>(key) / 3; }
constexpr unsigned short HandleOf(unsigned key) { return static_cast<unsigned short>(key % 3); }

int RunDaemon(SShared& shared, unsigned number);
/// Sends signals as another user, well-formed and malformed ones: nobody may take them. Needs root.
int RunStranger(SShared& shared);
} // namespace CIM::soak
