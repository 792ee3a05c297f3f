#include "Marker.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace CIM::sim
{
std::string TCMarker::DefaultPath()
{
    const char* const path = secure_getenv("CIAPI_DAEMON_READY_FILE");
    return path != nullptr && *path != '\0' ? path : "/tmp/ci-daemon-ready";
}

void TCMarker::Write()
{
    if (m_path.empty())
    {
        return;
    }
    static unsigned count = 0; // tells several daemons of one process apart
    const std::string content = "ci-daemon-sim " + std::to_string(getpid()) + ' ' + std::to_string(++count) + '\n';
    // Made beside and moved into place: the usual path lies where anybody may put a link for us to follow.
    std::string fresh = m_path + ".XXXXXX";
    const int file = mkstemp(fresh.data());
    const bool isWritten = file >= 0 && fchmod(file, 0644) == 0 &&
                           write(file, content.data(), content.size()) == static_cast<ssize_t>(content.size());
    if (file >= 0)
    {
        close(file);
    }
    if (!isWritten || rename(fresh.c_str(), m_path.c_str()) != 0)
    {
        const std::string reason = std::strerror(errno);
        unlink(fresh.c_str());
        throw std::runtime_error("cannot write the readiness marker " + m_path + ": " + reason);
    }
    m_written = content;
}

void TCMarker::Remove()
{
    if (m_written.empty())
    {
        return;
    }
    std::ifstream file(m_path);
    if (std::string(std::istreambuf_iterator<char>(file), {}) == m_written)
    {
        unlink(m_path.c_str());
    }
    m_written.clear();
}
} // namespace CIM::sim
