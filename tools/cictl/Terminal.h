#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace CIM::cictl
{
/// Keeps what is typed from being shown, when standard input is a terminal, as long as the object lives. The terminal
/// is put right also when a signal ends the process meanwhile, and while one stops it. One at a time.
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
    /// Takes the next whole line, without its end; at the end of the input what is left. Wiping it is the caller's.
    std::optional<std::string> Take();
    /// The same, but waits for the line. \return nothing when the input has ended or has more bytes without a line end
    std::optional<std::string> Await(std::size_t mostBytes);
    bool IsAtEnd() const { return m_isAtEnd; }
    /// How many lines have been taken.
    std::size_t Taken() const { return m_taken; }

private:
    friend TCInputLines& StandardInput();

    std::string m_bytes;
    std::size_t m_taken = 0;
    bool m_isAtEnd = false;
};

/// The one that all of a process share: what one has read beyond its line is there for the next.
TCInputLines& StandardInput();

bool IsTerminal();
} // namespace CIM::cictl
