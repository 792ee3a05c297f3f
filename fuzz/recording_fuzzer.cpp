#include "Messages.h"

#include "recording/MessageHead.h"
#include "recording/Reader.h"

#include <dbus/dbus.h>
#include <sys/mman.h>
#include <unistd.h>

// Any bytes as a recording. Property: packets that lie within the file, in no more memory than the file and the buffer
// take; or a refusal. A head that is read says the same as libdbus says of the message, where that takes it for one.

namespace
{
using namespace CIM;
using fuzz::Require;

void Compare(std::string_view bytes)
{
    recording::TSMessageHead head;
    const bool isRead = recording::ReadMessageHead(bytes, head);
    const TCMessagePtr message(dbus_message_demarshal(bytes.data(), static_cast<int>(bytes.size()), nullptr));
    if (!message)
    {
        return;
    }
    const auto same = [](const char* text, std::string_view view) { return (text != nullptr ? text : "") == view; };
    if (isRead) // a message with fields that are not texts, numbers or signatures is not
    {
        Require(head.type == dbus_message_get_type(message.get()));
        Require(head.wantsNoReply == (dbus_message_get_no_reply(message.get()) != 0));
        Require(head.serial == dbus_message_get_serial(message.get()));
        Require(head.replySerial == dbus_message_get_reply_serial(message.get()));
        Require(same(dbus_message_get_path(message.get()), head.path));
        Require(same(dbus_message_get_interface(message.get()), head.interface));
        Require(same(dbus_message_get_member(message.get()), head.member));
        Require(same(dbus_message_get_sender(message.get()), head.sender));
        Require(same(dbus_message_get_destination(message.get()), head.destination));
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const int file = memfd_create("recording", MFD_CLOEXEC);
    Require(ftruncate(file, 0) == 0 && pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    Require(lseek(file, 0, SEEK_SET) == 0);
    std::size_t total = 0;
    try
    {
        recording::TCReader reader(file);
        recording::TSPacket packet;
        while (reader.Next(packet))
        {
            total += packet.bytes.size() + packet.comment.size();
            Require(total <= size && reader.Offset() <= size);
            Compare(packet.bytes);
        }
    }
    catch (const recording::TCRecordingError&)
    {
    }
    return 0;
}
