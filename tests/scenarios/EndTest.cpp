#include "privatebus/BusFolder.h"
#include "privatebus/Keeper.h"
#include "ScenarioFiles.h"
#include "simulator/scenario/Tell.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

// How a play ends when it is not the scenario that ends it.

namespace
{
std::string Story(const std::string& says, bool waits)
{
    const std::string when = R"(, "when": { "called": { "operation": "ICIGeneral.IsCamPinNeeded" } })";
    return R"({ "name": "x", "description": "y", "clock": "manual", "story": [{ "says": ")" + says + "\"" +
           (waits ? when : "") + " }] }\n";
}

const std::string INTERRUPTS = "[ $PPID -gt 1 ] && kill -TERM $PPID; ";
const std::string ASKS = CICTL " call ICIGeneral.IsCamPinNeeded >/dev/null 2>&1; ";
} // namespace

TEST(PlayEnd, SaysWhoEndedIt)
{
    const TCFolder folder;
    const std::string waits = folder.Write("waits.json", Story("s", true));
    const std::string met = folder.Write("met.json", Story("s", false));
    const std::string evil = folder.Write("evil.json", Story(R"(a\u001b[2J\u009b\u0000b)", true));
    const std::string report = folder / "report.xml";
    struct TSCase
    {
        std::string arguments;
        int status;
        std::vector<const char*> texts; ///< those that begin with '!' must be missing
        const char* xml = "";
    };
    const std::string interrupted = waits + " -- sh -c '" + INTERRUPTS;
    const TSCase cases[] = {
        // A user.
        {interrupted + "exec sleep 20'",
         143,
         {"!ended before", "interrupted: step 1 of 1: s; waits for IsCamPinNeeded\n"},
         "failures=\"0\" errors=\"0\" skipped=\"1\""},
        {waits + " -- sh -c 'trap \"exit 0\" INT; [ $PPID -gt 1 ] && kill -INT $PPID; while :; do sleep 0.05; done'",
         130,
         {"!ended before", "interrupted: "},
         "<skipped message=\"interrupted\"/>"},
        {met + " -- sh -c '" + INTERRUPTS + "exec sleep 20'",
         143,
         {"!interrupted", "is over and met"},
         "errors=\"0\" skipped=\"0\""},
        // There is no application, or it fails by itself.
        {waits + " -- /absent/application",
         127,
         {"!ended before", "/absent/application: No such file"},
         "errors=\"1\""},
        {waits + " -- /etc/passwd",
         126,
         {"!ended before", "/etc/passwd: Permission denied"},
         "<error message=\"it cannot be started: Permission denied\""},
        {met + " --end -- /absent/application", 127, {}, "errors=\"1\""},
        {waits + " -- sh -c 'kill -SEGV $$'", 3, {"the application ended before: killed by SIGSEGV"}, "failures=\"1\""},
        {waits + " -- sh -c 'exit 7'", 3, {"the application ended before: with status 7"}, "with status 7"},
        {waits + " -- true", 3, {"the application ended before\n"}, "errors=\"0\""},
        {met + " -- sh -c 'kill -SEGV $$'",
         139,
         {"!ended before", "is over and met", "the application does not end well: killed by SIGSEGV\n"},
         "name=\"the application ends well\"><error message=\"killed by SIGSEGV\""},
        {waits + " --end -- sh -c 'trap \"kill -ABRT $$\" TERM; " + ASKS + "while :; do sleep 0.05; done'",
         134,
         {"killed by SIGABRT"},
         "errors=\"1\""},
        {waits + " --end -- sh -c 'trap \"exit 9\" TERM; " + ASKS + "while :; do sleep 0.05; done'",
         0,
         {"!not end well"},
         "errors=\"0\""},
        {waits + " --end -- sh -c 'trap \"\" TERM; " + ASKS + "while :; do sleep 0.05; done'",
         0,
         {"!not end well", "sh was asked to end (SIGTERM) and goes on", "sh does not end within 5 s and is killed"},
         "errors=\"0\""},
        // What is said.
        {evil + " -- true", 3, {"!\x1b", "a\\x1b[2J\\x9b\\x00b\n"}, "failures=\"1\""},
        {met + " --junit /dev/full -- true", 4, {"the report cannot be written: No space left on device"}},
        {waits + " --junit /dev/full -- true", 3, {"the report cannot be written: No space left on device"}},
        {met + " --step-timeout 0 -- true", 2, {"not 0 (see ci-daemon-sim play --help)\n"}},
        {met + " --step-timeout 0.0001 -- true", 2, {"not 0.0001"}},
    };
    for (const TSCase& row : cases)
    {
        const std::string to = *row.xml != '\0' ? " play --junit " + report + " " : " play ";
        const TSOutput output = Shell("timeout 30 " + Sim() + to + row.arguments);
        EXPECT_EQ(output.status, row.status) << row.arguments << '\n' << output.text;
        for (const char* const text : row.texts)
        {
            const bool isAbsent = *text == '!';
            EXPECT_EQ(output.text.find(text + isAbsent) == std::string::npos, isAbsent)
                << row.arguments << ": " << text << '\n'
                << output.text;
        }
        EXPECT_THAT(ReadFile(report), HasSubstr(row.xml)) << row.arguments;
    }
}

TEST(PlayEnd, WithoutACommandASignalInterruptsIt)
{
    const TCFolder folder;
    const auto bus = CIM::privatebus::TCBusFolder::Make("play-end");
    CIM::privatebus::TCKeeper keeper;
    keeper.Start(bus, {});
    const std::string play = "export DBUS_SYSTEM_BUS_ADDRESS='" + bus.Address() + "' CIAPI_DAEMON_READY_FILE='" +
                             bus.MarkerFile() + "'; cd '" + (folder / "") + "'; " + Sim() +
                             " play --verbose --junit x.xml ";
    const std::string interrupt = " 2>log & pid=$!; timeout 20 tail -n +1 -f --pid=$pid log | grep -q -m1 ': s'; "
                                  "[ $pid -gt 1 ] && kill -TERM $pid; wait $pid; status=$?; cat log; exit $status";
    folder.Write("x.json", Story("s", true));
    folder.Write("log", "");
    const TSOutput output = Shell(play + "x.json" + interrupt);
    EXPECT_EQ(output.status, 143) << output.text;
    EXPECT_THAT(output.text, HasSubstr("interrupted: step 1 of 1: s"));
    EXPECT_THAT(ReadFile(folder / "x.xml"), HasSubstr("<skipped message=\"interrupted\"/>"));
    keeper.LetGo();
    const TSOutput noBus = Shell(play + "x.json");
    EXPECT_EQ(noBus.status, 1);
    EXPECT_THAT(noBus.text, HasSubstr("or give a command, which gets a bus of its own: ci-daemon-sim play x.json -- "));
}

TEST(PlayEnd, ALiveLineIsAsWideAsItsTerminal)
{
    struct TSCase
    {
        const char* line;
        unsigned columns;
        const char* expected;
    };
    for (const TSCase& row : {TSCase{"abc", 3, "abc"}, {"abc", 2, "ab"}, {"äöü", 2, "äö"}, {"a日本", 4, "a日"}})
    {
        EXPECT_EQ(CIM::sim::CutToWidth(row.line, row.columns), row.expected);
    }
}
