#include "Messages.h"

#include "cictl/Dissector.h"
#include "cictl/Output.h"
#include "protocol/Envelope.h"

#include <ciapi/CINames.h>

#include <vector>

// Any sequence of messages before cictl's eyes. Property: a record, which is safe to print, or nothing; a reply has a
// record only behind its call; no PIN is shown unless it was asked for.

namespace
{
using namespace CIM;
using fuzz::Require;

const fuzz::TSNames& Names()
{
    static const std::vector<std::string> interfaces = []
    {
        std::vector<std::string> all;
        for (const json::TCInterfaceForm& interface : json::Interfaces())
        {
            all.push_back(interface.ConnectionName());
        }
        return all;
    }();
    static const std::string MEMBERS[] = {protocol::CALL_MEMBER, protocol::SIGNAL_KINDS[0].member,
                                          protocol::SIGNAL_KINDS[2].member};
    static const std::string PATHS[] = {protocol::CALL_OBJECT_PATH, CI_SIGNAL_SUBSCRIBER_OBJECT_NAME};
    static const fuzz::TSNames names{interfaces, MEMBERS, PATHS};
    return names;
}

void CheckWords(const std::string& words)
{
    Require(json::IsUtf8(words));
    for (const char c : words)
    {
        Require(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
    }
    Require(words.find("\u202E") == words.npos); // turns the writing direction round
}

void CheckRecord(const json::TJson& record, bool showsSecrets)
{
    Require(record.is_object() && record.contains("kind") && record.contains("operation"));
    CheckWords(cictl::InWords(record));
    Require(!json::Dump(record).empty());
    const auto arguments = record.find("arguments");
    if (!showsSecrets && arguments != record.end() && record["operation"] == "ICIGeneral.VerifyCamPin" &&
        arguments->contains("pin"))
    {
        Require((*arguments)["pin"] == "***");
    }
}
} // namespace

// The first byte says whether secrets are shown.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::TCInput input(data, size);
    const bool showsSecrets = (input.Byte() & 1) != 0;
    cictl::TCDissector dissector({.showSecrets = showsSecrets});
    std::size_t calls = 0;
    std::size_t replies = 0;
    while (!input.IsEmpty())
    {
        const TCMessagePtr message = fuzz::TakeMessage(input, Names());
        if (!message)
        {
            continue;
        }
        const json::TJson record = dissector.Describe(message.get(), recording::TSMoment()).record;
        if (record.is_null())
        {
            continue;
        }
        CheckRecord(record, showsSecrets);
        const int type = dbus_message_get_type(message.get());
        calls += type == DBUS_MESSAGE_TYPE_METHOD_CALL ? 1 : 0;
        replies += type == DBUS_MESSAGE_TYPE_METHOD_RETURN || type == DBUS_MESSAGE_TYPE_ERROR ? 1 : 0;
        Require(replies <= calls);
    }
    return 0;
}
