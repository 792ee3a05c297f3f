#include "cictl/Output.h"
#include "recording/Writer.h"
#include "support/SampleValues.h"
#include "support/Shell.h"
#include "support/TestEnvironment.h"
#include "json/OperationForm.h"

#include "bus/Arguments.h"
#include "bus/Handles.h"
#include "protocol/SignalRows.h"

#include <ciapi/CINames.h>

#include <gmock/gmock.h>

#include <fstream>
#include <map>
#include <random>
#include <sstream>

// What Wireshark makes of recordings, by the dissector that was made from the tables.

using namespace CIM;
using json::TJson;
using testing::HasSubstr;
using testing::Not;

namespace
{
constexpr const char* CLIENT = ":1.7";
constexpr const char* DAEMON = ":1.1";
constexpr std::uint32_t SERIAL = 41;

/// Messages of the bus, recorded one a millisecond.
class TCTraffic
{
public:
    void Add(std::string bytes) { m_messages.push_back(std::move(bytes)); }
    void Add(DBusMessage* message, const char* sender)
    {
        dbus_message_set_sender(message, sender);
        if (dbus_message_get_serial(message) == 0)
        {
            dbus_message_set_serial(message, ++m_serial);
        }
        char* bytes = nullptr;
        int size = 0;
        ASSERT_TRUE(dbus_message_marshal(message, &bytes, &size));
        Add(std::string(bytes, static_cast<std::size_t>(size)));
        dbus_free(bytes);
    }
    /// \param[in] length  as it is stated; -1: as it is
    void AddCall(const std::string& interface, short id, const std::string& payload, int length = -1,
                 const char* member = protocol::CALL_MEMBER)
    {
        const TCMessagePtr call(
            dbus_message_new_method_call(interface.c_str(), protocol::CALL_OBJECT_PATH, interface.c_str(), member));
        protocol::SCallEnvelope envelope;
        envelope.header = protocol::HeaderOf(0, id);
        envelope.payload = {payload.data(), static_cast<int>(payload.size())};
        envelope.length = length < 0 ? envelope.payload.length : length;
        envelope.processId = 4711;
        AppendArguments(call.get(), envelope);
        Add(call.get(), CLIENT);
    }
    /// Answers the call before.
    void AddReply(const std::string& payload, std::uint8_t status = protocol::STATUS_HANDLED)
    {
        const TCMessagePtr reply(dbus_message_new(DBUS_MESSAGE_TYPE_METHOD_RETURN));
        AppendArguments(reply.get(), protocol::SReplyEnvelope{status,
                                                              static_cast<int>(payload.size()),
                                                              {payload.data(), static_cast<int>(payload.size())}});
        m_AddAnswer(reply.get());
    }
    void AddErrorReply(const char* name, const char* text)
    {
        const TCMessagePtr reply(dbus_message_new(DBUS_MESSAGE_TYPE_ERROR));
        dbus_message_set_error_name(reply.get(), name);
        dbus_message_append_args(reply.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
        m_AddAnswer(reply.get());
    }
    void AddSignal(int type, const protocol::SSignalPayload& content, int length = sizeof(protocol::SSignalPayload))
    {
        const TCMessagePtr signal(dbus_message_new_signal("/com/kelvora/ciapi/SignalObject",
                                                          CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME.c_str(), "Signal"));
        const std::string identifier = std::to_string(type);
        const std::string handle =
            std::to_string(protocol::HandleValue(static_cast<EProfile>(content.profile), content.handle));
        protocol::SSignalEnvelope envelope;
        envelope.identifier = identifier.c_str();
        envelope.handle = handle.c_str();
        envelope.length = length;
        envelope.payload = {reinterpret_cast<const char*>(&content), length};
        AppendArguments(signal.get(), envelope);
        Add(signal.get(), DAEMON);
    }
    const std::vector<std::string>& Messages() const { return m_messages; }
    void Write(const std::string& path) const
    {
        recording::TCWriter writer(path, 0, "test");
        std::int64_t time = 1'700'000'000'000'000'000;
        for (const std::string& message : m_messages)
        {
            time += 1'000'000;
            writer.Write({time, time}, message);
        }
        writer.Close();
        ASSERT_EQ(writer.Trouble(), "");
    }

private:
    void m_AddAnswer(DBusMessage* answer)
    {
        dbus_message_set_reply_serial(answer, m_serial);
        dbus_message_set_destination(answer, CLIENT);
        dbus_message_set_serial(answer, SERIAL);
        Add(answer, DAEMON);
    }

    std::vector<std::string> m_messages;
    std::uint32_t m_serial = 0;
};

/// Runs tshark with the dissector and nothing of the user's.
TSOutput Tshark(const TCTempFolder& folder, const std::string& file, const std::string& options)
{
    const std::string home = folder.Path().string();
    const std::string errors = folder.File("tshark.err");
    const TSOutput output =
        Shell("env -u XDG_CONFIG_HOME -u XDG_DATA_HOME HOME=" + home + " WIRESHARK_PLUGIN_DIR=" + home +
              " " TSHARK_PATH " -X lua_script:" DISSECTOR_PATH " -r " + file + " " + options + " 2>" + errors);
    // Such as that one is installed already, which would be tested in place of this one.
    const std::string told = Shell("cat " + errors).text;
    EXPECT_THAT(told, Not(HasSubstr("Error"))) << told;
    EXPECT_EQ(output.status, 0) << told;
    return output;
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

/// The line of the packet list for each message; of those that are none of the daemon's, what Wireshark says itself.
std::vector<std::string> Infos(const TCTempFolder& folder, const TCTraffic& traffic, const std::string& options = {})
{
    traffic.Write(folder.File("r.pcapng"));
    return Lines(Tshark(folder, folder.File("r.pcapng"), "-T fields -e _ws.col.Info " + options).text);
}

/// What cictl tells of a recording, a message each.
std::vector<TJson> Told(const std::string& file)
{
    std::vector<TJson> records;
    for (const std::string& line : Lines(Shell(CICTL_PATH " trace --json --show-secrets " + file).text))
    {
        records.push_back(TJson::parse(line));
    }
    return records;
}

/// A value as a filter compares it: flags are numbers where all of the name are flags.
void ExpectSame(const std::string& field, const TJson& value, const TJson& shown)
{
    const std::string text = shown.is_string() ? shown.get<std::string>() : shown.dump();
    if (value.is_boolean() && text != cictl::InWords(value))
    {
        EXPECT_EQ(text, value.get<bool>() ? "1" : "0") << field;
        return;
    }
    EXPECT_EQ(text, cictl::InWords(value)) << field;
}

/// Big-endian bytes, as a machine of that order would put them on the bus.
std::string Big(std::uint32_t number, int width)
{
    std::string bytes;
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
    {
        bytes += static_cast<char>(number >> shift);
    }
    return bytes;
}
std::string BigNode(int type, std::uint32_t tag, const std::string& content)
{
    return Big(static_cast<std::uint32_t>(type), 1) + Big(0, 1) + Big(tag, 2) +
           Big(static_cast<std::uint32_t>(content.size()), 4) + content;
}
void Align(std::string& bytes, std::size_t width) { bytes.append((width - bytes.size() % width) % width, '\0'); }
std::string BigMessage(const std::vector<std::pair<int, std::string>>& texts, const std::string& signature,
                       const std::string& body)
{
    std::string head;
    for (const auto& [code, text] : texts)
    {
        Align(head, 8);
        head += Big(static_cast<std::uint32_t>(code), 1) + Big(1, 1) + (code == 1 ? "o" : "s") + Big(0, 1) +
                Big(static_cast<std::uint32_t>(text.size()), 4) + text + Big(0, 1);
    }
    Align(head, 8);
    head += Big(8, 1) + Big(1, 1) + "g" + Big(0, 1) + Big(static_cast<std::uint32_t>(signature.size()), 1) + signature +
            Big(0, 1);
    std::string message = "B" + Big(1, 1) + Big(0, 1) + Big(1, 1) + Big(static_cast<std::uint32_t>(body.size()), 4) +
                          Big(9, 4) + Big(static_cast<std::uint32_t>(head.size()), 4) + head;
    Align(message, 8);
    return message + body;
}
} // namespace

TEST(Dissector, TellsOfEveryOperationWhatCictlTells)
{
    TCTraffic traffic;
    for (const json::TCInterfaceForm& interface : json::Interfaces())
    {
        for (const json::TCOperationForm& operation : interface.Operations())
        {
            for (std::size_t n = 0; n < 3 && !operation.IsLocal(); ++n)
            {
                traffic.AddCall(interface.ConnectionName(), operation.Id(),
                                operation.RequestFromJson(SampleArguments(operation, protocol::IsInput, n)));
                const std::vector<TJson> results = json::SamplesOf(operation.ResultType());
                traffic.AddReply(
                    operation.ReplyFromJson({{"result", results[n % results.size()]},
                                             {"outputs", SampleArguments(operation, protocol::IsOutput, n)}}));
            }
        }
    }
    const TCTempFolder folder;
    const std::string file = folder.File("r.pcapng");
    traffic.Write(file);
    const std::vector<TJson> told = Told(file);
    const TSOutput output = Tshark(folder, file, "-o ciapi.show_secrets:TRUE -T json -J ciapi");
    const TJson shown = TJson::parse(output.text);
    ASSERT_EQ(told.size(), traffic.Messages().size());
    ASSERT_EQ(shown.size(), told.size());
    for (std::size_t i = 0; i < told.size(); ++i)
    {
        const TJson& layer = shown[i]["_source"]["layers"]["ciapi"];
        const bool isReply = told[i]["kind"] == "reply";
        SCOPED_TRACE(told[i].dump());
        EXPECT_EQ(layer.value("ciapi.kind", ""), told[i]["kind"]);
        EXPECT_EQ(layer.value("ciapi.operation", ""), told[i]["operation"]);
        EXPECT_FALSE(layer.contains("ciapi.error")) << layer.dump();
        std::size_t arguments = 0;
        for (const auto& field : layer.items())
        {
            arguments += field.key().starts_with("ciapi.arg.") && !field.key().ends_with("_tree") ? 1 : 0;
        }
        const TJson& values = told[i].value(isReply ? "outputs" : "arguments", TJson::object());
        EXPECT_EQ(arguments, values.size()) << layer.dump();
        for (const auto& value : values.items())
        {
            ExpectSame(value.key(), value.value(), layer.value("ciapi.arg." + value.key(), TJson("nothing")));
        }
        if (isReply)
        {
            const json::TCOperationForm* const form = json::FindOperation(told[i]["operation"].get<std::string>());
            EXPECT_EQ(layer.dump().find("ciapi.refused") != std::string::npos, form->IsRefusal(told[i]["result"]));
            ExpectSame("result", told[i]["result"], layer.value("ciapi.result", TJson("nothing")));
            EXPECT_EQ(layer.value("ciapi.request_in", ""), std::to_string(i));
            EXPECT_EQ(layer.value("ciapi.time", ""), "0.001000000");
        }
    }
}

TEST(Dissector, TellsOfEverySignalWhatCictlTells)
{
    TCTraffic traffic;
    for (int type = SIGNAL_CI_TYPE_BEGIN; type <= protocol::SIGNAL_ROWS.back().type + 1; ++type)
    {
        for (const protocol::SSignalFields& fields :
             {protocol::SSignalFields{0, 0, 0, 0}, protocol::SSignalFields{1, 1, 1, 1},
              protocol::SSignalFields{protocol::NO_SLOT, 2, 0xFFFF, 0xFFFFFFFF},
              protocol::SSignalFields{0, 3, 7, 0x12348765}, protocol::SSignalFields{2, 0x71, 2, 255}})
        {
            const auto profile = static_cast<std::int32_t>(fields.id % 5) - 1;
            traffic.AddSignal(type, {protocol::PackSignalData(fields), profile, fields.slot});
        }
    }
    const TCTempFolder folder;
    const std::vector<std::string> infos = Infos(folder, traffic);
    const std::vector<TJson> told = Told(folder.File("r.pcapng"));
    ASSERT_EQ(infos.size(), told.size());
    for (std::size_t i = 0; i < told.size(); ++i)
    {
        const TJson& type = told[i]["type"];
        const std::string name = type.is_string() ? type.get<std::string>() : "signal " + type.dump();
        EXPECT_EQ(infos[i], "signal " + name + " " + told[i]["words"].get<std::string>());
    }
}

TEST(Dissector, TellsWhatIsWrong)
{
    const json::TCInterfaceForm& general = *json::FindInterface("general");
    const std::string& name = general.ConnectionName();
    const std::string enter = general.Find("EnterMenu")->RequestFromJson({{"slot", 5}});
    const std::string verify = general.Find("VerifyCamPin")->RequestFromJson({{"slot", 0}, {"pin", "31323334"}});
    std::string longer = enter;
    longer[4 + 8 + 4] = 9; // the size of the first argument
    std::string without = enter;
    without[4 + 8 + 2] = 7; // its tag
    const std::string answer = general.Find("EnterMenu")->ReplyFromJson({{"result", 1}});
    const std::string bigTree =
        Big(0x01000000, 4) + BigNode(2, 3,
                                     BigNode(1, 1, Big(0x102, 2)) + BigNode(2, 2, BigNode(1, 0, Big(0x0A, 1))) +
                                         BigNode(1, 3, Big(0xFFFFFFFE, 4)));
    const std::string bigSize = Big(static_cast<std::uint32_t>(bigTree.size()), 4);
    const std::string big = BigMessage(
        {{1, protocol::CALL_OBJECT_PATH}, {2, json::FindInterface("appmmi")->ConnectionName()}, {3, "MethodCall"}},
        "iiiay", Big(3, 4) + bigSize + Big(1, 4) + bigSize + bigTree);
    const struct
    {
        std::function<void(TCTraffic&)> add;
        std::string info; ///< of the last message
    } cases[] = {
        {[&](TCTraffic& traffic) { traffic.AddCall(name, 11, enter); }, "call ICIGeneral.EnterMenu slot=5"},
        {[&](TCTraffic& traffic) { traffic.Add(big); }, "call ICIAppMMI.SendFileRequest id=258 data=0a value=-2"},
        {[&](TCTraffic& traffic) { traffic.AddCall(name, 24, verify); }, "call ICIGeneral.VerifyCamPin slot=0 pin=***"},
        {[&](TCTraffic& traffic) { traffic.AddCall(name, 11, verify); },
         "call ICIGeneral.EnterMenu error=the argument tree is that of method 24"},
        {[&](TCTraffic& traffic) { traffic.AddCall(name, 200, verify); },
         "call ICIGeneral.200 error=nobody knows this operation"},
        {[&](TCTraffic& traffic) { traffic.AddCall(name, 11, enter, 99); },
         "call ICIGeneral.EnterMenu error=21 bytes, but a length of 99 slot=5"},
        {[&](TCTraffic& traffic) { traffic.AddCall(name, 11, longer); },
         "call ICIGeneral.EnterMenu error=a node of 9 bytes, where only 1 are left"},
        {[&](TCTraffic& traffic) { traffic.AddCall(name, 11, without); },
         "call ICIGeneral.EnterMenu error=there is no argument 7 here error=slot is missing"},
        {[&](TCTraffic& traffic) { traffic.AddCall(name, 11, enter + "x"); },
         "call ICIGeneral.EnterMenu error=a node's header of 8 bytes has only 1 slot=5"},
        {[&](TCTraffic& traffic) { traffic.AddCall(name, 11, ""); },
         "call ICIGeneral.EnterMenu error=there is no argument tree"},
        {[&](TCTraffic& traffic) { traffic.AddCall(name, 11, enter, -1, "Other"); },
         "call ICIGeneral /com/kelvora/Object Other error=this is none of the daemon's calls"},
        {[&](TCTraffic& traffic)
         {
             traffic.AddCall(name, 11, enter);
             traffic.AddReply(answer);
         },
         "reply ICIGeneral.EnterMenu result=1"},
        {[&](TCTraffic& traffic)
         {
             traffic.AddCall(name, 11, enter);
             traffic.AddReply("", 0);
         },
         "reply ICIGeneral.EnterMenu error=not handled"},
        {[&](TCTraffic& traffic)
         {
             traffic.AddCall(name, 11, enter);
             traffic.AddErrorReply("org.example.No", "not today");
         },
         "reply ICIGeneral.EnterMenu error=org.example.No: not today"},
        {[&](TCTraffic& traffic) { traffic.AddSignal(17, {}, 12); },
         "signal SIGNAL_CI_MMI_STATUS_CHANGED error=its payload has 12 bytes, not 16"},
        {[&](TCTraffic& traffic) { traffic.AddReply(answer); }, "-> 'yiay'"},
    };
    TCTraffic traffic;
    std::vector<std::size_t> places;
    for (const auto& row : cases)
    {
        row.add(traffic);
        places.push_back(traffic.Messages().size() - 1);
    }
    const TCTempFolder folder;
    for (const char* const passes : {"", "-2"})
    {
        const std::vector<std::string> infos = Infos(folder, traffic, passes);
        ASSERT_EQ(infos.size(), traffic.Messages().size());
        for (std::size_t i = 0; i < places.size(); ++i)
        {
            EXPECT_EQ(infos[places[i]], cases[i].info) << passes;
        }
    }
    EXPECT_THAT(Tshark(folder, folder.File("r.pcapng"), "-V -O ciapi").text, Not(HasSubstr("31323334")));
}

TEST(Dissector, ShowsWhatASetDoesByFilters)
{
    const TCTempFolder folder;
    const std::string file = folder.File("r.pcapng");
    const std::string cictl = CICTL_PATH;
    std::ofstream(folder.File("script.sh"))
        << cictl << " trace --with-secrets --record " << file << " > /dev/null 2> " << folder.File("err.txt") << " &\n"
        << "recorder=$!\n"
        << "for i in $(seq 400); do [ -s " << folder.File("err.txt") << " ] && break; sleep 0.025; done\n"
        << cictl << " mark it fails here\n"
        << "echo 471147 | " << cictl << " call ICIGeneral.VerifyCamPin slot=0 pin=-\n"
        << SIMULATOR_PATH << " ctl OpenMenu 0\n"
        << cictl << " wait slot0.menu --timeout 10\n"
        << cictl << " call ICIGeneral.GetMmiMenu slot=0\n"
        << cictl << " call ICIGeneral.GetMmiEnquiry slot=1\n"
        << "kill -TERM $recorder; wait $recorder\n";
    const TSOutput run = Shell(std::string(SIMULATOR_PATH) + " run -- bash " + folder.File("script.sh"));
    ASSERT_EQ(run.status, 143) << run.text;
    const struct
    {
        const char* options;
        const char* last; ///< line of what is printed
    } cases[] = {
        {"-Y 'ciapi.operation == \"ICIGeneral.VerifyCamPin\" && ciapi.kind == \"call\"' -e ciapi.arg.slot -e "
         "ciapi.arg.pin",
         "0 ***"},
        {"-o ciapi.show_secrets:TRUE -Y ciapi.arg.pin -e ciapi.arg.pin -e ciapi.program", "343731313437 cictl"},
        {"-Y 'ciapi.arg.choices && ciapi.slot == 0' -e ciapi.result -e ciapi.status -e ciapi.arg.choices",
         "1 0x01 Smart card, Settings, About, Exit"},
        {"-Y 'ciapi.slot == 1 && ciapi.result != 1' -e ciapi.operation", "ICIGeneral.GetMmiEnquiry"},
        {"-Y 'ciapi.signal == \"SIGNAL_CI_MMI_STATUS_CHANGED\"' -e ciapi.signal.code -e ciapi.signal.entries",
         "CI_MMI_STATUS_MENU_RECEIVED 4"},
        {"-Y ciapi.mark -e ciapi.mark -e _ws.col.Info", "it fails here mark it fails here"},
        {"-2 -Y 'ciapi.response_in && ciapi.arg.pin' -e ciapi.kind", "call"},
        {"-Y 'ciapi.error || ciapi.malformed || _ws.lua.error' -e _ws.col.Info", nullptr},
    };
    for (const auto& row : cases)
    {
        const std::string options = "-T fields -E separator=/s " + std::string(row.options);
        const std::vector<std::string> lines = Lines(Tshark(folder, file, options).text);
        EXPECT_EQ(lines.empty() ? "" : lines.back(), row.last == nullptr ? "" : row.last) << row.options;
    }
}

TEST(Dissector, StandsBytesThatLie)
{
    TCTraffic whole;
    for (const json::TCInterfaceForm& interface : json::Interfaces())
    {
        for (const json::TCOperationForm& operation : interface.Operations())
        {
            if (!operation.IsLocal())
            {
                whole.AddCall(interface.ConnectionName(), operation.Id(),
                              operation.RequestFromJson(SampleArguments(operation, protocol::IsInput, 0)));
                whole.AddReply(
                    operation.ReplyFromJson({{"outputs", SampleArguments(operation, protocol::IsOutput, 0)}}));
            }
        }
    }
    whole.AddSignal(17, {});
    std::mt19937 random(20261122);
    const auto below = [&](std::size_t limit)
    { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random); };
    TCTraffic traffic;
    for (int round = 0; round < 12; ++round)
    {
        for (const std::string& message : whole.Messages())
        {
            std::string bytes = message;
            if (bytes[1] == DBUS_MESSAGE_TYPE_METHOD_CALL && below(2) == 0)
            {
                traffic.Add(bytes); // so that the reply is looked at
                continue;
            }
            // Most of all behind the head, where lengths and types of nodes are.
            for (std::size_t i = below(3) + 1; i-- > 0;)
            {
                const std::size_t at = below(8) == 0 ? below(bytes.size()) : bytes.size() - 1 - below(bytes.size() / 2);
                static constexpr char VALUES[] = {0, 1, 2, 3, 8, 127, -128, -1};
                bytes[at] = below(2) == 0 ? VALUES[below(sizeof VALUES)] : static_cast<char>(random());
            }
            traffic.Add(below(4) == 0 ? bytes.substr(0, below(bytes.size()) + 1) : bytes);
        }
    }
    std::string deep; // the innermost first
    for (int depth = 0; depth < 300; ++depth)
    {
        const std::uint32_t header[] = {depth == 299 ? 2u | 11u << 16 : 2u, static_cast<std::uint32_t>(deep.size())};
        deep.insert(0, reinterpret_cast<const char*>(header), sizeof header);
    }
    std::string wide(8 * 30'000, '\0');
    for (std::size_t i = 0; i < wide.size(); i += 8)
    {
        wide[i] = 1;
    }
    const std::uint32_t header[] = {2u | 11u << 16, static_cast<std::uint32_t>(wide.size())};
    wide.insert(0, reinterpret_cast<const char*>(header), sizeof header);
    for (const std::string& tree : {deep, wide})
    {
        traffic.AddCall(json::FindInterface("general")->ConnectionName(), 11, std::string("\1\0\0\0", 4) + tree);
    }
    const TCTempFolder folder;
    traffic.Write(folder.File("r.pcapng"));
    const TSOutput output = Tshark(folder, folder.File("r.pcapng"), "-V -O ciapi");
    EXPECT_THAT(output.text, Not(HasSubstr("Lua Error")));
    for (const char* const complaint :
         {"a node lies deeper than 16", "there are more than 20000 nodes", "this is no header of a node",
          "this is no argument tree", "is of another kind"})
    {
        EXPECT_THAT(output.text, HasSubstr(complaint));
    }
}
