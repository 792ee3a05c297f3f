#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace CIM
{
struct SLogLine
{
    int buffer;
    int priority;
    std::string tag;
    std::string text;
};

/// The program's log service: whatever is logged is kept in memory. Thread-safe.
class TCLogCapture
{
public:
    static std::vector<SLogLine> Lines();
    static void Clear();
    /// The number of lines whose text contains a piece of text.
    static std::size_t Count(std::string_view piece);
    /// Waits until a line contains the piece. \return false when the time is over without one
    static bool WaitFor(std::string_view piece, std::chrono::milliseconds timeout);
    /// Also writes each line to standard error, as "log BUFFER PRIORITY TAG TEXT": for death tests.
    static void EchoToStandardError(bool echo);
};
} // namespace CIM
