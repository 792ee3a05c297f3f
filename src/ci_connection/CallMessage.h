#pragma once

#include "ci_connection/DBusHandles.h"

#include <array>
#include <mutex>
#include <string>
#include <sys/types.h>

class TCMessageBuffer;

namespace CIM
{
constexpr unsigned short CALL_FLAG_ONE_WAY = 1;
constexpr unsigned short CALL_FLAG_HELLO = 2; ///< the program's name follows
constexpr int CALL_PAYLOAD_LIMIT = 0x1000000;

/// What stands in front of the payload of one call.
struct SCallHeader
{
    short methodId;
    unsigned short flags;
    int length; ///< of the payload
    pid_t pid;

    friend bool operator==(const SCallHeader&, const SCallHeader&) = default;
};

/// Whether libdbus takes a text as interface and as bus name; it ends the process when it is given one that it does
/// not.
bool IsCallableName(const std::string& interfaceName);

/// A call message without arguments. The name must be callable. \return null when there is no memory
TCMessagePtr NewCallMessage(const std::string& interfaceName);

/// Appends the arguments in front of the payload. \return false with an error line
bool AppendCallHeader(DBusMessage* message, const SCallHeader& header);

/// Appends the payload, if any, without joining its pieces. \return false with an error line
bool AppendCallPayload(DBusMessage* message, const TCMessageBuffer& input);

/// Call messages that lack only their payload, kept to be copied: libdbus writes the signature anew with each argument
/// that is appended, which costs more than everything else in a small call. Thread-safe.
class TCPreparedMessages
{
public:
    /// A message with the header's arguments, from the store where it has one.
    /// \return null with an error line in the name of the operation
    TCMessagePtr Get(const char* operation, const std::string& interfaceName, const SCallHeader& header);

private:
    struct SEntry
    {
        std::string interfaceName;
        SCallHeader header{};
        TCMessagePtr message;
    };

    static TCMessagePtr m_Build(const char* operation, const std::string& interfaceName, const SCallHeader& header);
    SEntry& m_Place(const std::string& interfaceName, const SCallHeader& header);

    std::mutex m_mutex;
    std::array<SEntry, 64> m_entries;
};
} // namespace CIM
