#include "utils/DeskHint.h"

#ifdef CIAPI_PORTABLE_PLATFORM
#include <atomic>
#include <cstdio>
#include <unistd.h>
#endif

namespace CIM
{
#ifdef CIAPI_PORTABLE_PLATFORM
void HintThatThereIsNoBus(const char* reason)
{
    constinit static std::atomic<bool> isTold{false};
    if (isatty(STDERR_FILENO) == 1 && !isTold.exchange(true))
    {
        dprintf(
            STDERR_FILENO,
            "libciapi: there is no system bus (%s). It is tried for a minute, then this process ends. Without a TV: "
            "ci-daemon-sim run -- COMMAND\n",
            reason);
    }
}
#else
void HintThatThereIsNoBus(const char*) {}
#endif
} // namespace CIM
