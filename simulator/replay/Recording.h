#pragma once

#include "json/OperationForm.h"

#include <dbus/dbus.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace CIM::sim
{
using TSharedMessage = std::shared_ptr<DBusMessage>;

constexpr std::int64_t NS_PER_MS = 1'000'000; ///< recordings count in nanoseconds

/// "1 call", "2 calls".
std::string Counted(std::size_t count, const char* what);

/// What a call asks for. Two calls ask for the same when the texts are equal: secrets, which recordings do not hold, and
/// process ids do not count.
struct TSRequest
{
    std::string operation; ///< "ICIGeneral.EnterMenu", "ICIGeneral.99"
    std::string text;      ///< ... with its arguments, or with the bytes that are none

    bool operator==(const TSRequest& other) const { return text == other.text; }
    /// The text, short enough for a line.
    std::string Words() const;
};
/// The arguments of a request by name, without secrets and process ids.
/// \return nothing when not all of them can be read, or when a secret may stand among them unknown
std::optional<json::TJson> ReadableArguments(const json::TCOperationForm& operation, std::string_view payload);
/// \param[in] interface  the own name of an interface, or what was called instead
TSRequest ToRequest(const std::string& interface, short methodId, std::string_view payload);

/// A call of a recording.
struct TSRecordedCall
{
    TSRequest request;
    const json::TCOperationForm* operation = nullptr; ///< null: unknown
    std::string client;                               ///< unique bus name
    bool isOneWay = false;
    bool isSubscription = false;
    TSharedMessage message;
    TSharedMessage reply; ///< or error; null: the recording has none

    /// The bytes of its arguments, which belong to the message.
    std::string_view Payload() const;
};

/// Something that the recording shows, in its order.
struct TSRecordedEvent
{
    enum EKind
    {
        CALL,
        REPLY,
        SIGNAL,
        MARK,
    };
    EKind kind = CALL;
    std::int64_t at = 0;  ///< nanoseconds since the first event, by the clock that does not jump where it is known
    std::size_t call = 0; ///< of a call or a reply: index of the call
    TSharedMessage signal;
    std::string mark;
};

/// An application of a recording.
struct TSRecordedClient
{
    std::string name;    ///< unique bus name
    std::string program; ///< as it states it; empty: never
    std::size_t calls = 0;
};

/// What applications and the CI daemon said to each other. It is kept in memory, and shared.
struct TSRecording
{
    std::string file;
    std::vector<TSRecordedCall> calls;
    std::vector<TSRecordedEvent> events;
    std::vector<TSRecordedClient> clients;
    std::size_t strangersSignals = 0; ///< left out: of senders that answer no calls
    std::string ending;               ///< empty after a whole file; otherwise in words where it was cut off

    /// The clients in words: "tv-ui (:1.7): 120 calls, cictl (:1.9): 4 calls".
    std::string ClientsInWords() const;
};

class TCNoRecording : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Reads a recording. What is no call, reply or signal of the CI daemon's is left out.
/// \param[in] path    "-" is standard input
/// \param[in] client  only the calls of the program of that name, or of that unique name; empty: all
/// \throws TCNoRecording with a sentence: it cannot be read, is too long, holds no call
TSRecording ReadRecording(const std::string& path, const std::string& client);

/// The call from which on applications only take their leave: there are nothing but unsubscriptions.
std::size_t LeaveOf(const TSRecording& recording);

/// Whether a file is a recording: by its name's ending, ".pcapng" or ".pcap", or by how it begins.
bool IsRecording(const std::string& path);
} // namespace CIM::sim
