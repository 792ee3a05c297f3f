#pragma once

#include <cstdint>
#include <string>

namespace CIM::soak
{
/// What a round does, all of it from its seed. Frequencies are per ten seconds, unless they say otherwise.
struct SMix
{
    unsigned milliseconds = 0; ///< how long it lasts
    unsigned lyingCalls = 0;   ///< of 100'000
    unsigned largeCalls = 0;   ///< of 100'000
    unsigned daemonStops = 0;
    unsigned busStops = 0;
    unsigned applicationStops = 0;
    unsigned longStops = 0; ///< of 100: how many of the stops last longer than the bus waits for a reply
    unsigned daemonKills = 0;
    unsigned applicationKills = 0;
    unsigned exits = 0; ///< under load, over all applications
    unsigned forks = 0; ///< by each application
    unsigned slowCallsUs = 0;
    bool isBusKilled = false;  ///< at the end
    bool isBusLoose = false;   ///< lets replies through that nobody asked for
    bool isBusPatient = false; ///< does not end calls itself: the library's own time-out does
    bool hasStranger = false;
};

/// What the bus grants a call in most rounds.
inline constexpr unsigned BUS_REPLY_TIMEOUT_MS = 4'000;
/// What the library grants it.
inline constexpr unsigned LIBRARY_TIMEOUT_MS = 25'000;

/// What to leave out.
struct SWithout
{
    bool exits = false;
    bool forks = false;
    bool strangers = false;
    bool stops = false;
    bool kills = false;
    bool lies = false;
};

SMix MakeMix(std::uint64_t seed, unsigned round, const SWithout& without);
/// A round without any trouble, in which a planted fault must show.
SMix QuietMix();
std::string ToString(const SMix& mix);
} // namespace CIM::soak
