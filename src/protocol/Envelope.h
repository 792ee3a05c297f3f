#pragma once

#include <ciapi/CISignalDataType.h>
#include <ciapi/IPCConnection.h>

#include <tvplatform/Types.h>

#include <array>
#include <cstdint>
#include <tuple>
#include <type_traits>

// What stands around every payload on the bus: where calls and signals go, and their arguments, one row an argument.
// Plain data; bus/Arguments.h reads and writes it.

namespace CIM::protocol
{
/// Every call is this member of this object, whatever the interface; the interface is also the bus name that it goes
/// to. The daemon tells the operations apart by the identifier in the header.
inline constexpr const char* CALL_OBJECT_PATH = "/com/kelvora/Object";
inline constexpr const char* CALL_MEMBER = "MethodCall";

inline constexpr int CALL_PAYLOAD_LIMIT = 0x1000000; ///< bytes

/// Bits of a call's header.
inline constexpr unsigned short CALL_FLAG_ONE_WAY = 1; ///< no reply is wanted; the message says so, too
inline constexpr unsigned short CALL_FLAG_HELLO = 2;   ///< the program's name follows

/// Bits of a reply's status.
inline constexpr unsigned char STATUS_HANDLED = 0x01;
inline constexpr unsigned char STATUS_HELLO_WANTED = 0x80;

/// The header of a call: flags and method identifier in one number.
constexpr std::int32_t HeaderOf(unsigned short flags, short methodId)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(flags) << 16 | static_cast<std::uint16_t>(methodId));
}
constexpr unsigned short FlagsOf(std::int32_t header)
{
    return static_cast<unsigned short>(static_cast<std::uint32_t>(header) >> 16);
}
constexpr short MethodIdOf(std::int32_t header) { return static_cast<short>(header & 0xFFFF); }

/// Bytes that belong to a message.
struct SBytes
{
    const char* data = nullptr;
    int length = 0;
};

struct SCallEnvelope
{
    std::int32_t header = 0;
    std::int32_t length = 0; ///< of the payload, as its sender states it
    std::int32_t processId = 0;
    const char* program = nullptr;
    SBytes payload;

    constexpr bool CarriesProgram() const { return (FlagsOf(header) & CALL_FLAG_HELLO) != 0; }
};

struct SReplyEnvelope
{
    std::uint8_t status = 0;
    std::int32_t length = 0; ///< of the payload, as its sender states it
    SBytes payload;
};

/// A kind of signal.
struct SSignalKind
{
    const char* member; ///< what the bus calls it
    bool carriesHandle; ///< behind the identifier, for the bus to compare in match rules
};
/// By EIPCMessageType.
inline constexpr std::array<SSignalKind, IPC_MESSAGE_MAX> SIGNAL_KINDS = {{
    {"Signal", true},
    {"PipelineSignal", true},
    {"Data", false},
    {"Program", false},
    {"Section", false},
    {"TextData", false},
    {"Dsm", false},
    {"CopyProtectionInfo", false},
    {"PESData", false},
    {"ExPESData", false},
    {"Ht", true},
    {"ATSC3Signalling", false},
    {"ATSC3Mpd", false},
    {"ATSC3Linkage", false},
}};

struct SSignalEnvelope
{
    EIPCMessageType type = IPC_MESSAGE_SIGNAL; ///< not an argument: set it first, it says which there are
    const char* identifier = nullptr;          ///< a number in decimal
    const char* handle = nullptr;              ///< HandleValue in decimal
    std::int32_t length = 0;                   ///< of the payload, as its sender states it
    SBytes payload;

    constexpr bool CarriesHandle() const { return SIGNAL_KINDS[static_cast<std::size_t>(type)].carriesHandle; }
};

/// A pipeline handle as one number, as match rules compare it.
constexpr std::uint32_t HandleValue(EProfile profile, unsigned short number)
{
    return static_cast<std::uint32_t>(profile) << 16 | number;
}

/// The payload of a CI signal, in the byte order of the host; what follows it is ignored.
struct SSignalPayload
{
    TSSignalData data;
    std::int32_t profile = 0;
    std::uint16_t handle = 0;
    std::uint16_t filler = 0;
};
static_assert(sizeof(SSignalPayload) == 16, "the payload of a signal is sixteen bytes");

/// When an argument is there.
enum class EPresence
{
    ALWAYS,
    BY_CONDITION,
    UNLESS_EMPTY, ///< the last one: whoever reads takes it when it is there
};

/// One row. Made by Argument().
template <auto Field_, EPresence Presence, auto Condition>
struct TEnvelopeArgument
{
    static constexpr auto FIELD = Field_;
    static constexpr EPresence PRESENCE = Presence;

    template <class Envelope>
    static constexpr bool IsIn(const Envelope& envelope)
    {
        if constexpr (Presence == EPresence::BY_CONDITION)
        {
            return (envelope.*Condition)();
        }
        else if constexpr (Presence == EPresence::UNLESS_EMPTY)
        {
            return (envelope.*Field_).length > 0;
        }
        return true;
    }
};

/// Makes a row: the field, and when it is there.
template <auto Field, EPresence Presence = EPresence::ALWAYS>
constexpr TEnvelopeArgument<Field, Presence, nullptr> Argument()
{
    return {};
}
template <auto Field, auto Condition>
requires std::is_member_function_pointer_v<decltype(Condition)>
constexpr TEnvelopeArgument<Field, EPresence::BY_CONDITION, Condition> Argument() { return {}; }

/// Where the arguments of an envelope stand:
///   static constexpr std::tuple ROWS;   one row an argument, in order
template <class Envelope>
struct TEnvelopeArguments;

template <>
struct TEnvelopeArguments<SCallEnvelope>
{
    static constexpr std::tuple ROWS{
        Argument<&SCallEnvelope::header>(),
        Argument<&SCallEnvelope::length>(),
        Argument<&SCallEnvelope::processId>(),
        Argument<&SCallEnvelope::program, &SCallEnvelope::CarriesProgram>(),
        Argument<&SCallEnvelope::payload, EPresence::UNLESS_EMPTY>(),
    };
};

template <>
struct TEnvelopeArguments<SReplyEnvelope>
{
    static constexpr std::tuple ROWS{
        Argument<&SReplyEnvelope::status>(),
        Argument<&SReplyEnvelope::length>(),
        Argument<&SReplyEnvelope::payload>(),
    };
};

template <>
struct TEnvelopeArguments<SSignalEnvelope>
{
    static constexpr std::tuple ROWS{
        Argument<&SSignalEnvelope::identifier>(),
        Argument<&SSignalEnvelope::handle, &SSignalEnvelope::CarriesHandle>(),
        Argument<&SSignalEnvelope::length>(),
        Argument<&SSignalEnvelope::payload>(),
    };
};
} // namespace CIM::protocol
