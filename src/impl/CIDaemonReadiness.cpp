#include "impl/CIDaemonReadiness.h"

#include <cstdlib>
#include <sys/stat.h>

namespace CIM
{
bool IsDaemonReady()
{
    const char* marker = secure_getenv("CIAPI_DAEMON_READY_FILE");
    struct stat status;
    return stat(marker != nullptr && *marker != '\0' ? marker : "/tmp/ci-daemon-ready", &status) == 0;
}
} // namespace CIM
