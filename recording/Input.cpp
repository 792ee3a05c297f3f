#include "Input.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace CIM::recording
{
TCInput::TCInput(const std::string& path)
    : m_descriptor(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC))
{
    if (m_descriptor < 0)
    {
        throw TCInputError(path + " cannot be read: " + std::strerror(errno));
    }
}

TCInput::~TCInput() { close(m_descriptor); }

std::uint64_t TCInput::Size() const
{
    struct stat found
    {
    };
    return fstat(m_descriptor, &found) == 0 && S_ISREG(found.st_mode) ? static_cast<std::uint64_t>(found.st_size) : 0;
}
} // namespace CIM::recording
