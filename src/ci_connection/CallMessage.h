#pragma once

#include "bus/Handles.h"

#include <array>
#include <cstddef>
#include <mutex>
#include <string>
#include <sys/types.h>

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

    friend bool operator==(const SCallHeader&, const SCallHeader&) = default;
};

/// Appends the arguments in front of the payload. \return false with an error line
bool AppendCallHeader(DBusMessage* message, const SCallHeader& header);

/// Appends the payload, if any, without joining its pieces. \return false with an error line
bool AppendCallPayload(DBusMessage* message, const TCMessageBuffer& input);

/// A whole call message, and where its payload stands in it.
struct SCallMessage
{
    TCMessagePtr message;
    char* payload = nullptr; ///< null when it is larger than what a secret can be, or empty
    std::size_t length = 0;

    /// Overwrites the payload of a message that has left: a PIN perhaps.
    void Wipe();
};

/// Makes call messages from ready-made ones of the same header, which are copied and given their payload: libdbus
/// writes the signature anew with each argument that is appended, which costs more than everything else in a small
/// call. Thread-safe.
class TCPreparedMessages
{
public:
    /// A whole call message. The header's length is that of the input.
    /// \return without a message, with an error line in the name of the operation
    SCallMessage Make(const char* operation, const std::string& interfaceName, const SCallHeader& header,
                      const TCMessageBuffer& input);

private:
    struct SEntry
    {
        std::string interfaceName;
        SCallHeader header{};
        TCMessagePtr message; ///< with a payload of zeros
    };

    SEntry& m_Place(const std::string& interfaceName, const SCallHeader& header);
    TCMessagePtr m_Find(const std::string& interfaceName, const SCallHeader& header);
    void m_Keep(const std::string& interfaceName, const SCallHeader& header, DBusMessage* message);

    std::mutex m_mutex;
    std::array<SEntry, 128> m_entries;
};
} // namespace CIM
