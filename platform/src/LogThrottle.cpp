#include "LogThrottle.h"

#include <algorithm>
#include <charconv>

namespace
{
constexpr std::size_t SHOWN_BYTES = 160; ///< of a line in its summary

std::uint64_t HashOf(const SLogEntry& entry)
{
    std::uint64_t hash = std::hash<std::string_view>()(entry.text);
    for (const std::uint64_t part :
         {static_cast<std::uint64_t>(entry.buffer), static_cast<std::uint64_t>(entry.priority),
          static_cast<std::uint64_t>(std::hash<std::string_view>()(entry.tag))})
    {
        hash = (hash ^ part) * 0x9E3779B97F4A7C15u;
        hash ^= hash >> 32;
    }
    return hash;
}

/// The beginning of a text; no character is cut in two.
std::string_view BeginningOf(std::string_view text)
{
    std::size_t size = std::min(text.size(), SHOWN_BYTES);
    while (size < text.size() && size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80)
    {
        --size;
    }
    return text.substr(0, size);
}

bool ReadNumber(std::string_view text, unsigned most, unsigned& number)
{
    const char* const end = text.data() + text.size();
    const auto [behind, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && behind == end && number > 0 && number <= most;
}
} // namespace

SLogLimit ReadLogLimit(std::string_view setting, std::string& complaint)
{
    SLogLimit limit;
    if (setting == "off")
    {
        limit.lines = 0;
    }
    else if (!setting.empty())
    {
        const std::size_t slash = setting.find('/');
        const bool isRight = ReadNumber(setting.substr(0, slash), 1'000'000, limit.lines) &&
                             (slash == setting.npos || ReadNumber(setting.substr(slash + 1), 3600, limit.seconds));
        if (!isRight)
        {
            complaint =
                "\"" + std::string(setting) + "\" is no limit (off, LINES or LINES/SECONDS); the usual one holds";
            limit = SLogLimit();
        }
    }
    return limit;
}

bool TCLogThrottle::Admit(const SLogEntry& entry, std::int64_t now, std::vector<SLogSummary>& summaries)
{
    if (m_limit.lines == 0)
    {
        return true;
    }
    const std::uint64_t hash = HashOf(entry);
    const std::lock_guard lock(m_mutex);
    m_EndWindows(now, summaries);
    SLine& line = m_Find(entry, hash, summaries);
    if (line.seen == 0)
    {
        line.hash = hash;
        line.since = now;
        line.buffer = entry.buffer;
        line.priority = entry.priority;
        line.tag = entry.tag;
        line.text = BeginningOf(entry.text);
    }
    if (line.seen < m_limit.lines)
    {
        ++line.seen;
        return true;
    }
    ++line.leftOut;
    return false;
}

std::vector<SLogSummary> TCLogThrottle::TakeAll()
{
    const std::lock_guard lock(m_mutex);
    std::vector<SLogSummary> summaries;
    for (SLine& line : m_lines)
    {
        m_Tell(line, summaries);
    }
    return summaries;
}

void TCLogThrottle::AfterForkInChild()
{
    for (SLine& line : m_lines)
    {
        line.seen = 0;
        line.leftOut = 0;
    }
    m_mutex.unlock();
}

TCLogThrottle::SLine& TCLogThrottle::m_Find(const SLogEntry& entry, std::uint64_t hash,
                                            std::vector<SLogSummary>& summaries)
{
    const auto first = m_lines.begin() + static_cast<std::ptrdiff_t>(hash % SETS * WAYS);
    const auto isIt = [&](const SLine& line)
    {
        return line.seen != 0 && line.hash == hash && line.buffer == entry.buffer && line.priority == entry.priority &&
               line.tag == entry.tag && line.text == BeginningOf(entry.text);
    };
    auto found = std::find_if(first, first + WAYS, isIt);
    if (found == first + WAYS)
    {
        // A free one, or else the oldest.
        found = std::min_element(
            first, first + WAYS,
            [](const SLine& left, const SLine& right)
            { return (left.seen == 0 ? INT64_MIN : left.since) < (right.seen == 0 ? INT64_MIN : right.since); });
        m_Tell(*found, summaries);
        found->seen = 0;
    }
    return *found;
}

void TCLogThrottle::m_EndWindows(std::int64_t now, std::vector<SLogSummary>& summaries)
{
    if (now < m_nextCheck)
    {
        return;
    }
    m_nextCheck = now + 1;
    for (SLine& line : m_lines)
    {
        if (line.seen != 0 && now - line.since >= m_limit.seconds)
        {
            m_Tell(line, summaries);
            line.seen = 0;
        }
    }
}

void TCLogThrottle::m_Tell(SLine& line, std::vector<SLogSummary>& summaries) const
{
    if (line.leftOut != 0)
    {
        summaries.push_back({line.buffer, line.priority, line.tag,
                             std::to_string(line.leftOut) + (line.leftOut == 1 ? " similar line" : " similar lines") +
                                 " left out: " + line.text});
        line.leftOut = 0;
    }
}
