#include "simulator/replay/Recording.h"
#include "recording/Writer.h"
#include "simulator/daemon/Messages.h"
#include "support/TestEnvironment.h"

#include "json/OperationForm.h"

#include <ciapi/CINames.h>

#include <gmock/gmock.h>

// What is taken from a recording, and what is left out.

using namespace CIM;
using namespace CIM::sim;
using testing::HasSubstr;

namespace
{
constexpr const char* TV = ":1.7";
constexpr const char* OTHER = ":1.8";
constexpr const char* DAEMON = ":1.2";

/// A file that messages are recorded to, with senders and serial numbers as on a bus.
class TCFile
{
public:
    void Write(TCMessagePtr message, const char* sender, std::uint32_t serial = 99)
    {
        dbus_message_set_sender(message.get(), sender);
        dbus_message_set_serial(message.get(), serial);
        char* bytes = nullptr;
        int length = 0;
        ASSERT_TRUE(dbus_message_marshal(message.get(), &bytes, &length));
        m_moment.real += 1'000'000;
        m_moment.monotonic += 1'000'000;
        m_writer.Write(m_moment, {bytes, static_cast<std::size_t>(length)});
        dbus_free(bytes);
    }
    void Call(const char* sender, std::uint32_t serial, const char* operation, const json::TJson& arguments,
              const char* program = nullptr, std::int32_t statedBytes = 0)
    {
        const json::TCOperationForm* const form = json::FindInterface("ICIGeneral")->Find(std::string_view(operation));
        const std::string payload = form->RequestFromJson(arguments);
        protocol::SCallEnvelope envelope;
        envelope.header = form->Id() | (program != nullptr ? protocol::CALL_FLAG_HELLO << 16 : 0);
        envelope.length = static_cast<std::int32_t>(payload.size()) + statedBytes;
        envelope.processId = 4711;
        envelope.program = program;
        envelope.payload = {payload.data(), static_cast<int>(payload.size())};
        TCMessagePtr call(dbus_message_new_method_call("com.kelvora.ciapi.ICIGeneral", protocol::CALL_OBJECT_PATH,
                                                       "com.kelvora.ciapi.ICIGeneral", protocol::CALL_MEMBER));
        ASSERT_TRUE(AppendArguments(call.get(), envelope));
        Write(std::move(call), sender, serial);
    }
    void Reply(const char* receiver, std::uint32_t serial)
    {
        TCMessagePtr reply(dbus_message_new(DBUS_MESSAGE_TYPE_METHOD_RETURN));
        dbus_message_set_destination(reply.get(), receiver);
        dbus_message_set_reply_serial(reply.get(), serial);
        Write(std::move(reply), DAEMON);
    }
    void Signal(const char* sender, const char* receiver = nullptr)
    {
        TCMessagePtr signal = MakeSignal({SIGNAL_CI_MMI_STATUS_CHANGED, PROFILE_MAIN, 0, {}});
        dbus_message_set_destination(signal.get(), receiver);
        Write(std::move(signal), sender);
    }
    const std::string& Close()
    {
        m_writer.Close();
        return m_path;
    }

private:
    TCTempFolder m_folder;
    std::string m_path = m_folder.File("r.pcapng");
    recording::TCWriter m_writer{m_path, 0, "test"};
    recording::TSMoment m_moment{1'000'000'000'000, 5'000'000'000};
};

/// "c0 r0 !": the events with the indices of their calls.
std::string Events(const TSRecording& recording)
{
    std::string text;
    for (const TSRecordedEvent& event : recording.events)
    {
        text += text.empty() ? "" : " ";
        text += event.kind == TSRecordedEvent::SIGNAL ? "!" : event.kind == TSRecordedEvent::MARK ? "mark" : "";
        text += event.kind == TSRecordedEvent::CALL ? "c" : event.kind == TSRecordedEvent::REPLY ? "r" : "";
        text += event.signal != nullptr || event.kind == TSRecordedEvent::MARK ? "" : std::to_string(event.call);
    }
    return text;
}
} // namespace

TEST(ReplayedRecording, HasWhatApplicationsAndDaemonSay)
{
    TCFile file;
    file.Call(TV, 5, "EnterMenu", {{"slot", 1}}, "tv-ui");
    file.Call(OTHER, 5, "GetMmiMenu", {{"slot", 1}});
    file.Reply(OTHER, 5); // the same serial number, of somebody else
    file.Signal(DAEMON);
    file.Signal(":1.66");       // no daemon
    file.Signal(DAEMON, OTHER); // for one alone
    file.Reply(TV, 6);          // to no call
    file.Reply(TV, 5);
    file.Call(TV, 6, "VerifyCamPin", {{"slot", 1}, {"pin", "31323334"}});
    file.Call(TV, 7, "EnterMenu", {{"slot", 1}}, nullptr, 4); // whose length lies
    TCMessagePtr broken(dbus_message_new_method_call("com.kelvora.ciapi.ICIGeneral", protocol::CALL_OBJECT_PATH,
                                                     "com.kelvora.ciapi.ICIGeneral", protocol::CALL_MEMBER));
    file.Write(std::move(broken), TV, 8); // that no daemon reads
    const std::string path = file.Close();

    const TSRecording all = ReadRecording(path, "");
    EXPECT_EQ(Events(all), "c0 c1 r1 ! ! r0 c2 c3");
    EXPECT_EQ(all.strangersSignals, 1U);
    EXPECT_EQ(all.ClientsInWords(), "tv-ui (:1.7): 3 calls, :1.8: 1 call");
    EXPECT_EQ(all.events[2].at - all.events[0].at, 2'000'000);
    EXPECT_EQ(all.calls[2].request.text, R"(ICIGeneral.VerifyCamPin {"slot":1,"pin":"***"})");
    EXPECT_EQ(all.calls[3].request, all.calls[0].request);

    EXPECT_EQ(Events(ReadRecording(path, "tv-ui")), "c0 ! r0 c1 c2");
    EXPECT_EQ(Events(ReadRecording(path, OTHER)), "c0 r0 ! !");
    try
    {
        ReadRecording(path, "nobody");
        ADD_FAILURE() << "nobody made no call";
    }
    catch (const TCNoRecording& error)
    {
        EXPECT_THAT(error.what(),
                    HasSubstr("there are no calls of an application nobody; there are: tv-ui (:1.7): 3 calls"));
    }
}

TEST(ReplayedRecording, ShowsNoSecretThatIsSentToAnotherOperation)
{
    const json::TCInterfaceForm& general = *json::FindInterface("ICIGeneral");
    const std::string pin = general.Find("VerifyCamPin")->RequestFromJson({{"slot", 1}, {"pin", "31323334"}});
    const std::string covered = " " + std::to_string(pin.size()) + " bytes";
    EXPECT_EQ(ToRequest("ICIGeneral", general.Find("EnterMenu")->Id(), pin).text, "ICIGeneral.EnterMenu" + covered);
    EXPECT_EQ(ToRequest("ICIGeneral", 999, pin).text, "ICIGeneral.999" + covered);
    EXPECT_EQ(ToRequest("ICIOther", 1, pin).text, "ICIOther.1" + covered);
    EXPECT_FALSE(ReadableArguments(*general.Find("EnterMenu"), pin));
}
