#include "ServiceManager.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace CIM::sim
{
namespace
{
/// \return false with errno
bool Send(std::string_view where, const std::string& state)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (where.size() >= sizeof address.sun_path || (where.front() != '/' && where.front() != '@'))
    {
        errno = EINVAL;
        return false;
    }
    std::copy(where.begin(), where.end(), address.sun_path);
    if (where.front() == '@')
    {
        address.sun_path[0] = '\0'; // a name that is no file
    }
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + where.size());
    const int handle = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (handle < 0)
    {
        return false;
    }
    const ssize_t sent =
        sendto(handle, state.data(), state.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address), length);
    const int error = errno;
    close(handle);
    errno = error;
    return sent == static_cast<ssize_t>(state.size());
}
} // namespace

// These lines in place of libsystemd: the protocol is one datagram, and the tool runs where that library is not.
void TellServiceManager(const std::string& state)
{
    const char* const where = secure_getenv("NOTIFY_SOCKET");
    if (where != nullptr && *where != '\0' && !Send(where, state))
    {
        std::fprintf(stderr, "ci-daemon-sim: the service manager at %s hears nothing: %s\n", where,
                     std::strerror(errno));
    }
}
} // namespace CIM::sim
