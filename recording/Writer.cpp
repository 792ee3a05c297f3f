#include "Writer.h"

#include "PcapNg.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <stdexcept>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace CIM::recording
{
namespace
{
constexpr std::int64_t NANOSECONDS = 1'000'000'000;
constexpr std::int64_t NOTABLE_DIFFERENCE = 1'000'000; ///< what one clock is slewed against the other need not be told
constexpr std::size_t MOST_PENDING = 256U << 10;
constexpr std::size_t MOST_COMMENT_BYTES = 4096;

std::int64_t Read(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return time.tv_sec * NANOSECONDS + time.tv_nsec;
}

std::string Monotonic(std::int64_t nanoseconds)
{
    char text[64];
    std::snprintf(text, sizeof text, "monotonic clock %" PRId64 ".%09" PRId64 " s", nanoseconds / NANOSECONDS,
                  nanoseconds % NANOSECONDS);
    return text;
}
} // namespace

TSMoment TSMoment::Now() { return {Read(CLOCK_REALTIME), Read(CLOCK_MONOTONIC)}; }

TCWriter::TCWriter(std::string path, std::uint64_t ringBytes, std::string application)
    : m_path(std::move(path)), m_halfRing(ringBytes / 2), m_application(std::move(application))
{
    m_Open();
    if (m_descriptor < 0)
    {
        throw std::runtime_error(m_trouble);
    }
    m_Flush();
    if (!m_trouble.empty())
    {
        close(m_descriptor);
        throw std::runtime_error(m_trouble);
    }
}

TCWriter::~TCWriter() { Close(); }

void TCWriter::Write(const TSMoment& moment, std::string_view message, std::string_view comment)
{
    if (m_descriptor < 0)
    {
        return;
    }
    const std::int64_t difference = moment.real - moment.monotonic;
    std::string remark(comment.substr(0, MOST_COMMENT_BYTES));
    if (!m_difference || std::llabs(difference - *m_difference) > NOTABLE_DIFFERENCE)
    {
        remark += (remark.empty() ? "" : "; ") + Monotonic(moment.monotonic);
        m_difference = difference;
    }
    const std::size_t begin = m_pending.size();
    const auto time = static_cast<std::uint64_t>(moment.real);
    m_AddNumber(BLOCK_PACKET);
    m_AddNumber<std::uint32_t>(0); // the block's length, once it is known
    m_AddNumber<std::uint32_t>(0); // the one interface
    m_AddNumber(static_cast<std::uint32_t>(time >> 32));
    m_AddNumber(static_cast<std::uint32_t>(time));
    m_AddNumber(static_cast<std::uint32_t>(message.size()));
    m_AddNumber(static_cast<std::uint32_t>(message.size()));
    m_Add(message);
    m_pending.append(PaddedTo4(message.size()) - message.size(), '\0');
    if (!remark.empty())
    {
        m_AddOption(OPTION_COMMENT, remark);
        m_AddOption(OPTION_END, {});
    }
    m_EndBlock(begin);
    if (m_pending.size() >= MOST_PENDING)
    {
        m_Flush();
    }
    if (m_halfRing > 0 && m_written + m_pending.size() >= m_halfRing)
    {
        m_Turn();
    }
}

void TCWriter::Tick(const TSMoment& moment)
{
    // Half of the second that may be lost: the next tick comes later than it is due.
    if (m_descriptor < 0 || moment.monotonic - m_synced < NANOSECONDS / 2)
    {
        return;
    }
    m_synced = moment.monotonic;
    m_Flush();
    if (m_descriptor >= 0 && m_isDirty)
    {
        if (fdatasync(m_descriptor) != 0 && errno != EINVAL && errno != EROFS) // a pipe has nothing to be synced
        {
            m_Fail("cannot be written");
        }
        m_isDirty = false;
    }
}

void TCWriter::Close()
{
    m_Flush();
    if (m_descriptor >= 0)
    {
        fdatasync(m_descriptor);
        if (close(m_descriptor) != 0)
        {
            m_trouble = m_path + " cannot be written: " + std::strerror(errno);
        }
        m_descriptor = -1;
    }
}

void TCWriter::m_Open()
{
    // What is recorded may be confidential.
    m_descriptor = open(m_path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const bool isLocked = m_descriptor >= 0 && flock(m_descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    // What is no file, such as a pipe, has nothing to be cut off.
    if (m_descriptor < 0 || isLocked || (ftruncate(m_descriptor, 0) != 0 && errno != EINVAL))
    {
        m_trouble = m_path + " cannot be written: " + (isLocked ? "somebody else records to it" : std::strerror(errno));
        if (m_descriptor >= 0)
        {
            close(m_descriptor);
            m_descriptor = -1;
        }
        return;
    }
    m_written = 0;
    m_difference.reset();
    m_BeginSection();
}

void TCWriter::m_BeginSection()
{
    std::size_t begin = m_pending.size();
    m_AddNumber(BLOCK_SECTION);
    m_AddNumber<std::uint32_t>(0);
    m_AddNumber(SECTION_ORDER);
    m_AddNumber<std::uint16_t>(1); // version 1.0
    m_AddNumber<std::uint16_t>(0);
    m_AddNumber<std::int64_t>(-1); // its length is not known
    m_AddOption(OPTION_APPLICATION, m_application);
    m_AddOption(OPTION_END, {});
    m_EndBlock(begin);
    begin = m_pending.size();
    m_AddNumber(BLOCK_INTERFACE);
    m_AddNumber<std::uint32_t>(0);
    m_AddNumber(LINK_TYPE_DBUS);
    m_AddNumber<std::uint16_t>(0);
    m_AddNumber<std::uint32_t>(0);               // messages are not cut
    m_AddOption(OPTION_TIME_RESOLUTION, "\x09"); // nanoseconds
    m_AddOption(OPTION_END, {});
    m_EndBlock(begin);
}

/// The file is full: it becomes the previous one.
void TCWriter::m_Turn()
{
    m_Flush();
    if (!m_trouble.empty())
    {
        return;
    }
    const std::string previous = m_path + ".previous";
    if (fdatasync(m_descriptor) != 0 || rename(m_path.c_str(), previous.c_str()) != 0)
    {
        m_Fail("cannot become " + previous);
        return;
    }
    close(m_descriptor);
    m_Open();
}

template <class T>
void TCWriter::m_AddNumber(T number)
{
    m_pending.append(reinterpret_cast<const char*>(&number), sizeof number);
}

void TCWriter::m_AddOption(std::uint16_t code, std::string_view value)
{
    m_AddNumber(code);
    m_AddNumber(static_cast<std::uint16_t>(value.size()));
    m_Add(value);
    m_pending.append(PaddedTo4(value.size()) - value.size(), '\0');
}

void TCWriter::m_EndBlock(std::size_t begin)
{
    const auto length = static_cast<std::uint32_t>(m_pending.size() - begin + sizeof(std::uint32_t));
    m_AddNumber(length);
    std::memcpy(m_pending.data() + begin + sizeof(std::uint32_t), &length, sizeof length);
}

void TCWriter::m_Flush()
{
    std::size_t done = 0;
    while (m_descriptor >= 0 && done < m_pending.size())
    {
        const ssize_t count = write(m_descriptor, m_pending.data() + done, m_pending.size() - done);
        if (count < 0 && errno != EINTR)
        {
            m_Fail("cannot be written");
            return;
        }
        done += static_cast<std::size_t>(count < 0 ? 0 : count);
    }
    m_isDirty = m_isDirty || done > 0;
    m_written += done;
    m_pending.clear();
}

/// A file that takes no more is closed behind the last whole message that it has taken.
void TCWriter::m_Fail(const std::string& what)
{
    m_trouble = m_path + " " + what + ": " + std::strerror(errno);
    // Of the blocks that were to be written some may be whole.
    const off_t end = lseek(m_descriptor, 0, SEEK_CUR);
    std::uint64_t whole = m_written;
    for (std::size_t at = 0; end > 0 && at + 8 <= m_pending.size();)
    {
        std::uint32_t length = 0;
        std::memcpy(&length, m_pending.data() + at + sizeof(std::uint32_t), sizeof length);
        if (m_written + at + length > static_cast<std::uint64_t>(end))
        {
            break;
        }
        at += length;
        whole = m_written + at;
    }
    if (end > 0)
    {
        (void)!ftruncate(m_descriptor, static_cast<off_t>(whole)); // a reader copes with a cut message as well
    }
    close(m_descriptor);
    m_descriptor = -1;
    m_pending.clear();
}
} // namespace CIM::recording
