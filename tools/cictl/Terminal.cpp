#include "cictl/Terminal.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <unistd.h>

namespace CIM::cictl
{
namespace
{
using THandler = void (*)(int);

termios shown{}; // the terminal as it was

void PutRightAndEnd(int number)
{
    tcsetattr(STDIN_FILENO, TCSANOW, &shown);
    std::signal(number, SIG_DFL);
    raise(number);
}

// Leaves alone what somebody else handles: a main loop ends by itself.
void SetHandlers(THandler from, THandler to)
{
    for (const int number : {SIGINT, SIGTERM})
    {
        struct sigaction current
        {
        };
        if (sigaction(number, nullptr, &current) == 0 && current.sa_handler == from)
        {
            std::signal(number, to);
        }
    }
}
} // namespace

void Wipe(std::string& text)
{
    explicit_bzero(text.data(), text.size());
    text.clear();
}

bool IsTerminal() { return isatty(STDIN_FILENO) == 1; }

TCHiddenInput::TCHiddenInput(bool hide)
{
    if (!hide || tcgetattr(STDIN_FILENO, &shown) != 0)
    {
        return;
    }
    SetHandlers(SIG_DFL, &PutRightAndEnd);
    termios hidden = shown;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    hidden.c_lflag |= ECHONL;
    m_isHiding = tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden) == 0;
}

TCHiddenInput::~TCHiddenInput()
{
    if (m_isHiding)
    {
        tcsetattr(STDIN_FILENO, TCSANOW, &shown);
        SetHandlers(&PutRightAndEnd, SIG_DFL);
    }
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
    std::string line = m_bytes.substr(0, end);
    std::string rest = end == std::string::npos ? std::string() : m_bytes.substr(end + 1);
    Wipe(m_bytes);
    m_bytes = rest;
    Wipe(rest);
    if (line.ends_with('\r'))
    {
        line.pop_back();
    }
    return line;
}
} // namespace CIM::cictl
