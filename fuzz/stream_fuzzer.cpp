#include "Input.h"

#include "bus/Handles.h"
#include "bus/MessageReader.h"
#include "bus/WireHead.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

// What a bus writes to the connection for calls, in pieces of any size. Property: the messages are those that libdbus
// finds, whole and in order, or both find that it is none; and what is read of a message's head and of a usual reply
// is what libdbus reads.

namespace
{
using namespace CIM;
using fuzz::Require;

// Larger than anything that the reader holds.
constexpr std::size_t LARGEST_PAYLOAD = 40000;

struct TSRelease
{
    void operator()(char* bytes) const { dbus_free(bytes); }
};

std::string MakeReply(std::size_t size, std::uint8_t status, dbus_int32_t length)
{
    static const std::string payload(LARGEST_PAYLOAD, 'p');
    const char* const first = payload.data();
    const TCMessagePtr reply(dbus_message_new(DBUS_MESSAGE_TYPE_METHOD_RETURN));
    dbus_message_set_reply_serial(reply.get(), 7);
    dbus_message_set_serial(reply.get(), 9);
    dbus_message_append_args(reply.get(), DBUS_TYPE_BYTE, &status, DBUS_TYPE_INT32, &length, DBUS_TYPE_ARRAY,
                             DBUS_TYPE_BYTE, &first, static_cast<int>(size), DBUS_TYPE_INVALID);
    char* bytes = nullptr;
    int count = 0;
    dbus_message_marshal(reply.get(), &bytes, &count);
    const std::unique_ptr<char, TSRelease> owner(bytes);
    return std::string(bytes, static_cast<std::size_t>(count));
}

std::string MakeStream(fuzz::TCInput& input)
{
    std::string stream;
    while (!input.IsEmpty())
    {
        if (input.Byte() % 4 == 0)
        {
            const std::size_t size = input.Number<std::uint32_t>() % LARGEST_PAYLOAD;
            const std::uint8_t status = input.Byte();
            stream += MakeReply(size, status, input.Number<dbus_int32_t>());
        }
        else
        {
            stream += input.Bytes(input.Byte());
        }
    }
    return stream;
}

void CheckMessage(std::span<const char> bytes)
{
    const std::optional<SWireHead> head = ReadWireHead(bytes);
    const auto usual = head ? ReadWireReply(bytes, *head) : std::nullopt;
    const TCMessagePtr message(dbus_message_demarshal(bytes.data(), static_cast<int>(bytes.size()), nullptr));
    if (!message || !head) // libdbus looks closer, and reads more
    {
        return;
    }
    Require(head->type == dbus_message_get_type(message.get()));
    Require(head->replySerial == dbus_message_get_reply_serial(message.get()));
    const bool isReply =
        head->type == DBUS_MESSAGE_TYPE_METHOD_RETURN && dbus_message_has_signature(message.get(), "yiay");
    Require(head->isReply == isReply);
    Require(usual.has_value() == isReply);
    if (usual)
    {
        std::uint8_t status = 0;
        dbus_int32_t length = 0;
        const char* payload = nullptr;
        int size = 0;
        Require(dbus_message_get_args(message.get(), nullptr, DBUS_TYPE_BYTE, &status, DBUS_TYPE_INT32, &length,
                                      DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &payload, &size, DBUS_TYPE_INVALID));
        Require(usual->status == status && usual->length == length && usual->payload.length == size);
        Require(size == 0 || std::memcmp(usual->payload.data, payload, static_cast<std::size_t>(size)) == 0);
    }
}

// What libdbus finds in the stream next; takes it. \return nothing when it is incomplete; empty when it is no message
std::optional<std::string_view> TakeNext(std::string_view& stream)
{
    const int size = dbus_message_demarshal_bytes_needed(stream.data(), static_cast<int>(stream.size()));
    if (size < 0)
    {
        return std::string_view();
    }
    if (size == 0 || static_cast<std::size_t>(size) > stream.size())
    {
        return std::nullopt;
    }
    const std::string_view message = stream.substr(0, static_cast<std::size_t>(size));
    stream.remove_prefix(message.size());
    return message;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::TCInput input(data, size);
    std::size_t piece = input.Number<std::uint16_t>() + 1U;
    const std::string stream = MakeStream(input);
    std::string_view expected = stream;
    const auto reader = std::make_unique<TCMessageReader>();
    std::size_t place = 0;
    auto state = TCMessageReader::EState::INCOMPLETE;
    while (place < stream.size() && state != TCMessageReader::EState::CORRUPT)
    {
        const std::span<char> room = reader->Room();
        Require(!room.empty());
        const std::size_t written = std::min({room.size(), piece, stream.size() - place});
        std::memcpy(room.data(), stream.data() + place, written);
        reader->Add(written);
        place += written;
        piece = piece * 5 % 65537 + 1;
        SIncoming message;
        while ((state = reader->Next(message)) == TCMessageReader::EState::MESSAGE)
        {
            const auto next = TakeNext(expected);
            Require(!message.isCut && next && std::string_view(message.bytes.data(), message.bytes.size()) == *next);
            CheckMessage(message.bytes);
        }
    }
    const auto next = TakeNext(expected);
    Require(!next || next->empty());
    Require((state == TCMessageReader::EState::CORRUPT) == next.has_value());
    return 0;
}
