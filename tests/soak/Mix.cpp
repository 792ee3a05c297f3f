#include "soak/Mix.h"

#include "soak/Payload.h"

#include <sstream>

namespace CIM::soak
{
SMix QuietMix()
{
    SMix mix;
    mix.milliseconds = 30'000; // unless enough is done before
    mix.largeCalls = 3;
    return mix;
}

SMix MakeMix(std::uint64_t seed, unsigned round, const SWithout& without)
{
    TCRandom random(seed * 1'000'003 + round);
    SMix mix = QuietMix();
    mix.milliseconds = 4'000 + random.Below(8'000);
    const auto sometimes = [&random](unsigned oneIn, unsigned atMost)
    { return random.OneIn(oneIn) ? 1 + random.Below(atMost) : 0; };
    mix.lyingCalls = sometimes(1, 1'500);
    mix.largeCalls = random.Below(6);
    mix.daemonStops = sometimes(2, 15);
    mix.busStops = sometimes(3, 15);
    mix.applicationStops = sometimes(3, 15);
    mix.longStops = sometimes(4, 10);
    mix.daemonKills = sometimes(4, 5);
    mix.applicationKills = sometimes(4, 5);
    mix.exits = sometimes(3, 10);
    mix.forks = sometimes(3, 20);
    mix.slowCallsUs = sometimes(8, 300);
    mix.isBusKilled = random.OneIn(4);
    mix.isBusLoose = random.OneIn(3);
    mix.hasStranger = random.OneIn(4);
    mix.isBusPatient = random.OneIn(20);
    if (mix.isBusPatient)
    {
        mix.milliseconds = LIBRARY_TIMEOUT_MS + 8'000;
        mix.isBusKilled = false;
        mix.longStops = 0;
    }
    if (without.exits)
    {
        mix.exits = 0;
    }
    if (without.forks)
    {
        mix.forks = 0;
    }
    if (without.stops)
    {
        mix.daemonStops = mix.busStops = mix.applicationStops = 0;
    }
    if (without.kills)
    {
        mix.daemonKills = mix.applicationKills = 0;
        mix.isBusKilled = false;
    }
    if (without.lies)
    {
        mix.lyingCalls = 0;
    }
    mix.hasStranger = mix.hasStranger && !without.strangers;
    return mix;
}

std::string ToString(const SMix& mix)
{
    std::ostringstream text;
    text << mix.milliseconds << " ms, " << mix.lyingCalls << " lies and " << mix.largeCalls
         << " large calls of 100000, stops " << mix.daemonStops << '/' << mix.busStops << '/' << mix.applicationStops
         << " (daemon/bus/application, " << mix.longStops << "% long), kills " << mix.daemonKills << '/'
         << mix.isBusKilled << '/' << mix.applicationKills << ", exits " << mix.exits << ", forks " << mix.forks
         << ", slow " << mix.slowCallsUs << " us" << (mix.isBusLoose ? ", loose bus" : "")
         << (mix.isBusPatient ? ", patient bus" : "") << (mix.hasStranger ? ", stranger" : "");
    return text.str();
}
} // namespace CIM::soak
