#include "tools/CommandRun.h"

#include "json/Json.h"

#include "support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <sstream>

#include <filesystem>
#include <span>
#include <sstream>

// cictl as its users run it, beside a simulated daemon.

namespace CIM
{
namespace
{
using testing::HasSubstr;
using testing::Not;

// A shell line beside a simulator whose CAM in slot 0 is ready. "cictl" is the one that was built.
std::vector<std::string> WithCam(const std::string& line)
{
    const std::string ready = "until cictl slots --json | grep -q CAM_STATUS_READY; do :; done\n";
    return {SIMULATOR_PATH, "run", "--", "sh", "-c", "cictl() { \"" CICTL_PATH "\" \"$@\"; }\n" + ready + line};
}
struct TSCase
{
    std::string line;
    int status;
    const char* output; ///< has this in it; of JSON, each line is an object that begins with its version
};

// Runs the lines one after the other in one shell, beside one simulator.
void RunCases(std::span<const TSCase> cases)
{
    std::string lines;
    for (const TSCase& test : cases)
    {
        lines += test.line + "\necho \"@ $?\"\n";
    }
    const TSRun run = RunCommand(WithCam(lines));
    ASSERT_EQ(run.status, 0) << run.error;
    std::string rest = run.output;
    for (const auto& [line, status, output] : cases)
    {
        SCOPED_TRACE(line);
        const std::size_t end = rest.find("@ ");
        ASSERT_NE(end, std::string::npos) << run.error;
        EXPECT_THAT(rest.substr(0, end), HasSubstr(output));
        EXPECT_EQ(rest.substr(end, rest.find('\n', end) - end), "@ " + std::to_string(status)) << run.error;
        std::istringstream printed(rest.substr(0, end));
        const bool isJson = line.find("--json") != line.npos && line.find("/dev/full") == line.npos;
        for (std::string text; isJson && std::getline(printed, text);)
        {
            const json::TJson object = json::TJson::parse(text, nullptr, false);
            ASSERT_TRUE(object.is_object() && !object.empty()) << text;
            EXPECT_EQ(object.begin().key(), "version");
        }
        rest.erase(0, rest.find('\n', end) + 1);
    }
}
} // namespace

TEST(CictlWithSimulator, ShowsTheSet)
{
    const TSCase cases[] = {
        {"cictl slots", 0, "0     CAM_STATUS_READY   CAM_MODE_CI_PLUS"},
        {"cictl info 0 --json", 0, R"("caSystems":["0x0b00","0x0b01"])"},
        {"cictl info 7", 1, ""},
        {"cictl ca-systems --json", 0, R"({"version":1,"slot":0,"caSystems":["0x0b00","0x0b01"]})"},
        {"cictl profiles --json", 0, R"("state":"offered","slot":0,"name":"Kelvora Sat")"},
        {"cictl recording /pvr/rated.ts --json", 0, R"("blocked":true)"},
        {"cictl recording /pvr/none.ts 2>&1 | wc -l", 0, "1\n"},
        {"cictl recording /pvr/none.ts --json", 1, "knows no such recording"},
        {"cictl debug --json", 0, R"("command":"print-status","values":[]})"},
        {"cictl list general.EnterMenu --json", 0, R"("operation":"ICIGeneral.EnterMenu","id")"},
        {"cictl list --names --json", 0, R"({"version":1,"operation":"ICIGeneral.EnterMenu"})"},
        {"cictl list --signals --json", 0, R"({"version":1,"type":"SIGNAL_CI_CA_REPLY","number":38})"},
        {"cictl player play '<location>news</location>' --json && cictl player stop --json", 0, R"("result":true)"},
        {"cictl player speed 77 -100", 1, "false"},
        {"cictl debug get-slots-count --json", 0, R"("outputs":{"count":2})"},
        {"cictl call ICISampleDecryption.IsDRMSupported systemId=0x0B00", 0, "IsDRMSupported#systemId"},
        {"cictl call general.EnterMenu slot=0 --one-way", 0, "result:    1"},
        {"cictl call general.GetApplicationInfo slot=9", 1, "result:    0"},
        {"cictl call general.IsCiSupported", 0, "result:    1"},
        {"echo 1234 | cictl pin 0 verify", 0, "CAM_PIN_CODE_STATUS_CORRECT"},
        {"echo 4321 | cictl pin 0 verify --json", 1, R"("status":"CAM_PIN_CODE_STATUS_BAD","triesLeft":2)"},
        {"echo 1234 | cictl pin 0 verify && echo 0000 | cictl pin 0 set && echo 0000 | cictl pin 0 verify", 0,
         "CAM_PIN_CODE_STATUS_CORRECT"},
        {"cictl menu 1", 1, ""},
        // A full disk. Who watches ends with the first signal that cannot be written.
        {"cictl slots 2>&1 >/dev/full", 1, "cannot write to standard output"},
        {"cictl slots --json 2>&1 >/dev/full", 1, "cannot write to standard output"},
        {SIMULATOR_PATH " ctl State 2>&1 >/dev/full", 1, "cannot write to standard output"},
        {SIMULATOR_PATH " list 2>&1 >/dev/full", 1, "cannot write to standard output"},
        {SIMULATOR_PATH " --help 2>&1 >/dev/full", 1, "cannot write to standard output"},
        {"(until " SIMULATOR_PATH " ctl Subscriptions | grep -q SIGNAL_CI_CA_REPLY; do :; done; " SIMULATOR_PATH
         " ctl RaiseSignal SIGNAL_CI_CA_REPLY) & timeout 20 " CICTL_PATH " watch CI_CA_REPLY 2>&1 >/dev/full",
         1, "cannot write to standard output"},
    };
    RunCases(cases);
}

TEST(CictlWithSimulator, ExitsWithWhatFailed)
{
    const auto faulty = [](const std::string& fault, const std::string& options)
    {
        return SIMULATOR_PATH " ctl AddFault '{\"operation\": \"GetApplicationInfo\", \"times\": 1, " + fault +
               "}' >/dev/null; cictl call general.GetApplicationInfo slot=0 " + options;
    };
    const TSCase cases[] = {
        {faulty(R"("kind": "never")", "--timeout 0.2 --json"), 6,
         R"({"version":1,"error":{"status":6,"name":"timeout",)"},
        {faulty(R"("kind": "late", "ms": 200)", "--timeout 20"), 0, "result:    1"},
        {faulty(R"("kind": "wrong-types")", "--json"), 8, R"({"version":1,"error":{"status":8,"name":"not-readable",)"},
        {faulty(R"("kind": "error", "name": "org.freedesktop.DBus.Error.AccessDenied")", "--json"), 7,
         R"({"version":1,"error":{"status":7,"name":"denied",)"},
        {faulty(R"("kind": "error", "name": "org.x.Bad")", "--json"), 1,
         R"({"version":1,"error":{"status":1,"name":"refused",)"},
        {"echo 1234 | cictl pin 1 verify --json", 1, R"({"version":1,"error":{"status":1,"name":"refused",)"},
        {faulty(R"("kind": "restart", "ms": 300)", "--json"), 3,
         R"({"version":1,"error":{"status":3,"name":"no-daemon",)"},
        {"cictl wait daemon --timeout 20", 0, ""},
        {"f=$(mktemp); (until " SIMULATOR_PATH " ctl Journal | grep -q GetMmiMenu; do :; done; " SIMULATOR_PATH
         " ctl Restart 5000 >/dev/null; until grep -q 'is gone' $f; do :; done; echo 1) | cictl menu 0 >$f 2>&1; "
         "s=$?; cat $f; rm $f; (exit $s)",
         3, "the CI daemon is gone: nobody owns com.kelvora.ciapi.ICIGeneral any more\n"},
    };
    RunCases(cases);
}

TEST(CictlWithSimulator, WaitsForWhatHoldsAndForWhatComes)
{
    // In the background, as soon as somebody has subscribed a signal.
    const auto then = [](const char* signal, const std::string& what)
    {
        return std::string("(until " SIMULATOR_PATH " ctl Subscriptions | grep -q ") + signal + "; do :; done; " +
               what + " >/dev/null) & ";
    };
    const std::string ctl = SIMULATOR_PATH " ctl ";
    const std::string raise = ctl + "RaiseSignal SIGNAL_CI_CA_REPLY PROFILE_MAIN ";
    const TSCase cases[] = {
        {"cictl wait slot0.ready", 0, ""},
        {"cictl wait daemon and slot1.empty --json", 0,
         R"({"version":1,"condition":"daemon and slot1.empty","met":["daemon","slot1.empty"],"seconds":)"},
        {"cictl wait slot0.ready or slot1.ready and menu --json", 0, R"("met":["slot0.ready"])"},
        {"cictl wait '(slot0.ready or slot1.ready) and menu' --timeout 0.2 --json", 6, "not hold: slot1.ready, menu"},
        {"cictl wait slot9.ready --json", 1, "there is no slot 9"},
        {then("SIGNAL_CI_MMI", ctl + "OpenMenu 0") + "cictl wait menu --json --timeout 20", 0, R"("met":["menu"])"},
        {"cictl wait slot0.dialogue and slot0.menu --timeout 20", 0, ""}, // it is open already
        {"cictl wait slot1.dialogue or enquiry or list or text --timeout 0.2", 6, ""},
        {ctl + R"(ShowPage 0 '{"prompt": "PIN?"}' >/dev/null; cictl wait enquiry --timeout 20)", 0, ""},
        {"(" + ctl + "InsertCam 1 plain >/dev/null) & cictl wait slot1.init --timeout 20", 0, ""},
        {"cictl wait slot1.ready --timeout 20", 0, ""},
        {then("SIGNAL_CI_CAM_READY", ctl + "RemoveCam 1") + "cictl wait slot1.empty --timeout 20", 0, ""},
        // The first two are others: another code, another value. The third is it.
        {then("SIGNAL_CI_CA_REPLY",
              raise + "1 '' 1 0x71 5 7; " + raise + "1 '' 1 0x73 5 8; " + raise + "1 '' 1 0x73 5 0xfffffffe") +
             "cictl wait signal=CI_CA_REPLY,slot=1,code=CA_REPLY_NOT_POSSIBLE_TECHNICAL,id=5,value=0xfffffffe "
             "--timeout 20",
         0, ""},
        {then("SIGNAL_CI_CA_REPLY", raise + "1 '' 1 0x71 5 7") +
             "cictl wait signal=CI_CA_REPLY,handle=1,code=0x73 --timeout 0.5",
         6, ""},
        // A daemon that goes is waited for, and asked anew.
        {then("SIGNAL_CI_CA_REPLY", ctl + "Restart 300") +
             "cictl wait 'signal=CI_CAM_READY_STATUS_CHANGED,code=1 or signal=CI_CA_REPLY' --timeout 20 --json",
         0, R"("met":["signal=CI_CAM_READY_STATUS_CHANGED,code=1"])"},
        // What held no longer does.
        {then("SIGNAL_CI_CA_REPLY", ctl + "RemoveCam 0; " + raise + "0") +
             "cictl wait slot0.ready and signal=CI_CA_REPLY --timeout 1 --json",
         6, "not hold: slot0.ready\""},
    };
    RunCases(cases);
}

TEST(CictlWithSimulator, ReachesTheBusOfAnotherMachine)
{
    if (RunCommand({"sh", "-c", "command -v systemd-stdio-bridge"}).status != 0)
    {
        GTEST_SKIP() << "needs systemd-stdio-bridge (Debian: systemd)";
    }
    // Of ssh, what counts here: it runs the command elsewhere.
    const TCTempFolder folder;
    std::ofstream(folder.File("ssh")) << "#!/bin/sh\n[ \"$1 $2 $3\" = '-xT -- me@[::1]' ] || exit 254\n"
                                         "shift 3\nexec \"$@\" --bus-path=\"$REMOTE_BUS\"\n";
    std::filesystem::permissions(folder.File("ssh"), std::filesystem::perms::owner_all);
    const TCEnvironmentVariable path("PATH", folder.Path().string() + ":" + std::getenv("PATH"));
    // This machine has neither feature keys nor a bus, and is a model that waits for a marker.
    const std::string elsewhere = "export REMOTE_BUS=$DBUS_SYSTEM_BUS_ADDRESS DBUS_SYSTEM_BUS_ADDRESS=unix:path=/none "
                                  "XDG_CONFIG_HOME=/none CIAPI_DAEMON_READY_FILE=/none; unset TVPLATFORM_SYSTEM_INFO\n";
    const TSCase cases[] = {
        {elsewhere + "cictl -H 'me@[::1]' slots --json", 0, R"("slot":0,"status":"CAM_STATUS_READY")"},
        {"echo 1234 | cictl -H 'me@[::1]' pin 0 verify", 0, "CAM_PIN_CODE_STATUS_CORRECT"},
        {"cictl --host='me@[::1]' wait slot0.ready --timeout 20", 0, ""},
        {"cictl -H elsewhere slots --json", 4, R"("name":"no-bus","message":"there is no system bus on elsewhere)"},
        {"cictl slots", 5, ""},
    };
    RunCases(cases);
}

TEST(CictlWithSimulator, KeepsItsHelpWithin80Columns)
{
    const TSRun run = RunCommand({"sh", "-c",
                                  "c=\"" CICTL_PATH "\" s=\"" SIMULATOR_PATH "\"\n"
                                  "help() { \"$@\" --help || echo \"$@ has no help\"; }\n"
                                  "help $c; for verb in $($c --commands); do help $c $verb; done\n"
                                  "help $s; for verb in $($s --commands); do help $s $verb; done\n"
                                  "for verb in $($s ctl --list); do help $s ctl $verb; done"});
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_THAT(run.output, Not(HasSubstr("has no help")));
    std::istringstream lines(run.output);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count)
    {
        EXPECT_LE(line.size(), 80u) << line;
    }
    EXPECT_GT(count, 500);
}

TEST(CictlWithSimulator, WatchesEveryPipelineInWordsAndOrder)
{
    const std::string ctl = "\"" SIMULATOR_PATH "\" ctl ";
    // The signal that is subscribed last, for both slots: everything is subscribed then.
    const std::string subscribed = "until " + ctl + "Subscriptions | grep -c INFO_SPEED | grep -q 2; do :; done\n";
    // A pipeline that nobody has subscribed, and a daemon that comes back.
    const TSRun run = RunCommand(
        WithCam("cictl watch --count 9 --timeout 30 & watch=$!\n" + subscribed + ctl +
                "RaiseSignal SIGNAL_CI_CA_REPLY PROFILE_RECORD 7 '' 0 CA_REPLY_POSSIBLE\n" + ctl +
                "AddFault '{\"kind\": \"restart\"}' >/dev/null\nuntil cictl slots | grep -q CAM_STATUS_READY; do :; "
                "done >/dev/null\n" +
                ctl + "AskPin 0 16 PROFILE_SUB 2\nwait $watch"));
    EXPECT_EQ(run.status, 0) << run.error;
    std::vector<std::string> lines;
    std::istringstream output(run.output);
    for (std::string line; std::getline(output, line);)
    {
        lines.push_back(line.substr(line.find(' ') + 1)); // behind the time
    }
    EXPECT_THAT(
        lines,
        testing::ElementsAre(
            "SIGNAL_CI_CA_REPLY PROFILE_RECORD/7, slot 0: CA_REPLY_POSSIBLE",
            "SIGNAL_CI_CA_SYSTEMS_CHANGE slot 0: 2 CA systems", "SIGNAL_CI_CAM_MODE_CHANGED slot 0: CAM_MODE_CI_PLUS",
            "SIGNAL_CI_SAC_STATUS_CHANGE slot 0: SAC_ESTABLISHED",
            "SIGNAL_CI_CAM_READY_STATUS_CHANGED slot 0: CAM_STATUS_READY",
            "SIGNAL_CI_FILE_RETRIEVAL_MESSAGE slot 0: CI_FILE_RETRIEVAL_NEW_FILE_SYSTEM, file system 2, "
            "DOMAIN_IDS_CIMHEGP1",
            "SIGNAL_CI_OPERATOR_PROFILE_STATUS_CHANGE slot 0: CAM_OP_STATUS_NEW_OP_INSERTED, ANTENNA_MODE_SATELLITE, "
            "SERVICE_MODE_OPERATOR",
            "SIGNAL_CI_CHECK_PARENTAL_RATING_HANDLERS PROFILE_SUB/2, slot 0: PIN_WINDOW_SHOW_HANDLER_IS_HOST, rating "
            "16",
            "SIGNAL_CI_PIN_REPLY_TO_PIN_EVENT PROFILE_SUB/2, slot 0: CAM_PIN_CODE_SUPPORTED, 3 tries left, rating 16"));
    EXPECT_THAT(run.error, HasSubstr("the CI daemon is back"));
}

TEST(CictlWithSimulator, WalksThroughAMenuWithPipedAnswers)
{
    // A wrong number, the settings, the PIN's enquiry, a wrong and the right PIN, back, back, out.
    const TSRun run = RunCommand(WithCam("printf '9\\n2\\n1\\n4321\\n1234\\n\\n0\\n0\\n' | cictl menu 0"));
    EXPECT_EQ(run.status, 0) << run.error;
    for (const char* shown : {"a number from 0 to 4 is needed", "  2  Settings", "  1  Parental control",
                              "(3 tries left)", "(2 tries left)", "  - Rating limit: 18", "closed its menu"})
    {
        EXPECT_THAT(run.output, HasSubstr(shown));
    }
    EXPECT_THAT(run.output + run.error, Not(HasSubstr("1234")));
    // A CAM that is not ready yet is waited for.
    const TSRun early =
        RunCommand({SIMULATOR_PATH, "run", "--warm-up", "0", "--", "sh", "-c", "echo 4 | \"" CICTL_PATH "\" menu 0"});
    EXPECT_EQ(early.status, 0) << early.error;
    EXPECT_THAT(early.error, HasSubstr("waiting for the CAM"));
    // Input that ends early closes the menu: the CAM can be asked again.
    const TSRun twice = RunCommand(WithCam("echo 2 | cictl menu 0 && echo q | cictl menu 0"));
    EXPECT_EQ(twice.status, 0) << twice.error;
}

TEST(CictlWithSimulator, HidesABlindAnswerInATerminal)
{
    const TSRun run = RunInTerminal(WithCam("cictl menu 0"), {{"quit> ", "2\n"},
                                                              {"quit> ", "1\n"},
                                                              {"cancels> ", "1234\n"},
                                                              {"quit> ", "\n"},
                                                              {"quit> ", "2\n"},
                                                              {"quit> ", "1\n"},
                                                              {"cancels> ", "visible\n"},
                                                              {"quit> ", "q\n"}});
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_THAT(run.output, Not(HasSubstr("1234")));
    EXPECT_THAT(run.output, HasSubstr("visible")) << "an answer that is not blind is shown";
}

TEST(CictlWithSimulator, ReadsAPinFromATerminalWithoutShowingIt)
{
    const TSRun run = RunInTerminal(WithCam("cictl pin 0 verify && cictl pin 0 set"),
                                    {{"PIN: ", "1234\n"}, {"New PIN: ", "5678\n"}, {"once more: ", "5678\n"}});
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_THAT(run.output, Not(HasSubstr("1234")));
    EXPECT_THAT(run.output, Not(HasSubstr("5678")));
}
} // namespace CIM
