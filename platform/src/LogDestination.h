#pragma once

#include <memory>
#include <string>
#include <string_view>

// Where log lines go. Private to the log service.

constexpr int LOG_PRIORITY_DEBUG = 3;
constexpr int LOG_PRIORITY_INFO = 4;
constexpr int LOG_PRIORITY_WARNING = 5;
constexpr int LOG_PRIORITY_ERROR = 6;

struct SLogEntry
{
    int buffer;
    int priority;
    const char* tag;
    std::string_view text;
};

class TILogDestination
{
public:
    virtual ~TILogDestination() = default;
    /// \return the bytes written, or a negative errno-style code
    virtual int Write(const SLogEntry& entry) = 0;
};

/// What TVPLATFORM_LOG asks for.
struct SLogSetting
{
    std::unique_ptr<TILogDestination> destination; ///< null: nothing is written
    int leastPriority = LOG_PRIORITY_DEBUG;
    std::string complaint; ///< why it is not as asked; empty when it is
};

/// \param setting  "off", "stderr", "syslog", "journal" or "file:PATH", then optionally ":debug", ":info" or ":error"
SLogSetting ReadLogSetting(std::string_view setting);

/// Entries in the journal's own format, sent to its socket; syslog takes those that the journal does not.
std::unique_ptr<TILogDestination> MakeJournalDestination(const std::string& socketPath);
