#include "Address.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/random.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace CIM::sim
{
namespace
{
constexpr std::size_t TOKEN_DIGITS = 32;

[[noreturn]] void Fail(const std::string& what) { throw std::runtime_error(what + ": " + std::strerror(errno)); }

std::string NewToken()
{
    unsigned char bytes[TOKEN_DIGITS / 2];
    if (getrandom(bytes, sizeof bytes, 0) != sizeof bytes)
    {
        Fail("no random token");
    }
    std::string token;
    for (const unsigned char byte : bytes)
    {
        token += "0123456789abcdef"[byte >> 4];
        token += "0123456789abcdef"[byte & 15];
    }
    return token;
}

/// Nobody but its user may read it.
std::string TokenIn(const std::string& path)
{
    int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file >= 0)
    {
        const std::string token = NewToken();
        const bool isWritten = write(file, token.data(), token.size()) == static_cast<ssize_t>(token.size());
        if (close(file) != 0 || !isWritten)
        {
            Fail("cannot write " + path);
        }
        return token;
    }
    file = errno == EEXIST ? open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK) : -1;
    if (file < 0)
    {
        Fail("cannot use " + path);
    }
    struct stat status
    {
    };
    char text[TOKEN_DIGITS + 2] = {};
    const bool isRead = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    const ssize_t count = read(file, text, sizeof text - 1);
    close(file);
    std::string token(text, count > 0 ? static_cast<std::size_t>(count) : 0);
    token.erase(token.find_last_not_of('\n') + 1);
    if (!isRead || token.size() != TOKEN_DIGITS || token.find_first_not_of("0123456789abcdef") != token.npos)
    {
        throw std::runtime_error(path + " holds no token: it is made when it is not there");
    }
    if ((status.st_mode & 077) != 0 || status.st_uid != geteuid())
    {
        throw std::runtime_error(path + " is not this user's alone (chmod 600)");
    }
    return token;
}
} // namespace

TCScreenAddress::TCScreenAddress(unsigned port, const std::string& tokenFile)
    : m_token(tokenFile.empty() ? NewToken() : TokenIn(tokenFile))
{
    m_socket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof address;
    const int on = 1; // what the last simulator's pages have left on the port is no reason to wait
    if (m_socket < 0 || setsockopt(m_socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        bind(m_socket, generic, length) != 0 || listen(m_socket, 16) != 0 ||
        getsockname(m_socket, generic, &length) != 0)
    {
        const int error = errno;
        close(m_socket);
        errno = error;
        Fail("port " + std::to_string(port) + " of the loopback address");
    }
    m_port = ntohs(address.sin_port);
}

TCScreenAddress::~TCScreenAddress()
{
    if (m_socket >= 0)
    {
        close(m_socket);
    }
}

std::string TCScreenAddress::Text() const { return "http://127.0.0.1:" + std::to_string(m_port) + "/" + m_token + "/"; }

bool IsSameSecret(const std::string& left, const std::string& right)
{
    unsigned char difference = left.size() == right.size() ? 0 : 1;
    for (std::size_t i = 0; i < left.size() && i < right.size(); ++i)
    {
        difference = static_cast<unsigned char>(difference | (left[i] ^ right[i]));
    }
    return difference == 0;
}
} // namespace CIM::sim
