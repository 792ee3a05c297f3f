#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace CIM
{
/// How a command ended, and what it wrote.
struct TSRun
{
    int status; ///< of the shell: 128 and the signal's number when a signal ended it
    std::string output;
    std::string error;
};

/// A command that runs beside the test. Its end kills the command.
class TCStartedCommand
{
public:
    /// \param[in] input  what it reads from its standard input
    explicit TCStartedCommand(const std::vector<std::string>& command, const std::string& input = {});
    ~TCStartedCommand();
    TCStartedCommand(const TCStartedCommand&) = delete;
    TCStartedCommand& operator=(const TCStartedCommand&) = delete;

    void Signal(int number) const;
    /// Waits until it has written a piece of text to standard error, at the longest 20 seconds.
    bool WaitForError(const std::string& piece);
    /// Waits until it has ended.
    TSRun Wait();

private:
    bool m_Read(int timeoutMs);

    pid_t m_pid = -1;
    int m_pipes[2] = {-1, -1}; // its standard output and standard error
    std::string m_texts[2];
};

inline TSRun RunCommand(const std::vector<std::string>& command, const std::string& input = {})
{
    return TCStartedCommand(command, input).Wait();
}

/// Runs a command in a terminal of its own, as a viewer who answers each prompt.
/// \param[in] answers  pairs: wait until this text is shown, then type that
/// \return its status, and everything that the terminal showed
TSRun RunInTerminal(const std::vector<std::string>& command,
                    const std::vector<std::pair<std::string, std::string>>& answers);
} // namespace CIM
