#include "tools/CommandRun.h"

#include "support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

// cictl run and cictl shell beside a simulated daemon.

namespace CIM
{
namespace
{
using testing::HasSubstr;
using testing::Not;

// A shell line beside a simulator whose CAM in slot 0 is ready.
std::vector<std::string> Beside(const std::string& line)
{
    return {SIMULATOR_PATH, "run", "--", "sh", "-c", "\"" CICTL_PATH "\" wait slot0.ready --timeout 20 && " + line};
}

std::string Line(int status) { return "@ " + std::to_string(status) + "\n"; }
} // namespace

TEST(Script, RunsUntilTheFirstThatFails)
{
    const TCTempFolder folder;
    std::ofstream(folder.File("included")) << "slots\nexpect CAM_STATUS\n";
    std::ofstream(folder.File("endless")) << "run " << folder.File("endless") << "\n";
    const struct
    {
        std::string script;
        int status;
        const char* error; ///< "FILE" stands for the script's path
        const char* output;
    } cases[] = {
        {"# nothing\n\n   \n", 0, "", ""},
        {"slots # the CAMs\r\nexpect 'Kelvora CAM  Kel'vora\nexpect CAM_STATUS_READY CAM_MODE_CI_PLUS\n", 0, "",
         "Kelvora CAM"},
        {"info 7\nslots\n", 1, "FILE:1: there is no slot 7\n", ""},
        {"\nslots\nexpect nothing like it\n", 1, "FILE:3: the output of slots does not contain nothing like it\n", ""},
        {"call general.GetApplicationInfo slot=9\n", 1, "FILE:1: call ended with the status 1\n", ""},
        {"frobnicate\n", 2, "FILE:1: there is no verb \"frobnicate\"", ""},
        {"slots 'x\n", 2, "FILE:1: a quotation does not end\n", ""},
        {"-H set slots\n", 2, "FILE:1: a line begins with a verb", ""},
        {"shell\n", 2, "FILE:1: a line begins with a verb", ""},
        {"expect x\n", 2, "FILE:1: expect stands behind a verb\n", ""},
        {"slots\nexpect\n", 2, "FILE:2: expect takes", ""},
        {"slots\nexpect --json slot\n", 2, "FILE:2: expect takes", ""},
        {"expect-status many\n", 2, "FILE:1: \"many\" is no exit status", ""},
        {"expect-status refused\ninfo 7\nexpect no slot 7\nslots\n", 0, "", "Kelvora"},
        {"slots\nexpect-status 1\n# end\n", 2, "FILE:2: no verb stands behind expect-status\n", ""},
        {"expect-status 1\nexpect-status 2\ninfo 7\n", 2, "FILE:2: expect-status stands behind another, of line 1", ""},
        {"expect-status 6\ninfo 7\n", 1, "FILE:2: info ended with the status 1, not 6\n", ""},
        {"expect-status 1\nslots\n", 1, "FILE:2: slots ended with the status 0, not 1\n", ""},
        {"expect-status 1\ninfo 7 --json\nexpect --json error.name=refused error.status=1\n", 0,
         "FILE:2: there is no slot 7\n", "\"error\""},
        {"slots --json\nexpect --json slot=0 status=CAM_STATUS_READY\nexpect --json slot=1\n", 0, "",
         "{\"version\":1,"},
        {"slots --json\nexpect --json slot=1 status=CAM_STATUS_READY\n", 1, "no line of the output of slots has", ""},
        {"call general.GetCiSlotStatus selection=0 --json\nexpect --json outputs.statuses.0=CAM_STATUS_READY\n", 0, "",
         ""},
        {"ca-systems --json\nexpect --json caSystems.1=0x0b01\n", 0, "", ""},
        // Each line has its own secrets and its own output.
        {"call general.VerifyCamPin slot=0 pin=31323334\ncall general.VerifyCamPin slot=0 pin=@/dev/null\n", 2,
         "FILE:2: /dev/null: the file is empty\n", ""},
        {"slots\nca-systems\nexpect Kelvora\n", 1, "FILE:3: the output of ca-systems does not", ""},
        {"run " + folder.File("included") + "\nexpect CAM_STATUS\n", 0, "", "Kelvora"},
        {"run " + folder.File("endless") + "\n", 2, "too deep", ""},
        {"run " + folder.File("none") + "\n", 2, "No such file or directory", ""},
    };
    std::string lines = "true";
    for (std::size_t i = 0; i < std::size(cases); ++i)
    {
        const std::string file = folder.File("script" + std::to_string(i));
        std::ofstream(file) << cases[i].script;
        lines += "\n\"" CICTL_PATH "\" run " + file + " 2>" + file + ".error; echo \"@ $?\"";
    }
    TSRun run = RunCommand(Beside(lines));
    for (std::size_t i = 0; i < std::size(cases); ++i)
    {
        SCOPED_TRACE(cases[i].script);
        const std::string file = folder.File("script" + std::to_string(i));
        const std::size_t end = run.output.find("@ ");
        ASSERT_NE(end, std::string::npos) << run.error;
        EXPECT_THAT(run.output.substr(0, end), HasSubstr(cases[i].output));
        EXPECT_EQ(run.output.substr(end, Line(cases[i].status).size()), Line(cases[i].status));
        run.output.erase(0, run.output.find('\n', end) + 1);
        std::string expected = cases[i].error;
        if (const std::size_t place = expected.find("FILE"); place != std::string::npos)
        {
            expected.replace(place, 4, file);
        }
        std::string error;
        for (const std::string& line : LinesOf(file + ".error"))
        {
            error += line + "\n";
        }
        EXPECT_THAT(error, expected.empty() ? testing::Eq("") : testing::Matcher<std::string>(HasSubstr(expected)));
    }
}

TEST(Script, SharesStandardInputWithItsVerbs)
{
    // What is no terminal is a script, whichever verb reads it.
    for (const std::string verb : {"run -", "shell"})
    {
        const TSRun run =
            RunCommand(Beside("printf 'pin 0 verify\\n1234\\nexpect CORRECT\\nmenu 0\\n4\\nslots\\n"
                              "expect-status 1\\npin 0 verify -\\n4321\\ninfo 7\\n' | \"" CICTL_PATH "\" " +
                              verb));
        EXPECT_EQ(run.status, 1) << run.error;
        EXPECT_THAT(run.output, HasSubstr("closed its menu"));
        EXPECT_THAT(run.output, HasSubstr("CAM_STATUS_NO_CAM"));
        EXPECT_THAT(run.output, HasSubstr("CAM_PIN_CODE_STATUS_BAD"));
        EXPECT_THAT(run.error, HasSubstr("standard input:10: there is no slot 7\n"));
        EXPECT_THAT(run.output + run.error, Not(HasSubstr("1234")));
    }
}

TEST(Shell, EditsCompletesAndOutlivesItsVerbs)
{
    const TCTempFolder folder;
    const TCEnvironmentVariable state("XDG_STATE_HOME", folder.File("state"));
    const TCEnvironmentVariable terminal("TERM", "xterm");
    const TCEnvironmentVariable noColour("NO_COLOR", "1");
    const TSRun run =
        RunInTerminal(Beside("exec \"" CICTL_PATH "\" shell"),
                      {{"cictl> ", "ca-sys\t\n"},
                       {"0x0b01", ""},
                       {"cictl> ", "call general.EnterM\t slot=\t"},
                       {"slot=1  CAM_STATUS_NO_CAM", "0\n"},
                       {"result:    1", ""},
                       // A signal that comes while somebody types.
                       {"cictl> ", "info"},
                       {"SIGNAL_CI_MMI_STATUS_CHANGED slot 0: CI_MMI_STATUS_MENU_RECEIVED, 4 entries", ""},
                       {"cictl> info", " 7\n"},
                       {"no slot 7", ""},
                       {"cictl> ", "watch CI_CA_REPLY\n"},
                       {"watching", "\x03"},
                       {"cictl> ", "pin 0 verify\n"},
                       {"PIN: ", "\x04"},
                       {"no line for this", ""},
                       {"cictl> ", "pin 0 verify\n"},
                       {"PIN: ", "1234\n"},
                       {"CAM_PIN_CODE_STATUS_CORRECT", ""},
                       {"cictl> ", "call general.VerifyCamPin slot=0 pin=31323334\n"},
                       {"result:    1", ""},
                       {"cictl> ", "cal general.VerifyCamPin slot=0 pin=31323334\n"},
                       {"no verb", ""},
                       {"cictl> ", "pin 0 verify 8888\n"},
                       {"not given on the command line", ""},
                       // Given up, and not part of the next line.
                       {"cictl> ", "frobnicate"},
                       {"frobnicate", "\x03"},
                       {"cictl> ", "call general.WaitsForEver\n"},
                       {"no operation WaitsForEver", ""},
                       {"cictl> ", "\x1b[A\n"},
                       {"no operation WaitsForEver", ""},
                       {"cictl> ", "\x04"}});
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_THAT(LinesOf(folder.File("state/cictl/history")),
                testing::ElementsAre("ca-systems ", "call general.EnterMenu  slot=0", "info 7", "watch CI_CA_REPLY",
                                     "pin 0 verify", "pin 0 verify", "call general.WaitsForEver",
                                     "call general.WaitsForEver"));
    struct stat file
    {
    };
    ASSERT_EQ(stat(folder.File("state/cictl/history").c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 0777, 0600u);
    const TSRun again =
        RunInTerminal(Beside("exec \"" CICTL_PATH "\" shell"),
                      {{"cictl> ", "\x1b[A\n"}, {"no operation WaitsForEver", ""}, {"cictl> ", "exit\n"}});
    EXPECT_EQ(again.status, 0) << again.output;
}

TEST(Shell, EndsAVerbThatADaemonDoesNotAnswer)
{
    const TCTempFolder folder;
    const TCEnvironmentVariable state("XDG_STATE_HOME", folder.File("state"));
    std::ofstream(folder.File("script")) << "slots\ncall debug.GetSlotsCount\n";
    const TSRun run =
        RunInTerminal({SIMULATOR_PATH, "run", "--fault", R"({"operation": "ICIDebug.GetSlotsCount", "kind": "never"})",
                       "--", CICTL_PATH, "shell"},
                      {{"cictl> ", "run " + folder.File("script") + "\n"}, // which says when it has begun
                       {"CAM_STATUS_NO_CAM", "\x03"},
                       {"cictl> ", "slots\n"},
                       {"CAM_STATUS_NO_CAM", ""},
                       {"cictl> ", "\x04"}});
    EXPECT_EQ(run.status, 0) << run.output;
}

TEST(Shell, OutlivesItsBus)
{
    const TCTempFolder folder;
    const TCEnvironmentVariable state("XDG_STATE_HOME", folder.File("state"));
    std::ofstream(folder.File("end-bus"))
        << "bus=$(dbus-send --system --print-reply=literal --dest=org.freedesktop.DBus / org.freedesktop.DBus."
           "GetConnectionUnixProcessID string:org.freedesktop.DBus | awk '{print $2}')\n"
           "until grep -q GetSlotsCount "
        << folder.File("state/cictl/history")
        << " 2>/dev/null; do sleep 0.02; done\n"
           "[ \"$(cat /proc/$bus/comm)\" = dbus-daemon ] && kill -9 $bus\n";
    RunInTerminal(
        Beside("{ timeout 20 sh " + folder.File("end-bus") + " & } && \"" CICTL_PATH "\" shell; echo \"@ $?\""),
        {{"cictl> ", "slots\n"},
         {"CAM_STATUS_NO_CAM", ""},
         {"cictl> ", "list debug.GetSlotsCount\n"}, // needs no bus
         {"no signals any more", ""},
         {"cictl> ", "info\n"},
         {"there is no system bus", ""},
         {"cictl> ", "\x04"},
         {"@ 0", ""}});
}
} // namespace CIM
