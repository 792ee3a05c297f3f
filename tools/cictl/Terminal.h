#pragma once

#include <optional>
#include <string>

#include <termios.h>

namespace CIM::cictl
{
/// Overwrites a text that nobody may read later, and empties it.
void Wipe(std::string& text);

/// Keeps what is typed from being shown, when standard input is a terminal, as long as the object lives. The terminal
/// is put right also when SIGINT or SIGTERM ends the process meanwhile. One at a time.
class TCHiddenInput
{
public:
    explicit TCHiddenInput(bool hide);
    ~TCHiddenInput();
    TCHiddenInput(const TCHiddenInput&) = delete;
    TCHiddenInput& operator=(const TCHiddenInput&) = delete;

private:
    bool m_isHiding = false;
};

/// Standard input, line by line, without blocking and without keeping what was handed out. Overwrites what it held.
class TCInputLines
{
public:
    ~TCInputLines();
    /// Reads what is there; blocks when nothing is. \return false at the end of the input
    bool Read();
    /// Takes the next whole line, without its end; at the end of the input what is left.
    std::optional<std::string> Take();
    bool IsAtEnd() const { return m_isAtEnd; }

private:
    std::string m_bytes;
    bool m_isAtEnd = false;
};

bool IsTerminal();
} // namespace CIM::cictl
