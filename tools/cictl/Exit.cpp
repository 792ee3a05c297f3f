#include "cictl/Exit.h"

#include <algorithm>
#include <iterator>

namespace CIM::cictl
{
namespace
{
constexpr TSExit EXITS[] = {
    {EXIT_ANSWERED, "done", "done, and the answer was yes"},
    {EXIT_REFUSED, "refused", "the daemon or the CAM said no, or has no such thing; or the output cannot be written"},
    {EXIT_USAGE, "usage", "wrong usage"},
    {EXIT_NO_DAEMON, "no-daemon", "no CI daemon on the bus, or it went away"},
    {EXIT_NO_BUS, "no-bus", "no bus, or it went away"},
    {EXIT_NO_CI, "no-ci", "this set has no CI, or does not say that it has"},
    {EXIT_TIMEOUT, "timeout", "the time is over"},
    {EXIT_DENIED, "denied", "the policy of the bus does not allow it to this user"},
    {EXIT_NOT_READABLE, "not-readable", "the daemon's reply is not readable"},
    {EXIT_INTERRUPTED, "interrupted", "interrupted (SIGINT)"},
    {EXIT_TERMINATED, "terminated", "asked to end (SIGTERM)"},
};
} // namespace

std::span<const TSExit> Exits() { return EXITS; }

const TSExit& ExitOf(EExit status)
{
    return *std::find_if(std::begin(EXITS), std::end(EXITS), [&](const TSExit& exit) { return exit.status == status; });
}
} // namespace CIM::cictl
