#include "cictl/Terminal.h"

#include "json/Secret.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <termios.h>
#include <unistd.h>
#include <utility>

namespace CIM::cictl
{
using json::Wipe;

namespace
{
using THandler = void (*)(int);

termios shown{};  // the terminal as it was
termios hidden{}; // and as it is meanwhile

void PutRightAndEnd(int number)
{
    tcsetattr(STDIN_FILENO, TCSANOW, &shown);
    std::signal(number, SIG_DFL);
    raise(number); // comes when this handler has returned
}

void PutRightAndStop(int number)
{
    const int savedErrno = errno;
    tcsetattr(STDIN_FILENO, TCSANOW, &shown);
    std::signal(number, SIG_DFL);
    raise(number);
    sigset_t only;
    sigset_t before;
    sigemptyset(&only);
    sigaddset(&only, number);
    pthread_sigmask(SIG_UNBLOCK, &only, &before); // stops here, until somebody lets the process go on
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    std::signal(number, &PutRightAndStop);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    errno = savedErrno;
}

using THandler = void (*)(int);
constexpr std::pair<int, THandler> HANDLERS[] = {{SIGINT, &PutRightAndEnd},
                                                 {SIGTERM, &PutRightAndEnd},
                                                 {SIGHUP, &PutRightAndEnd},
                                                 {SIGQUIT, &PutRightAndEnd},
                                                 {SIGTSTP, &PutRightAndStop}};

// Leaves alone what somebody else handles: a main loop ends by itself; and what is ignored.
void SetHandlers(bool ours)
{
    for (const auto& [number, handler] : HANDLERS)
    {
        struct sigaction current
        {
        };
        if (sigaction(number, nullptr, &current) == 0 && current.sa_handler == (ours ? SIG_DFL : handler))
        {
            std::signal(number, ours ? handler : SIG_DFL);
        }
    }
}
} // namespace

bool IsTerminal() { return isatty(STDIN_FILENO) == 1; }

TCHiddenInput::TCHiddenInput(bool hide)
{
    if (!hide || tcgetattr(STDIN_FILENO, &shown) != 0)
    {
        return;
    }
    hidden = shown;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    hidden.c_lflag |= ECHONL;
    SetHandlers(true);
    m_isHiding = tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden) == 0;
    if (!m_isHiding)
    {
        SetHandlers(false);
    }
}

TCHiddenInput::~TCHiddenInput()
{
    if (m_isHiding)
    {
        tcsetattr(STDIN_FILENO, TCSANOW, &shown);
        SetHandlers(false);
    }
}

TCInputLines& StandardInput()
{
    static TCInputLines lines;
    lines.m_isAtEnd = lines.m_isAtEnd && !IsTerminal(); // who ends one input there may begin another
    return lines;
}

TCInputLines::~TCInputLines() { Wipe(m_bytes); }

bool TCInputLines::Read()
{
    char bytes[512];
    const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
    if (count > 0)
    {
        m_bytes.reserve(4096); // so that growing leaves no copies of short inputs behind
        m_bytes.append(bytes, static_cast<std::size_t>(count));
        explicit_bzero(bytes, sizeof bytes);
    }
    else if (count == 0 || (errno != EINTR && errno != EAGAIN))
    {
        m_isAtEnd = true;
    }
    return !m_isAtEnd;
}

std::optional<std::string> TCInputLines::Take()
{
    const std::size_t end = m_bytes.find('\n');
    if (end == std::string::npos && (!m_isAtEnd || m_bytes.empty()))
    {
        return std::nullopt;
    }
    ++m_taken;
    std::string line = m_bytes.substr(0, end);
    std::string rest = end == std::string::npos ? std::string() : m_bytes.substr(end + 1);
    Wipe(m_bytes);
    m_bytes += rest;
    Wipe(rest);
    if (line.ends_with('\r'))
    {
        line.pop_back();
    }
    return line;
}

std::optional<std::string> TCInputLines::Await(std::size_t mostBytes)
{
    std::optional<std::string> line = Take();
    while (!line && !m_isAtEnd && m_bytes.size() <= mostBytes)
    {
        Read();
        line = Take();
    }
    return line;
}
} // namespace CIM::cictl
