#include "tools/CommandRun.h"

#include <gmock/gmock.h>

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
} // namespace

TEST(CictlWithSimulator, ShowsTheSet)
{
    const struct
    {
        const char* line;
        int status;
        const char* output;
    } cases[] = {
        {"cictl slots", 0, "0     CAM_STATUS_READY   CAM_MODE_CI_PLUS"},
        {"cictl info 0 --json", 0, R"("caSystems":["0x0b00","0x0b01"])"},
        {"cictl info 7", 1, ""},
        {"cictl ca-systems --json", 0, R"([{"slot":0,"caSystems":["0x0b00","0x0b01"]}])"},
        {"cictl profiles --json", 0, R"("state":"offered","slotId":0,"profileName":"Kelvora Sat")"},
        {"cictl recording /pvr/rated.ts --json", 0, R"("blocked":true)"},
        {"cictl recording /pvr/none.ts 2>&1", 1, "knows no such recording"},
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
        {SIMULATOR_PATH " ctl State 2>&1 >/dev/full", 1, "cannot write to standard output"},
        {SIMULATOR_PATH " list 2>&1 >/dev/full", 1, "cannot write to standard output"},
        {SIMULATOR_PATH " --help 2>&1 >/dev/full", 1, "cannot write to standard output"},
        {"(until " SIMULATOR_PATH " ctl Subscriptions | grep -q SIGNAL_CI_CA_REPLY; do :; done; " SIMULATOR_PATH
         " ctl RaiseSignal SIGNAL_CI_CA_REPLY) & timeout 20 " CICTL_PATH " watch CI_CA_REPLY 2>&1 >/dev/full",
         1, "cannot write to standard output"},
    };
    std::string lines;
    for (const auto& test : cases)
    {
        lines += std::string(test.line) + "\necho \"@ $?\"\n";
    }
    TSRun run = RunCommand(WithCam(lines));
    ASSERT_EQ(run.status, 0) << run.error;
    for (const auto& [line, status, output] : cases)
    {
        SCOPED_TRACE(line);
        const std::size_t end = run.output.find("@ ");
        ASSERT_NE(end, std::string::npos) << run.error;
        EXPECT_THAT(run.output.substr(0, end), HasSubstr(output));
        EXPECT_EQ(run.output.substr(end, 4), "@ " + std::to_string(status) + "\n") << run.error;
        run.output.erase(0, run.output.find('\n', end) + 1);
    }
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
