#pragma once

#include "bus/Handles.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <sys/types.h>
#include <vector>

class TCMessageBuffer;

namespace CIM
{
/// What stands in front of the payload of one call.
struct SCallHeader
{
    short methodId;
    unsigned short flags;
    int length; ///< of the payload
    pid_t pid;
};

/// Appends the arguments in front of the payload. \return false with an error line
bool AppendCallHeader(DBusMessage* message, const SCallHeader& header);

/// Appends the payload, if any, without joining its pieces. \return false with an error line
bool AppendCallPayload(DBusMessage* message, const TCMessageBuffer& input);

/// The bytes of a call in front of its payload. Without a serial number.
class TCCallHead
{
public:
    /// \return room for so many bytes; empty without memory
    std::span<char> Make(std::size_t size);
    std::span<char> Bytes() { return {m_large ? m_large.get() : m_small.data(), m_size}; }

private:
    std::array<char, 1024> m_small;
    std::unique_ptr<char[]> m_large;
    std::size_t m_size = 0;
};

/// Makes the heads of calls: libdbus writes each kind of call once, and what differs from call to call is filled into a
/// copy. Thread-safe.
class TCPreparedCalls
{
public:
    TCPreparedCalls() = default;
    ~TCPreparedCalls();
    TCPreparedCalls(const TCPreparedCalls&) = delete;
    TCPreparedCalls& operator=(const TCPreparedCalls&) = delete;

    /// \param[in] operation  whose name error lines carry
    /// \return false with an error line
    bool Make(const char* operation, const std::string& interfaceName, const SCallHeader& header, TCCallHead& head);

private:
    struct SPrepared
    {
        std::string interfaceName;
        SCallHeader header{}; ///< of the length, only whether there is a payload counts
        std::vector<char> bytes;

        bool IsFor(const std::string& name, const SCallHeader& wanted) const;
    };
    static std::unique_ptr<SPrepared> m_Prepare(const char* operation, const std::string& interfaceName,
                                                const SCallHeader& header);

    // More than there are operations. What finds no place is prepared anew each time.
    std::array<std::atomic<const SPrepared*>, 512> m_prepared{};
};
} // namespace CIM
