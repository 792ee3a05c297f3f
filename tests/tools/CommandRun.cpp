#include "tools/CommandRun.h"

#include "privatebus/Process.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

namespace CIM
{
using privatebus::SendSignal;
using privatebus::WaitForEnd;

namespace
{
constexpr int PATIENCE_MS = 20'000;

void Execute(const std::vector<std::string>& command)
{
    std::vector<char*> words;
    for (const std::string& word : command)
    {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    execvp(words[0], words.data());
    _exit(127);
}

} // namespace

TCStartedCommand::TCStartedCommand(const std::vector<std::string>& command, const std::string& input)
{
    int in[2];
    int out[2];
    int error[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0 || pipe2(error, O_CLOEXEC) != 0)
    {
        throw std::runtime_error("no pipes");
    }
    m_pid = fork();
    if (m_pid == 0)
    {
        dup2(in[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        dup2(error[1], STDERR_FILENO);
        Execute(command);
    }
    // Inputs are far smaller than what a pipe holds.
    EXPECT_EQ(write(in[1], input.data(), input.size()), static_cast<ssize_t>(input.size()));
    for (const int end : {in[0], in[1], out[1], error[1]})
    {
        close(end);
    }
    m_pipes[0] = out[0];
    m_pipes[1] = error[0];
}

TCStartedCommand::~TCStartedCommand()
{
    if (SendSignal(m_pid, SIGKILL))
    {
        WaitForEnd(m_pid);
    }
    for (const int pipe : m_pipes)
    {
        if (pipe >= 0)
        {
            close(pipe);
        }
    }
}

void TCStartedCommand::Signal(int number) const { SendSignal(m_pid, number); }

// Reads what comes next. Returns false when both pipes are at their end, or nothing came in time.
bool TCStartedCommand::m_Read(int timeoutMs)
{
    pollfd waits[2] = {{m_pipes[0], POLLIN, 0}, {m_pipes[1], POLLIN, 0}};
    if (poll(waits, 2, timeoutMs) <= 0)
    {
        return false;
    }
    for (int i = 0; i < 2; ++i)
    {
        if (waits[i].revents != 0)
        {
            char bytes[4096];
            const ssize_t count = read(m_pipes[i], bytes, sizeof bytes);
            if (count > 0)
            {
                m_texts[i].append(bytes, static_cast<std::size_t>(count));
            }
            else
            {
                close(m_pipes[i]);
                m_pipes[i] = -1;
            }
        }
    }
    return m_pipes[0] >= 0 || m_pipes[1] >= 0;
}

bool TCStartedCommand::WaitForError(const std::string& piece)
{
    while (m_texts[1].find(piece) == std::string::npos)
    {
        if (!m_Read(PATIENCE_MS))
        {
            return false;
        }
    }
    return true;
}

TSRun TCStartedCommand::Wait()
{
    while (m_Read(2 * PATIENCE_MS))
    {
    }
    if (m_pipes[0] >= 0 || m_pipes[1] >= 0)
    {
        ADD_FAILURE() << "the command does not end; it wrote: " << m_texts[0] << m_texts[1];
        SendSignal(m_pid, SIGKILL);
    }
    const int status = WaitForEnd(m_pid);
    m_pid = -1;
    return {status, m_texts[0], m_texts[1]};
}

TSRun RunInTerminal(const std::vector<std::string>& command,
                    const std::vector<std::pair<std::string, std::string>>& answers)
{
    int terminal = -1;
    const pid_t pid = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (pid == 0)
    {
        Execute(command);
    }
    if (pid < 0)
    {
        ADD_FAILURE() << "there is no terminal (is /dev/pts mounted?): " << std::strerror(errno);
        return {-1, {}, {}};
    }
    std::string shown;
    std::size_t seen = 0;
    std::size_t next = 0;
    while (true)
    {
        const std::size_t place = next < answers.size() ? shown.find(answers[next].first, seen) : std::string::npos;
        if (place != std::string::npos)
        {
            seen = place + answers[next].first.size();
            const std::string& typed = answers[next++].second;
            EXPECT_EQ(write(terminal, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
            continue;
        }
        pollfd wait{terminal, POLLIN, 0};
        if (poll(&wait, 1, 2 * PATIENCE_MS) <= 0)
        {
            ADD_FAILURE() << "the command does not go on; the terminal shows: " << shown;
            SendSignal(pid, SIGKILL);
            break;
        }
        char bytes[4096];
        const ssize_t count = read(terminal, bytes, sizeof bytes);
        if (count <= 0) // the terminal's other end is closed
        {
            break;
        }
        shown.append(bytes, static_cast<std::size_t>(count));
    }
    const int status = WaitForEnd(pid);
    close(terminal);
    EXPECT_EQ(next, answers.size()) << "not everything was asked; the terminal shows: " << shown;
    return {status, shown, {}};
}
} // namespace CIM
