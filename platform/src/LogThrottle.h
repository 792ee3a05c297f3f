#pragma once

#include "LogDestination.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

// Keeps a line that repeats itself from filling the log. Private to the log service.

/// How often the same line is written.
struct SLogLimit
{
    unsigned lines = 20; ///< of the same text within a window; 0: any number
    unsigned seconds = 5;
};

/// What TVPLATFORM_LOG_LIMIT asks for: "off", "LINES" or "LINES/SECONDS"; nothing: the usual limit.
/// \param[out] complaint  why it is not as asked; empty when it is
SLogLimit ReadLogLimit(std::string_view setting, std::string& complaint);

/// A line in place of those that were left out.
struct SLogSummary
{
    int buffer;
    int priority;
    std::string tag;
    std::string text;
};

/// Knows the latest lines by their text, buffer, priority and tag: a line that differs in anything is another line. Of
/// each it lets the first ones of a window pass and counts the rest. Of more different lines than it has room for it
/// forgets the oldest, which then pass once more: none is ever lost. Thread-safe.
class TCLogThrottle
{
public:
    explicit TCLogThrottle(const SLogLimit& limit) : m_limit(limit) {}

    /// \param[in]  now        seconds
    /// \param[out] summaries  what to write before the line: of windows that have ended
    /// \return whether to write the line
    bool Admit(const SLogEntry& entry, std::int64_t now, std::vector<SLogSummary>& summaries);
    /// The end: what nobody has told yet.
    std::vector<SLogSummary> TakeAll();

    // Around a fork, so that the child finds it whole; what the parent has left out is told by the parent.
    void BeforeFork() { m_mutex.lock(); }
    void AfterForkInParent() { m_mutex.unlock(); }
    void AfterForkInChild();

private:
    struct SLine
    {
        std::uint64_t hash = 0;
        std::uint64_t leftOut = 0;
        std::int64_t since = 0; ///< when the window began
        unsigned seen = 0;      ///< 0: nobody's
        int buffer = 0;
        int priority = 0;
        std::string tag;
        std::string text; ///< its beginning
    };
    static constexpr std::size_t SETS = 64;
    static constexpr std::size_t WAYS = 4;

    SLine& m_Find(const SLogEntry& entry, std::uint64_t hash, std::vector<SLogSummary>& summaries);
    void m_EndWindows(std::int64_t now, std::vector<SLogSummary>& summaries);
    void m_Tell(SLine& line, std::vector<SLogSummary>& summaries) const;

    const SLogLimit m_limit;
    std::mutex m_mutex;
    std::array<SLine, SETS * WAYS> m_lines;
    std::int64_t m_nextCheck = 0;
};
