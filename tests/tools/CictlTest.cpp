#include "tools/PlayedDaemon.h"

#include "bus/Handles.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

namespace CIM
{
namespace
{
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
} // namespace

TEST(Cictl, TellsWrongUsageInOneLineWithoutABus)
{
    const TCEnvironmentVariable noBus("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    const struct
    {
        std::vector<std::string> arguments;
        const char* text;
    } cases[] = {
        {{"frobnicate"}, "no verb \"frobnicate\""},
        {{"slot"}, "no verb \"slot\"; did you mean slots?"},
        {{"slots", "--jason"}, "did you mean --json?"},
        {{"slots", "|", "cat"}, "not expected: | cat "},
        {{"slots", "extra"}, "this argument is not expected: extra "},
        {{"menu", "256"}, "slot: a number from 0 to 255"},
        {{"menu", "x"}, "slot: a number"},
        {{"pin", "0", "guess"}, "verify or set"},
        {{"call", "ICIGeneral"}, "no INTERFACE.OPERATION"},
        {{"call", "ICIGeneral.Frob"}, "no operation Frob"},
        {{"call", "ICIGeneral.GetMmiTxt"}, "did you mean ICIGeneral.GetMmiText?"},
        {{"call", "ICIGenral.GetMmiText", "slot=0"}, "did you mean ICIGeneral.GetMmiText?"},
        {{"call", "GetMmiText", "slot=0"}, "did you mean ICIGeneral.GetMmiText?"},
        {{"call", "ICIGeneral.GetMmiText", "slit=0"}, "did you mean slot?"},
        {{"list", "ICIGenerl"}, "did you mean ICIGeneral?"},
        {{"decode", "ICIGenerl", "00"}, "did you mean ICIGeneral?"},
        {{"debug", "factory-rest"}, "did you mean factory-reset?"},
        {{"call", "ICIGeneral.GetMmiText"}, "slot: this argument"},
        {{"call", "ICIGeneral.GetMmiText", "slot"}, "NAME=VALUE"},
        {{"call", "ICIGeneral.GetMmiText", "slot=1", "slot=1"}, "given twice"},
        {{"call", "ICIGeneral.GetMmiText", "slot=300"}, "slot: 300 is not within 0 to 255"},
        {{"call", "ICIGeneral.GetMmiText", "slot=0", "--one-way"}, "no one-way form"},
        {{"call", "ICIGeneral.VerifyCamPin", "slot=0", "pin=123"}, "pin: two hexadecimal digits"},
        {{"call", "ICIOperatorProfile.GetInstalledOperatorProfiles"}, "#map or "},
        {{"player", "seek", "0", "5", "sideways"}, "absolute or relative"},
        {{"player", "speed", "0"}, "handle speed"},
        {{"debug", "factory-reset"}, "--yes"},
        {{"watch", "NO_SUCH_SIGNAL"}, "\"NO_SUCH_SIGNAL\" (see cictl list --signals)\n"},
        {{"watch", "SIGNAL_CI_CA_REPLI"}, "did you mean SIGNAL_CI_CA_REPLY?"},
        {{"watch", "ca_repli"}, "did you mean SIGNAL_CI_CA_REPLY?"},
        {{"decode", "ICIGeneral", "0g"}, "payload: two hexadecimal digits"},
        {{"slots", "--timeout", "0"}, "timeout: seconds from 0.001"},
        {{"slots", "--timeout", "1e3"}, "timeout: seconds from 0.001"},
        {{"slots", "--timeout", "nan"}, "timeout: seconds from 0.001"},
        {{"call", "ICIGeneral.VerifyCamPin", "slot=0", "pin=12", "--timeout", "pin=31"}, "not \"pin=**\""},
        {{"wait"}, "character 1: a condition is expected"},
        {{"wait", "daemon", "and"}, "character 11: a condition is expected"},
        {{"wait", "daemon", "menu"}, "character 8: and, or, or the end"},
        {{"wait", "(daemon or ready"}, "character 17: the parenthesis of character 1 is not closed"},
        {{"wait", "daemon)"}, "character 7: and, or, or the end"},
        {{"wait", std::string(200, '(')}, "character 101: too many parentheses"},
        {{"wait", "slot0.redy"}, "character 7: \"redy\" is no condition"},
        {{"wait", "slot256.ready"}, "character 5: a slot is a number"},
        {{"wait", "ready", "or", "signal=CI_CA_REPLY,code=256"}, "character 29: code: 256"},
        {{"wait", "signal=CI_CA_REPLY,code=CAM_STATUS_READY"},
         "character 20: code: CAM_STATUS_READY means nothing here"},
        {{"wait", "signal=CI_CA_REPLY,"}, "character 20: FIELD=VALUE"},
        {{"wait", "signal=CI_CA_REPLY,cod=1"}, "character 20: a signal has no \"cod\""},
        {{"wait", "signal=NONE"}, "character 8: type: there is no signal \"NONE\" (see cictl list --signals)"},
        {{"-H", "-oProxyCommand=x", "slots"}, "no [USER@]HOST"},
        {{"-H", "me@-x", "slots"}, "no [USER@]HOST"},
        {{"-H", "", "slots"}, "no [USER@]HOST"},
    };
    for (const auto& [arguments, text] : cases)
    {
        const TSRun run = Cictl(arguments);
        EXPECT_EQ(run.status, 2) << run.error;
        EXPECT_THAT(run.error, HasSubstr(text));
        EXPECT_EQ(std::count(run.error.begin(), run.error.end(), '\n'), 1) << run.error;
        EXPECT_EQ(run.output, "");
        std::vector<std::string> withJson = arguments;
        withJson.insert(withJson.begin(), "--json"); // wherever it stands
        EXPECT_THAT(Cictl(withJson).output,
                    StartsWith(R"({"version":1,"error":{"status":2,"name":"usage","message":)"));
    }
    const TSRun nothing = Cictl({});
    EXPECT_EQ(nothing.status, 2);
    EXPECT_EQ(nothing.output, "");
    EXPECT_EQ(nothing.error, Cictl({"--help"}).output);
}

TEST(Cictl, TellsWhyThereIsNoDaemon)
{
    const auto expect = [](int status, const char* name, const char* text)
    {
        for (const std::vector<std::string>& arguments :
             {std::vector<std::string>{"slots"}, {"call", "ICIDebug.GetSlotsCount"}, {"watch"}, {"menu", "0"}})
        {
            const TSRun run = Cictl(arguments);
            EXPECT_EQ(run.status, status) << run.error;
            EXPECT_THAT(run.error, HasSubstr(text));
        }
        EXPECT_THAT(Cictl({"slots", "--json"}).output,
                    StartsWith(R"({"version":1,"error":{"status":)" + std::to_string(status) + R"(,"name":")" + name));
    };
    TCFeatureKeys keys;
    const TCEnvironmentVariable noHome("XDG_CONFIG_HOME", "/nonexistent");
    {
        const TCEnvironmentVariable noFile("TVPLATFORM_SYSTEM_INFO", "/nonexistent/keys");
        expect(5, "no-ci", "there is no file with feature keys");
        EXPECT_THAT(RunInTerminal({CICTL, "slots"}, {}).output, Not(HasSubstr("tvplatform:"))); // who says the same
    }
    keys.Set(SUPPORT, "true");
    expect(5, "no-ci", "product.num_of_ci cannot be read");
    keys.Set(COUNT, "0");
    expect(5, "no-ci", "no CI slot");
    keys.Set(COUNT, "2");
    keys.Set(CERTIFICATION, "false");
    expect(5, "no-ci", "not certified");
    keys.Set(CERTIFICATION, "true");
    {
        const TCEnvironmentVariable noBus("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
        expect(4, "no-bus", "no system bus");
    }
    const TCPrivateBus bus;
    expect(3, "no-daemon", "nobody owns com.kelvora.ciapi.");
}

TEST(Cictl, TellsARefusalFromACallThatDoesNotGetThrough)
{
    const struct
    {
        const char* what;
        std::function<TCScriptedDaemon::TMessage(const TCScriptedDaemon::TMessage&)> answer;
        int status;
        const char* output;
        const char* error;
    } cases[] = {
        {"yes", [](const auto& r) { return TCPlayedDaemon::Answer(r, R"({"result": 5, "outputs": {"count": 3}})"); }, 0,
         "count: 3", ""},
        {"no", [](const auto& r) { return TCPlayedDaemon::Answer(r, R"({"result": 0, "outputs": {"count": 3}})"); }, 1,
         "result:    0", ""},
        {"nothing written", [](const auto& r) { return TCScriptedDaemon::Reply(r, 1, ""); }, 8, "",
         "the reply is not readable"},
        {"an error", [](const auto& r) { return TCScriptedDaemon::Error(r, "org.x.Bad", "went wrong"); }, 1, "",
         "ICIDebug.GetSlotsCount did not get through: org.x.Bad: went wrong\n"},
        {"no reply", [](const auto& r) { return TCScriptedDaemon::Error(r, DBUS_ERROR_NO_REPLY, "?"); }, 6, "",
         "through: the CI daemon did not answer in time (org.freedesktop.DBus.Error."},
        {"not handled", [](const auto& r) { return TCScriptedDaemon::Reply(r, 0, ""); }, 1, "",
         "the daemon did not handle the call"},
        {"no tree", [](const auto& r) { return TCScriptedDaemon::Reply(r, 1, "\xff\xff"); }, 8, "",
         "the reply is not readable"},
    };
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.what);
        TCPlayedDaemon daemon([&](const auto& request, const std::string&) { return test.answer(request); });
        const TSRun run = Cictl({"call", "debug.GetSlotsCount"});
        EXPECT_EQ(run.status, test.status);
        EXPECT_THAT(run.output, HasSubstr(test.output));
        EXPECT_THAT(run.error, HasSubstr(test.error));
    }
}

TEST(Cictl, TellsWhatThePolicyOfTheBusDenies)
{
    const TCPrivateBus bus(R"(<policy context="mandatory"><deny own_prefix="com.kelvora.sub"/>)"
                           R"(<deny send_interface="org.freedesktop.DBus.Monitoring"/></policy>)");
    const TCFeatureKeys keys{{COUNT, "2"}, {SUPPORT, "true"}, {CERTIFICATION, "true"}};
    TCDBusError error;
    const TCConnectionPtr daemon = OpenBusAt(bus.Address().c_str(), error);
    ASSERT_TRUE(daemon) << error.Text();
    for (const std::string& name : AllNames())
    {
        ASSERT_EQ(dbus_bus_request_name(daemon.get(), name.c_str(), 0, nullptr), DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER);
    }
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"slots"}, {"call", "ICIGeneral.IsCiSupported"}, {"watch"}, {"trace"}})
    {
        const TSRun run = Cictl(arguments);
        EXPECT_EQ(run.status, 7) << arguments[0] << run.error;
        EXPECT_THAT(run.error, HasSubstr("does not let this user")) << arguments[0];
    }
}

TEST(Cictl, TellsThatTheBusDoesNotLetItIn)
{
    const TCPrivateBus bus(R"(<policy context="mandatory"><deny user="*"/></policy>)");
    const TCFeatureKeys keys{{COUNT, "2"}, {SUPPORT, "true"}, {CERTIFICATION, "true"}};
    for (const char* const verb : {"slots", "doctor"})
    {
        const TSRun run = Cictl({verb});
        EXPECT_EQ(run.status, 7) << verb;
        EXPECT_THAT(run.output + run.error, HasSubstr("the system bus does not let this user in"));
    }
}

TEST(Cictl, TellsThatTheBusWentWhileItWatches)
{
    TCPrivateBus bus;
    const TCFeatureKeys keys{{COUNT, "2"}, {SUPPORT, "true"}, {CERTIFICATION, "true"}};
    TCStartedCommand trace({CICTL, "trace"});
    ASSERT_TRUE(trace.WaitForError("tracing"));
    TCStartedCommand wait({CICTL, "wait", "daemon", "--timeout", "30"});
    bus.Stop();
    EXPECT_EQ(trace.Wait().status, 4);
    EXPECT_EQ(wait.Wait().status, 4);
}

TEST(Cictl, HasAPageThatSaysWhatItsStatusesMean)
{
    std::ifstream stream(CICTL_PAGE);
    const std::string page(std::istreambuf_iterator<char>(stream), {});
    const std::string table = Cictl({"list", "--statuses", "--json"}).output;
    std::istringstream lines(table);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count)
    {
        const json::TJson row = json::TJson::parse(line);
        EXPECT_THAT(page, HasSubstr("\n| " + row["status"].dump() + " | `" + row["name"].get<std::string>() + "` | " +
                                    row["meaning"].get<std::string>() + " |\n"));
    }
    EXPECT_EQ(count, 11);
}

TEST(Cictl, ShowsColoursInTerminalsAlone)
{
    const TCEnvironmentVariable noBus("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    const struct
    {
        const char* terminal;
        std::optional<std::string> noColor;
        bool isColoured;
    } cases[] = {{"xterm", {}, true}, {"xterm", "", true}, {"xterm", "1", false}, {"dumb", {}, false}};
    for (const auto& [terminal, noColor, isColoured] : cases)
    {
        const TCEnvironmentVariable variables[] = {{"TERM", terminal}, {"NO_COLOR", noColor}};
        for (const char* const verb : {"debug", "trace"}) // a table, and a failure
        {
            EXPECT_EQ(RunInTerminal({CICTL, verb}, {}).output.find('\x1b') != std::string::npos, isColoured) << verb;
            const TSRun piped = Cictl({verb});
            EXPECT_THAT(piped.output + piped.error, Not(HasSubstr("\x1b"))) << verb;
        }
    }
}

TEST(Cictl, TakesSecretsFromWhereNobodyReadsThem)
{
    const TCTempFolder folder;
    const auto file = [&](const char* name, const std::string& text)
    {
        std::ofstream(folder.File(name)) << text;
        return "@" + folder.File(name);
    };
    const struct
    {
        std::string value;
        std::string input;
        const char* answer; // that arrives; or what is wrong
    } cases[] = {
        {"plain-1", "", "plain-1"},
        {"-", "typed-1\nmore\n", "typed-1"},
        {"-", "no line end", "no line end"},
        {"--", "", "-"},
        {"---", "", "---"},
        {"@@home", "", "@home"},
        {R"("@quoted")", "", "@quoted"},
        {file("crlf", "first\r\nsecond\n"), "", "first"},
        {file("text", "0x31"), "", "0x31"},
        {"-", "", "!standard input has no line"},
        {"-", "\n", "!the line is empty"},
        {"-", std::string(5000, 'x'), "!longer than 4096 bytes"},
        {file("empty", ""), "", "!the file is empty"},
        {file("blank", "\nx"), "", "!the first line is empty"},
        {file("large", std::string(4097, '\n')), "", "!larger than 4096 bytes"},
        {"@" + folder.File("missing"), "", "!No such file"},
        {"@" + folder.Path().string(), "", "!Is a directory"},
    };
    std::string arrived;
    std::string commandLine;
    TCPlayedDaemon daemon(
        [&](const auto& request, const std::string&)
        {
            dbus_int32_t header = 0;
            dbus_int32_t length = 0;
            dbus_int32_t pid = 0;
            dbus_message_get_args(request.get(), nullptr, DBUS_TYPE_INT32, &header, DBUS_TYPE_INT32, &length,
                                  DBUS_TYPE_INT32, &pid, DBUS_TYPE_INVALID);
            std::ifstream stream("/proc/" + std::to_string(pid) + "/cmdline");
            commandLine.assign(std::istreambuf_iterator<char>(stream), {});
            const auto& operation = TCPlayedDaemon::Operation(request.get());
            const json::TJson arguments = operation.RequestToJson(TCScriptedDaemon::Payload(request.get())).json;
            arrived = arguments.value("answer", arguments.value("pin", ""));
            return TCPlayedDaemon::Answer(request, "{}");
        });
    for (const auto& [value, input, answer] : cases)
    {
        SCOPED_TRACE(value);
        arrived.clear();
        commandLine.clear();
        const TSRun run =
            Cictl({"call", "general.AnswerMmiEnquiry", "slot=0", "answerId=1", "flag=0", "answer=" + value}, input);
        const bool isWrong = answer[0] == '!';
        EXPECT_EQ(run.status, isWrong ? 2 : 0) << run.error;
        EXPECT_EQ(arrived, isWrong ? "" : answer);
        EXPECT_THAT(run.error, HasSubstr(isWrong ? answer + 1 : ""));
        EXPECT_EQ(commandLine.empty(), isWrong);
        const bool isPointer = value == "-" || (value.starts_with('@') && !value.starts_with("@@"));
        EXPECT_EQ(commandLine.find("answer=" + value) == std::string::npos, isWrong || !isPointer) << commandLine;
    }
    // Of bytes, what is typed are the characters, unless it says otherwise; a literal stays what it is.
    const std::pair<std::vector<std::string>, const char*> pins[] = {
        {{"pin=-", "12"}, "3132"}, {{"pin=-", "0x0102"}, "0102"}, {{"pin=12", ""}, "12"}};
    for (const auto& [words, bytes] : pins)
    {
        EXPECT_EQ(Cictl({"call", "general.VerifyCamPin", "slot=0", words[0]}, words[1]).status, 0);
        EXPECT_EQ(arrived, bytes) << words[0] << words[1];
    }
}

TEST(Cictl, PrintsTextsOfACamWithoutTheirControls)
{
    TCPlayedDaemon daemon(
        [](const auto& request, const std::string&)
        { return TCPlayedDaemon::Answer(request, R"({"outputs": {"text": "\u001b[2Jü\u009b\u202eG"}})"); });
    TSRun run = Cictl({"call", "general.GetMmiText", "slot=0"});
    EXPECT_THAT(run.output, HasSubstr("text: \\x1b[2Jü\\x9b\\u202eG\n"));
    run = Cictl({"call", "general.GetMmiText", "slot=0", "--json"});
    EXPECT_EQ(run.output, R"({"version":1,"operation":"ICIGeneral.GetMmiText","result":1,)"
                          R"("outputs":{"text":"\u001b[2J\u00fc\u009b\u202eG"}})"
                          "\n");
}
} // namespace CIM
