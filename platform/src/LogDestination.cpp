#include "LogDestination.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

namespace
{
const char* BufferName(int buffer) { return buffer == 2 ? "system" : "main"; }

int SyslogLevel(int priority)
{
    switch (priority)
    {
    case LOG_PRIORITY_DEBUG:
        return LOG_DEBUG;
    case LOG_PRIORITY_INFO:
        return LOG_INFO;
    case LOG_PRIORITY_WARNING:
        return LOG_WARNING;
    default:
        return priority < LOG_PRIORITY_DEBUG ? LOG_DEBUG : LOG_ERR;
    }
}

/// Lines of text to a descriptor. One write a line, so that lines of several threads and processes do not mix.
class TCFileDestination final : public TILogDestination
{
public:
    /// \param[in] name  what to call it when it cannot be written to; empty: nobody could be told
    explicit TCFileDestination(int fd, std::string name = {}) : m_fd(fd), m_name(std::move(name)) {}

    int Write(const SLogEntry& entry) override
    {
        std::string line = m_Head(entry);
        line += entry.text;
        // A text with a line end in it stays one line: nobody can fake an entry.
        std::replace_if(
            line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
        line += '\n';
        std::size_t written = 0;
        while (written < line.size())
        {
            const ssize_t count = write(m_fd, line.data() + written, line.size() - written);
            if (count < 0 && errno != EINTR)
            {
                const int error = errno;
                m_Complain(error);
                return -error;
            }
            written += std::max<ssize_t>(count, 0);
        }
        return static_cast<int>(std::min<std::size_t>(written, INT_MAX));
    }

private:
    static std::string m_Head(const SLogEntry& entry)
    {
        constexpr std::string_view letters = "??VDIWEF";
        const bool known = entry.priority >= 0 && static_cast<std::size_t>(entry.priority) < letters.size();
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        tm parts{};
        gmtime_r(&now.tv_sec, &parts);
        std::array<char, 32> time{};
        std::strftime(time.data(), time.size(), "%Y-%m-%dT%H:%M:%S", &parts);
        std::array<char, 96> numbers{};
        std::snprintf(numbers.data(), numbers.size(), "%s.%06ldZ %c %s %ld/%ld ", time.data(), now.tv_nsec / 1000,
                      known ? letters[entry.priority] : '?', BufferName(entry.buffer), static_cast<long>(getpid()),
                      static_cast<long>(gettid()));
        return std::string(numbers.data()) + entry.tag + ": ";
    }

    // Once, and not for each line.
    void m_Complain(int error)
    {
        if (!m_name.empty() && !m_hasComplained.exchange(true))
        {
            std::fprintf(stderr, "TVPLATFORM_LOG: cannot write to %s: %s; lines are lost\n", m_name.c_str(),
                         std::strerror(error));
        }
    }

    int m_fd; // open for the rest of the process: threads log until its very end
    std::string m_name;
    std::atomic<bool> m_hasComplained{false};
};

class TCSyslogDestination final : public TILogDestination
{
public:
    int Write(const SLogEntry& entry) override
    {
        const int length = static_cast<int>(std::min<std::size_t>(entry.text.size(), INT_MAX));
        syslog(LOG_USER | SyslogLevel(entry.priority), "%s: %.*s", entry.tag, length, entry.text.data());
        return length;
    }
};

class TCJournalDestination final : public TILogDestination
{
public:
    explicit TCJournalDestination(const std::string& socketPath) : m_fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        m_address.sun_family = AF_UNIX;
        socketPath.copy(m_address.sun_path, sizeof m_address.sun_path - 1);
    }

    int Write(const SLogEntry& entry) override
    {
        std::string data;
        m_AddField(data, "MESSAGE", entry.text);
        m_AddField(data, "PRIORITY", std::to_string(SyslogLevel(entry.priority)));
        m_AddField(data, "SYSLOG_IDENTIFIER", entry.tag);
        m_AddField(data, "TID", std::to_string(gettid()));
        m_AddField(data, "TVPLATFORM_BUFFER", BufferName(entry.buffer));
        // Addressed each time: the journal may be restarted.
        const auto sent = sendto(m_fd, data.data(), data.size(), MSG_NOSIGNAL,
                                 reinterpret_cast<const sockaddr*>(&m_address), sizeof m_address);
        return sent >= 0 ? static_cast<int>(sent) : m_fallback.Write(entry);
    }

private:
    // With an explicit length (64 bits, little endian) a value may hold any byte.
    static void m_AddField(std::string& data, std::string_view name, std::string_view value)
    {
        data.append(name).append("\n");
        for (std::uint64_t shift = 0, length = value.size(); shift < 64; shift += 8)
        {
            data += static_cast<char>((length >> shift) & 0xff);
        }
        data.append(value).append("\n");
    }

    int m_fd;
    sockaddr_un m_address{};
    TCSyslogDestination m_fallback;
};

std::string OpenFile(std::string path, std::unique_ptr<TILogDestination>& destination)
{
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY, 0644);
    if (fd < 0)
    {
        const int error = errno;
        destination = std::make_unique<TCFileDestination>(STDERR_FILENO);
        return "cannot open " + path + ": " + std::strerror(error) + "; lines go to standard error";
    }
    destination = std::make_unique<TCFileDestination>(fd, std::move(path));
    return {};
}
} // namespace

std::unique_ptr<TILogDestination> MakeJournalDestination(const std::string& socketPath)
{
    return std::make_unique<TCJournalDestination>(socketPath);
}

SLogSetting ReadLogSetting(std::string_view setting)
{
    SLogSetting result;
    constexpr std::pair<std::string_view, int> priorities[] = {
        {":debug", LOG_PRIORITY_DEBUG}, {":info", LOG_PRIORITY_INFO}, {":error", LOG_PRIORITY_ERROR}};
    for (const auto& [suffix, priority] : priorities)
    {
        if (setting.ends_with(suffix))
        {
            setting.remove_suffix(suffix.size());
            result.leastPriority = priority;
            break;
        }
    }
    if (setting == "stderr" && fcntl(STDERR_FILENO, F_GETFD) == -1)
    {
        return result; // closed: the next file or socket that is opened would get its number, and the lines
    }
    if (setting == "stderr")
    {
        result.destination = std::make_unique<TCFileDestination>(STDERR_FILENO);
    }
    else if (setting == "syslog")
    {
        result.destination = std::make_unique<TCSyslogDestination>();
    }
    else if (setting == "journal")
    {
        result.destination = MakeJournalDestination("/run/systemd/journal/socket");
    }
    else if (setting.starts_with("file:") && setting.size() > 5)
    {
        result.complaint = OpenFile(std::string(setting.substr(5)), result.destination);
    }
    else if (setting != "off" && !setting.empty())
    {
        result.complaint =
            "unknown destination \"" + std::string(setting) +
            "\" (off, stderr, syslog, journal or file:PATH, then :debug, :info or :error); logging is off";
    }
    return result;
}
