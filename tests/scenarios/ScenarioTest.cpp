#include "simulator/scenario/Scenario.h"
#include "ScenarioFiles.h"
#include "simulator/control/Controls.h"
#include "simulator/definition/DefinitionJson.h"
#include "json/OperationForm.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <span>
#include <sstream>

using namespace CIM::sim;
using testing::HasSubstr;

namespace
{
/// A scenario with these members; the timeline's first step stands on line 6.
std::string Document(const std::string& members, const std::string& step = R"({ "wait": 1 })")
{
    return "{\n  \"name\": \"x\",\n  \"description\": \"y\",\n  " + members + "\n  \"timeline\": [\n    " + step +
           "\n  ]\n}\n";
}

/// What every door says of a value: the bytes or the number that it was read as, or what is wrong.
struct TSDoor
{
    const char* name;
    std::function<std::string(const CIM::json::TJson& value)> read;
};

std::string Hex(const std::vector<unsigned char>& bytes) { return CIM::json::BytesToHex(bytes); }
} // namespace

TEST(ScenarioFile, ErrorsNameLineColumnPlaceAndWhatIsWrong)
{
    struct TSCase
    {
        std::string text;
        std::vector<const char*> expected;
    };
    const auto step = [](const char* text) { return Document("// nothing", text); };
    const std::vector<TSCase> cases = {
        // The document.
        {"{\n  \"name\": \"x\",\n}", {"f:3:1: "}},
        {"", {"f:1:1: "}},
        {std::string(40'000, '['), {"f:1:", "values are nested deeper than 128 levels"}},
        {"[]", {"f:1:1: an object is needed, not a list"}},
        {"{\n  \"name\": \"x\",\n  \"description\": \"y\"\n}", {"f:1:1: story: a story, a list of events, is needed"}},
        {"{\n  \"name\": \"x\",\n  \"description\": \"y\",\n  \"timline\": []\n}",
         {"f:4:14: timline: there is no such member"}},
        {Document("\"name\": \"twice\","), {"f:4:3: name: this member stands here a second time"}},
        {Document("\"clok\": \"manual\","), {"f:4:11: clok: there is no such member; did you mean clock?"}},
        {Document("\"clock\": \"solar\","), {"f:4:12: clock: \"real\" or \"manual\" is needed"}},
        {Document("\"msPerCall\": 5,"), {"f:4:16: msPerCall: this goes with"}},
        {Document("\"seed\": -1,"), {"f:4:11: seed: -1 is not within 0 to"}},
        // The set.
        {Document("\"set\": { \"slots\":\n 256\n },"), {"f:5:2: set.slots: 256 is not within 0 to 255"}},
        {Document("\"set\": { \"cams\": [{ \"name\": \"c\",\n\"mode\": \"CAM_MODE_CII\" }] },"),
         {"f:5:9: set.cams[0].mode: ", "there are CAM_MODE_CI, CAM_MODE_CI_PLUS"}},
        // Steps.
        {step("{ \"wait\": \"soon\" }"), {"f:6:15: timeline[0].wait: \"soon\" is no integer"}},
        {step("{ \"wait\": 1,\n \"at\": 2 }"), {"f:6:5: timeline[0]: a step is an object with one member"}},
        {step("{ \"jump\": {} }"), {"f:6:15: timeline[0].jump: there is no such step; there are wait-for-call"}},
        {step("{ \"wait\": 1 },\n{ \"remove\":\n{ \"slto\": 0 } }"), {"f:8:11: timeline[1].remove.slto: ", "slot"}},
        {step("{ \"remove\": { \"slot\": 2 } }"),
         {"f:6:27: timeline[0].remove.slot: there is no such slot; there are 2"}},
        {step(R"({ "signal": { "type": "SIGNAL_CI_CA_REPLY", "code": "CAM_MODE_CI" } })"),
         {"f:6:57: timeline[0].signal.code: CAM_MODE_CI means nothing here in SIGNAL_CI_CA_REPLY; there are "
          "CA_REPLY_"}},
        {step("{ \"insert\": { \"slot\": 1 } }"), {"f:6:17: timeline[0].insert: \"cam\" is missing"}},
        {step("{ \"insert\": { \"cam\": \"none\" } }"), {"timeline[0].insert.cam: the name of a CAM"}},
        {step(R"({ "insert": { "cma": "plain" } })"), {"insert: \"cam\" is missing; was \"cma\" meant to be it?"}},
        {step(R"({ "insert": { "cam": "plane" } })"), {"; there are plus, plain; did you mean plain?"}},
        {step(R"({ "inserts": { "cam": "plain" } })"), {"inserts: there is no such step; did you mean insert?"}},
        {step(R"({ "remove": { "slot": "0x7" } })"), {"remove.slot: there is no such slot; there are 2"}},
        {step(R"({ "open-menu": { "menu": "no-entitlment" } })"), {"open-menu.menu: ", "did you mean no-entitlement?"}},
        {step(R"({ "signal": { "type": "SIGNAL_CI_CA_REPLAY" } })"), {"; did you mean SIGNAL_CI_CA_REPLY?"}},
        {step("{ \"signal\": { \"type\": \"SIGNAL_CI_NONE\" } }"),
         {"timeline[0].signal.type: \"SIGNAL_CI_NONE\" is no value of ECISignalType"}},
        {step("{ \"wait-for-subscription\": { \"signal\": \"SIGNAL_CI_NONE\" } }"),
         {"timeline[0].wait-for-subscription.signal: ", "is no value of ECISignalType"}},
        {step("{ \"wait-for-call\": { \"operation\": \"ICINone.EnterMenu\" } }"),
         {"timeline[0].wait-for-call.operation: there is no such interface; there are ICIGeneral"}},
        {step("{ \"expect-call\": { \"operation\": \"ICIGeneral.Enter\" } }"),
         {"timeline[0].expect-call.operation: ICIGeneral has no operation \"Enter\""}},
        {step("{ \"wait-for-call\": { \"operation\": \"ICIGeneral.EnterMenu\",\n\"arguments\": { \"slit\": 0 } } }"),
         {"f:7:24: timeline[0].wait-for-call.arguments.slit: ", "no such parameter; there are slot"}},
        {step("{ \"wait-for-call\": { \"operation\": \"ICIGeneral.SendCaPmt\", \"arguments\": { \"command\": \"GO\" } "
              "} }"),
         {"timeline[0].wait-for-call.arguments.command: ", "GO"}},
        {step("{ \"wait-for-call\": { \"operation\": \"ICIGeneral.EnterMenu\", \"arguments\": { \"slot\": 300 } } }"),
         {"timeline[0].wait-for-call.arguments.slot: 300 is not within 0 to 255"}},
        {step("{ \"wait-for-call\": { \"operation\": \"ICIGeneral.GetMmiText\", \"arguments\": { \"text\": \"\" } } }"),
         {"timeline[0].wait-for-call.arguments.text: the application does not send this parameter"}},
        {step("{ \"wait-for-call\": { \"operation\": \"ICIGeneral.IsCiSupported\" } }"),
         {"timeline[0].wait-for-call.operation: ", "never sent"}},
        // Calls that can never come.
        {step(R"({ "wait-for-call": { "operation": "EnterMenu" } })"), {"did you mean ICIGeneral.EnterMenu?"}},
        {step(R"({ "wait-for-call": { "operation": "ICIGeneral" } })"), {"is named as INTERFACE.NAME"}},
        {step(R"({ "wait-for-call": { "operation": "ICIGenral.EntrMenu" } })"), {"did you mean ICIGeneral.EnterMenu?"}},
        {step(R"({ "wait-for-call": { "operation": "ICIGeneral.EnterMenu#slot" } })"),
         {"has no operation \"EnterMenu#"}},
        {step(R"({ "wait-for-call": { "operation": "ICIGeneral.EnterMenu", "arguments": { "slot": "first" } } })"),
         {"arguments.slot: \"first\" is no integer"}},
        {step(R"({ "wait-for-call": { "operation": "ICIGeneral.EnterMenu", "arguments": [] } })"),
         {"wait-for-call.arguments: an object is needed, not a list"}},
        {step(
             R"({ "wait-for-call": { "operation": "ICIGeneral.SendCaPmt", "arguments": { "handle": { "profil": 0 } } } })"),
         {"arguments.handle.profil: ", "did you mean profile?"}},
        {step(
             R"({ "wait-for-call": { "operation": "ICIGeneral.SendCaPmt", "arguments": { "handle": { "handle": -1 } } } })"),
         {"arguments.handle.handle: -1 is not within 0 to 65535"}},
        {step(R"({ "wait-for-call": { "operation": "ICISampleDecryption.StartSampleDecryption",
                                      "arguments": { "tracks": [], "records": [] } } })"),
         {"has no such parameter; another operation of that name has it, but not the rest"}},
        {step("{ \"expect-no-call\": { \"operation\": \"ICIGeneral.EnterMenu\" } }"),
         {"f:6:25: timeline[0].expect-no-call: \"during\" is missing"}},
        {step("{ \"expect-no-call\": { \"arguments\": {}, \"during\": 1 } }"),
         {"timeline[0].expect-no-call.arguments: an \"operation\" that has them is missing"}},
        {step("{ \"fault\": {\n\"kind\": \"sleepy\" } }"), {"f:7:9: timeline[0].fault.kind: ", "late"}},
        {step("{ \"fault\": { \"kind\": \"never\", \"operation\": \"ICIGeneral.Entermenu\" } }"),
         {"timeline[0].fault.operation: \"ICIGeneral.Entermenu\" is no operation that is sent"}},
        {step("{ \"fault\": { \"kind\": \"late\",\n\"ms\": 5 } }"), {"timeline[0].fault.operation: "}},
        // Faults that can never happen.
        {step(R"({ "fault": { "kind": "nevr", "operation": "*" } })"), {"did you mean never?"}},
        {step(R"({ "fault": { "kind": "never", "operation": "EntrMenu" } })"), {"did you mean ICIGeneral.EnterMenu?"}},
        {step(R"({ "fault": { "kind": "never", "operation": "ICIGenerl.*" } })"), {"did you mean ICIGeneral.*?"}},
        {step(R"({ "fault": { "kind": "never", "operation": "ICIGeneral.IsCiSupported" } })"),
         {"no operation that is sent"}},
        {step(R"({ "fault": { "kind": "never", "operation": "IPvrCip.*", "slot": 0 } })"),
         {"fault.slot: calls of IPvrCip.* are about no slot"}},
        {step(R"({ "fault": { "kind": "never", "operation": "*", "probability": 0 } })"),
         {"fault.probability: a number above 0"}},
        {step(R"({ "fault": { "kind": "storm", "signal": 20, "nth": 3 } })"),
         {"fault.operation: slot, nth, times and"}},
        {step(R"({ "fault": { "kind": "hostile", "operation": "*", "shape": "deap" } })"), {"did you mean deep?"}},
        {step(R"({ "fault": { "kind": "lose-name", "name": "com.kelvora.ciapi.ICIGenerl" } })"),
         {"did you mean com.kelvora.ciapi.ICIGeneral?"}},
        {step("{ \"fault\": { \"kind\": \"malformed-signal\", \"count\": 10001 } }"),
         {"timeline[0].fault.count: at most 10000 are sent at once"}},
        // More than one at once, in the order of their lines.
        {step("{ \"wait\": -1 },\n{ \"at\": -1 }"), {"f:6:15: timeline[0].wait: ", "f:7:9: timeline[1].at: "}},
    };
    for (const TSCase& row : cases)
    {
        std::string error;
        try
        {
            ReadScenario(CIM::json::TCJsonDocument::Parse("f", row.text));
        }
        catch (const CIM::json::TCFileError& caught)
        {
            error = caught.what();
        }
        for (const char* const expected : row.expected)
        {
            EXPECT_THAT(error, HasSubstr(expected)) << row.text;
        }
    }
}

TEST(CallPattern, MeansWhatACallHas)
{
    const char* const start = "ICISampleDecryption.StartSampleDecryption";
    struct TSCase
    {
        const char* operation;
        const char* meant;
        const char* madeOperation;
        const char* made;
        bool isMatch;
    };
    for (const TSCase& row : {
             // A part of a record, in any way of writing a value.
             TSCase{"ICIGeneral.SendCaPmt", R"({"handle": {"profile": 1}})", "ICIGeneral.SendCaPmt",
                    R"({"handle": {"profile": "PROFILE_SUB", "handle": 7}})", true},
             TSCase{"ICIGeneral.SendCaPmt", R"({"handle": {"handle": "0x7"}})", "ICIGeneral.SendCaPmt",
                    R"({"handle": {"profile": "PROFILE_SUB", "handle": 7}})", true},
             TSCase{"ICIGeneral.SendCaPmt", R"({"handle": {"handle": 8}})", "ICIGeneral.SendCaPmt",
                    R"({"handle": {"profile": "PROFILE_SUB", "handle": 7}})", false},
             // Of several operations of a name, those that take the arguments.
             TSCase{start, "{}", "ICISampleDecryption.StartSampleDecryption#tracks", "{}", true},
             TSCase{start, R"({"tracks": []})", "ICISampleDecryption.StartSampleDecryption#tracks", R"({"tracks": []})",
                    true},
             TSCase{start, R"({"records": []})", "ICISampleDecryption.StartSampleDecryption#tracks",
                    R"({"tracks": []})", false},
         })
    {
        const TCCallPattern pattern(row.operation, CIM::json::TJson::parse(row.meant), CIM::json::TCJsonPath());
        EXPECT_EQ(pattern.Matches({row.madeOperation, CIM::json::TJson::parse(row.made)}), row.isMatch)
            << row.operation << row.meant;
    }
}

TEST(ScenarioFile, ReadsCommentsAndKeepsTheOrderOfTheTimeline)
{
    const TSScenario scenario = ReadScenario(CIM::json::TCJsonDocument::Parse(
        "f", Document("/* a\n comment */ \"seed\": 7, \"clock\": \"manual\", \"msPerCall\": 3,",
                      "{ \"at\": 5 },\n// between\n{ \"end\": { \"status\": 4 } }")));
    EXPECT_EQ(scenario.seed, 7u);
    EXPECT_TRUE(scenario.isManualClock);
    EXPECT_EQ(scenario.msPerCall, 3u);
    ASSERT_EQ(scenario.timeline.size(), 2u);
    EXPECT_TRUE(std::get<TSWait>(scenario.timeline[0].action).isAbsolute);
    EXPECT_EQ(scenario.timeline[1].line, 9);
    EXPECT_EQ(std::get<TSEnd>(std::get<TDeed>(scenario.timeline[1].action)).status, 4);
}

// The same value, written in the same way, is the same or is refused in the same words wherever it is written.
TEST(JsonDialect, EveryDoorReadsAValueInOneWay)
{
    using CIM::json::FromJson;
    using CIM::json::TCJsonPath;
    using CIM::json::TJson;
    const auto* const send = CIM::json::FindInterface("ICIGeneral")->Find("SendSasData");
    const auto signalOf = [](const TJson& arguments)
    {
        TSSignal raised;
        TCModel model(DefaultSet(), 1);
        model.SetSignalSink([&](const TSSignal& signal) { raised = signal; });
        RunControl(model, "signal", arguments);
        return raised;
    };
    // Which of the arguments that a call may have a pattern means.
    const auto meantBy = [](const char* name, const TJson& value, const std::vector<TJson>& candidates)
    {
        const TCCallPattern pattern("ICIGeneral.SendSasData", {{name, value}}, TCJsonPath());
        for (const TJson& candidate : candidates)
        {
            if (pattern.Matches({"ICIGeneral.SendSasData", {{name, candidate}}}))
            {
                return candidate.is_string() ? candidate.get<std::string>() : candidate.dump();
            }
        }
        return std::string("none");
    };
    const TSDoor byteDoors[] = {
        {"call pattern",
         [&](const TJson& value) {
             return meantBy("data", value, {"0102030405060708", "4142434445464748"});
         }},
        {"set",
         [](const TJson& value) {
             return Hex(FromJson<TSSetDefinition>({{"keys", {{"dhsk", value}}}}).keys.dhsk);
         }},
        {"fault",
         [](const TJson& value)
         {
             return CIM::json::BytesToHex(
                 FromJson<TSFault>({{"kind", "storm"}, {"signal", 20}, {"data", value}}, TCJsonPath())
                     .signal.data.bytes);
         }},
        {"control",
         [&](const TJson& value) {
             return CIM::json::BytesToHex(signalOf({{"type", 20}, {"data", value}}).data.bytes);
         }},
        {"cictl call",
         [&](const TJson& value)
         {
             const std::string payload = send->RequestFromJson({{"sessionId", 1}, {"data", value}});
             return send->RequestToJson(payload).json["data"].get<std::string>();
         }},
    };
    const TSDoor numberDoors[] = {
        {"call pattern",
         [&](const TJson& value) {
             return meantBy("sessionId", value, {65535, 12});
         }},
        {"set",
         [](const TJson& value)
         {
             const TJson set = {{"cams", {{{"name", "c"}, {"manufacturerId", value}}}}};
             return std::to_string(FromJson<TSSetDefinition>(set).cams.back().manufacturerId);
         }},
        {"fault",
         [](const TJson& value)
         {
             return std::to_string(
                 FromJson<TSFault>({{"kind", "storm"}, {"signal", 20}, {"handle", value}}, TCJsonPath()).signal.handle);
         }},
        {"control",
         [&](const TJson& value) {
             return std::to_string(signalOf({{"type", 20}, {"handle", value}}).handle);
         }},
        {"cictl call",
         [&](const TJson& value)
         {
             const std::string payload = send->RequestFromJson({{"sessionId", value}, {"data", ""}});
             return send->RequestToJson(payload).json["sessionId"].dump();
         }},
    };
    struct TSCase
    {
        TJson value;
        std::string expected;
    };
    const TSCase byteCases[] = {
        {"0102030405060708", "0102030405060708"},
        {"01 02 03 04 05:06:07:08", "0102030405060708"},
        {"0x01:02:03:04:05:06:07:08", "0102030405060708"},
        {{{"text", "ABCDEFGH"}}, "4142434445464748"},
        {"010203040506070", "two hexadecimal digits are needed for byte 7"},
        {7, "bytes are needed as hexadecimal text, or {\"text\"}, not a number"},
        {{{"txt", "A"}}, "\"text\" is missing; was \"txt\" meant to be it?"},
    };
    const TSCase numberCases[] = {
        {65535, "65535"},
        {"0xFFFF", "65535"},
        {"12", "12"},
        {65536, "65536 is not within 0 to 65535"},
        {"-1", "-1 is not within 0 to 65535"},
        {"one", "\"one\" is no integer"},
        {1.5, "an integer is needed, not a fraction"},
        {true, "an integer is needed, not a truth value"},
    };
    const auto check = [](std::span<const TSDoor> doors, std::span<const TSCase> cases)
    {
        for (const TSCase& test : cases)
        {
            for (const TSDoor& door : doors)
            {
                std::string got;
                try
                {
                    got = door.read(test.value);
                }
                catch (const CIM::json::TCJsonError& error)
                {
                    got = error.Message();
                }
                EXPECT_EQ(got, test.expected) << door.name << ": " << test.value;
            }
        }
    };
    check(byteDoors, byteCases);
    check(numberDoors, numberCases);
}

TEST(ScenarioPlay, AnUnmetStepEndsTheSimulatorAndIsNamed)
{
    const TCFolder folder;
    struct TSCase
    {
        const char* step;
        const char* expected;
        std::string command = CLIENT " menu-walk";
    };
    // What the client of menu-walk does first is to subscribe, and to enter the menu of slot 0.
    for (const TSCase& row : {
             TSCase{R"({ "expect-call": { "operation": "ICIGeneral.CloseMmi" } })",
                    "step 1 is not met: another call came: ICIGeneral.EnterMenu {"},
             TSCase{R"({ "expect-no-call": { "operation": "ICIGeneral.EnterMenu", "during": 9000 } })",
                    "step 1 is not met: a call came: ICIGeneral.EnterMenu {"},
             TSCase{R"({ "wait-for-call": { "operation": "ICIGeneral.EnterMenu", "arguments": { "slot": 1 } } })",
                    "step 1 is not met: the application ended before"},
             TSCase{R"({ "wait-for-call": { "operation": "ICIGeneral.CloseMmi", "within": 0 } })",
                    "step 1 is not met: no such call came within 0 ms", "exec sleep 50"},
             TSCase{R"({ "remove": { "slot": 1 } })", "step 1 is not met: slot 1 holds no CAM", "true"},
         })
    {
        const std::string file = folder.Write("unmet.json", Document("\"clock\": \"manual\",", row.step));
        // The command itself is content, and one that waits for nothing is ended.
        const TSOutput output = Shell(Sim() + " play " + file + " -- sh -c '" + row.command + "; true'");
        EXPECT_EQ(output.status, 3) << output.text;
        EXPECT_THAT(output.text, HasSubstr(file + ":6: " + row.expected));
    }
    const std::string met = folder.Write("met.json", Document("// nothing"));
    EXPECT_EQ(Shell(Sim() + " play " + met + " -- sh -c 'exit 41'").status, 41);
    EXPECT_EQ(Shell(Sim() + " play " + met + " -- true").status, 0);
    EXPECT_NE(Shell(Sim() + " play nowhere -- true").status, 0);

    // A journal that cannot be written does not end the story; the command's own status counts first.
    const std::string full = Sim() + " play menu-walk --journal /dev/full -- ";
    const TSOutput incomplete = Shell(full + CLIENT " menu-walk");
    EXPECT_EQ(incomplete.status, 4);
    EXPECT_EQ(incomplete.text,
              "ci-daemon-sim: the journal cannot be written: No space left on device; it is incomplete\n"
              "ci-daemon-sim: menu-walk is over and met: 5 of 5 steps were played\n");
    EXPECT_EQ(Shell(full + "sh -c '" CLIENT " menu-walk; exit 41'").status, 41);
    const TSOutput absent = Shell("timeout 10 " + Sim() + " play " + met + " --journal /absent/journal -- true");
    EXPECT_EQ(absent.status, 125) << "at once";
    EXPECT_THAT(absent.text, HasSubstr("cannot write /absent/journal: No such file or directory"));
}

TEST(ScenarioPlay, TheSameSeedGivesTheSameCallsAndSignals)
{
    const TCFolder folder;
    const auto journal = [&](const std::string& scenario, const std::string& story, const std::string& options)
    {
        const std::string file = folder / "journal";
        const TSOutput output =
            Shell(Sim() + " play " + scenario + " " + options + " --journal " + file + " -- " CLIENT " " + story);
        EXPECT_EQ(output.status, 0) << output.text;
        return ReadFile(file);
    };
    for (const std::string name : {"cicam-player", "sas"})
    {
        const std::string first = journal(name, name, "");
        EXPECT_THAT(first, HasSubstr(" signal SIGNAL_CI_"));
        EXPECT_THAT(first, HasSubstr(" slot 0: "));
        EXPECT_EQ(first, journal(name, name, ""));
    }
    const std::string asked = journal("enquiry-pin", "enquiry-pin", "");
    EXPECT_THAT(asked, HasSubstr("AnswerMmiEnquiry"));
    EXPECT_THAT(asked, testing::Not(HasSubstr("0042"))) << "digits of a PIN are shown nowhere";
    // A CAM whose delays vary: they vary with the seed, and only with it.
    const std::string varying = folder.Write(
        "varying.json",
        Document(
            R"("clock": "manual", "msPerCall": 100, "set": { "base": "default", "cams": [{ "name": "plus", "base": "plus", "jitterPercent": 40 }] },)",
            R"({ "wait": 3000 })"));
    const std::string seven = journal(varying, "menu-walk", "--seed 7");
    EXPECT_EQ(seven, journal(varying, "menu-walk", "--seed 7"));
    EXPECT_NE(seven, journal(varying, "menu-walk", "--seed 8"));
}

TEST(Scenarios, EachIsListedGoodAndHasItsStory)
{
    std::set<std::string> stories;
    std::istringstream names(Shell(CLIENT " --list").text);
    for (std::string name; std::getline(names, name);)
    {
        stories.insert(name);
    }
    const std::string list = Shell(Sim() + " list").text;
    std::set<std::string> shipped;
    for (const auto& entry : std::filesystem::directory_iterator(SOURCES "/simulator/scenarios"))
    {
        const TSScenario scenario = ReadScenario(CIM::json::TCJsonDocument::Load(entry.path().string()));
        EXPECT_EQ(scenario.name, entry.path().stem().string());
        EXPECT_THAT(list, HasSubstr(scenario.name + " "));
        EXPECT_THAT(list, HasSubstr("  " + scenario.description + "\n"));
        shipped.insert(scenario.name);
    }
    EXPECT_EQ(shipped, stories);
    EXPECT_GE(shipped.size(), 20u);
}

TEST(Scenarios, TheManualShowsThem)
{
    const std::string manual = ReadFile(SOURCES "/docs/simulator.md");
    for (const auto& entry : std::filesystem::directory_iterator(SOURCES "/simulator/scenarios"))
    {
        EXPECT_THAT(manual, HasSubstr("| `" + entry.path().stem().string() + "` |"));
    }
}
