#include "tools/CommandRun.h"

#include "support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

// What the programs answer to a shell, and what the shells make of it.

namespace CIM
{
namespace
{
using testing::HasSubstr;
using testing::Not;

using TWords = std::vector<std::string>;

TSRun Ask(const char* program, const TWords& words)
{
    TWords command = {program, "--complete"};
    command.insert(command.end(), words.begin(), words.end());
    return RunCommand(command);
}

const TCEnvironmentVariable& NoBus()
{
    static const TCEnvironmentVariable variable("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    return variable;
}

// Whether a program can be run here.
bool IsThere(const std::string& shell) { return RunCommand({"sh", "-c", "command -v " + shell}).status == 0; }

/// The programs as somebody types them.
struct SPrograms
{
    SPrograms()
    {
        std::filesystem::create_symlink(CICTL_PATH, folder.File("cictl"));
        std::filesystem::create_symlink(SIMULATOR_PATH, folder.File("ci-daemon-sim"));
    }
    TCTempFolder folder;
    TCEnvironmentVariable path{"PATH", folder.Path().string() + ":" + std::getenv("PATH")};
    TCEnvironmentVariable home{"HOME", folder.Path().string()};
    TCEnvironmentVariable terminal{"TERM", "dumb"};
};
} // namespace

TEST(Completion, KnowsWhatMayStandWhere)
{
    NoBus();
    const TCTempFolder folder;
    std::ofstream(folder.File("pin.txt")) << "1234\n";
    std::filesystem::create_directory(folder.File("pinned"));
    const std::string pin = folder.File("pin");
    const struct
    {
        const char* program;
        TWords words;
        std::vector<std::string> lines; ///< whole; those that end in a blank: beginnings; with '!' in front: none such
    } cases[] = {
        {CICTL_PATH, {"wa"}, {"watch\tprint the daemon's signals as they come", "wait\twait until a condition holds"}},
        {CICTL_PATH, {"frobnicate", ""}, {"!"}},
        {CICTL_PATH, {"-H", "root@set", "slo"}, {"slots\tthe slots and their CAMs"}},
        {CICTL_PATH, {"watch", "--"}, {"--count\tend after that many signals", "!--yes\t"}},
        {CICTL_PATH, {"watch", "--profile", "PROFILE_MA"}, {"PROFILE_MAIN\t0"}},
        {CICTL_PATH, {"watch", "--profile=PROFILE_MA"}, {"--profile=PROFILE_MAIN\t0"}},
        {CICTL_PATH, {"watch", "--count", "1", "CA_R"}, {"CA_REPLY\t", "!SIGNAL_"}},
        {CICTL_PATH, {"watch", "CI_CA_R"}, {"CI_CA_REPLY\t"}},
        {CICTL_PATH, {"watch", "SIGNAL_CI_CA_R"}, {"SIGNAL_CI_CA_REPLY\t"}},
        {CICTL_PATH, {"list", "ICIGen"}, {"ICIGeneral.\t"}},
        {CICTL_PATH, {"call", "general.EnterM"}, {"general.EnterMenu\tslot"}},
        {CICTL_PATH,
         {"call", "ICIOperatorProfile.GetInstalledOperatorProfiles"},
         {"ICIOperatorProfile.GetInstalledOperatorProfiles#map\t",
          "ICIOperatorProfile.GetInstalledOperatorProfiles#list\t"}},
        {CICTL_PATH,
         {"call", "general.AnswerMmiEnquiry", "slot=0", ""},
         {"answerId=\tEMmiAnswerId", "answer=\ttext, secret", "!slot="}},
        {CICTL_PATH,
         {"call", "general.AnswerMmiEnquiry", "answerId=MMI_ANSWER_ID_C"},
         {"answerId=MMI_ANSWER_ID_CANCEL\t0"}},
        {CICTL_PATH, {"call", "general.AnswerMmiEnquiry", "flag="}, {"flag=true\t", "flag=false\t"}},
        {CICTL_PATH,
         {"call", "general.VerifyCamPin", "pin=@" + pin},
         {"pin=@" + pin + ".txt\t", "pin=@" + pin + "ned/\t"}},
        {CICTL_PATH, {"call", "general.EnterMenu", "slot="}, {"!"}}, // without a daemon nobody knows
        {CICTL_PATH, {"pin", "0", "ver"}, {"verify\thave the CAM say whether a PIN is right"}},
        {CICTL_PATH, {"player", "seek", "0", "5", "a"}, {"absolute\t"}},
        {CICTL_PATH, {"debug", "get-slots"}, {"get-slots-count\t"}},
        {CICTL_PATH, {"wait", "(slot1.rea"}, {"(slot1.ready\tthe CAM is ready"}},
        {CICTL_PATH, {"wait", "signal=CI_CA_RE"}, {"signal=CI_CA_REPLY\t"}},
        {CICTL_PATH, {"decode", "gen"}, {"general\t"}},
        {CICTL_PATH, {"run", pin}, {pin + ".txt\t", pin + "ned/\t"}},
        {SIMULATOR_PATH, {"pl"}, {"play\tplay a scenario"}},
        {SIMULATOR_PATH, {"play", "two-"}, {"two-slots\t"}},
        {SIMULATOR_PATH, {"play", "two-slots", "--", pin}, {pin + ".txt\t"}},
        {SIMULATOR_PATH, {"run", "--in"}, {"--insert\tthe CAM that is in a slot at the beginning, as SLOT=CAM"}},
        {SIMULATOR_PATH, {"run", "--insert", "1"}, {"1=\tslot"}},
        {SIMULATOR_PATH, {"ctl", "StartUpgrade", "0", "CAM_UPGRADE_MODE_I"}, {"CAM_UPGRADE_MODE_IMMEDIATE\t"}},
        {SIMULATOR_PATH, {"ctl", "InsertC"}, {"InsertCam\tput a CAM into a slot"}},
        {SIMULATOR_PATH, {}, {"!"}},
    };
    for (const auto& [program, words, lines] : cases)
    {
        SCOPED_TRACE(testing::PrintToString(words));
        const TSRun run = Ask(program, words);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.error, "");
        for (const std::string& line : lines)
        {
            if (line == "!")
            {
                EXPECT_EQ(run.output, "");
            }
            else if (line.starts_with('!'))
            {
                EXPECT_THAT('\n' + run.output, Not(HasSubstr('\n' + line.substr(1))));
            }
            else
            {
                EXPECT_THAT('\n' + run.output, HasSubstr('\n' + line));
            }
        }
    }
}

TEST(Completion, AsksTheDaemonForItsSlotsAndWaitsForNobody)
{
    const TSRun run = RunCommand({SIMULATOR_PATH, "run", "--", "sh", "-c",
                                  CICTL_PATH " --complete menu '' && " CICTL_PATH " --complete call general.EnterMenu "
                                             "slot= && " CICTL_PATH " --complete wait slot1"});
    EXPECT_THAT(run.output, HasSubstr("0\tCAM_STATUS_"));
    EXPECT_THAT(run.output, HasSubstr("slot=1\tCAM_STATUS_NO_CAM\n"));
    EXPECT_THAT(run.output, HasSubstr("slot1.\tCAM_STATUS_NO_CAM\n"));

    const TCTempFolder folder;
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    folder.File("mute").copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 4), 0);
    const TCEnvironmentVariable mute("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + folder.File("mute"));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Ask(CICTL_PATH, {"menu", ""}).output, "");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3)); // of a machine with much to do
    close(listener);
}

TEST(Completion, WorksInBash)
{
    NoBus();
    const SPrograms programs;
    // Words as readline splits them.
    const std::pair<const char*, const char*> cases[] = {
        {"cictl wat", "watch\n"},
        {"cictl call general.EnterM", "general.EnterMenu\n"},
        {"cictl call general.AnswerMmiEnquiry slot = 0 answerId = MMI_ANSWER_ID_C", "MMI_ANSWER_ID_CANCEL\n"},
        {"cictl call general.AnswerMmiEnquiry slot = 0 answerI", "answerId=\n"},
        {"ci-daemon-sim play two-", "two-slots\n"},
    };
    for (const auto& [words, expected] : cases)
    {
        const std::string script = ". " COMPLETION_FOLDER "/bash; COMP_WORDS=(" + std::string(words) +
                                   "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); COMP_LINE=\"${COMP_WORDS[*]}\"; "
                                   "COMP_LINE=${COMP_LINE// = /=}; COMP_POINT=${#COMP_LINE}; compopt() { :; }; "
                                   "_ciapi_complete; printf '%s\\n' \"${COMPREPLY[@]}\"";
        const TSRun run = RunCommand({"bash", "--norc", "-c", script});
        EXPECT_EQ(run.output, expected) << words << '\n' << run.error;
    }
}

TEST(Completion, WorksInFish)
{
    if (!IsThere("fish"))
    {
        GTEST_SKIP() << "there is no fish here";
    }
    NoBus();
    const SPrograms programs;
    const std::pair<const char*, const char*> cases[] = {
        {"cictl wat", "watch\tprint the daemon's signals as they come"},
        {"cictl call general.AnswerMmiEnquiry slot=0 answerId=MMI_ANSWER_ID_C", "answerId=MMI_ANSWER_ID_CANCEL\t0\n"},
        {"ci-daemon-sim play ", "two-slots\t"},
    };
    for (const auto& [line, expected] : cases)
    {
        const TSRun run = RunCommand({"fish", "--no-config", "-c",
                                      "source " COMPLETION_FOLDER "/cictl.fish; source " COMPLETION_FOLDER
                                      "/ci-daemon-sim.fish; complete -C '" +
                                          std::string(line) + "'"});
        EXPECT_THAT(run.output, HasSubstr(expected)) << run.error;
    }
}

TEST(Completion, WorksInZsh)
{
    if (!IsThere("zsh"))
    {
        GTEST_SKIP() << "there is no zsh here";
    }
    NoBus();
    const SPrograms programs;
    std::filesystem::copy(COMPLETION_FOLDER "/zsh", programs.folder.File("_cictl"));
    std::ofstream(programs.folder.File(".zshrc")) << "fpath=($HOME $fpath); autoload -U compinit; compinit -u -D\n"
                                                     "unset zle_bracketed_paste; PS1='re''ady> '\n";
    const TCEnvironmentVariable configuration("ZDOTDIR", programs.folder.Path().string());
    const TSRun run = RunInTerminal({"zsh", "-i"}, {{"ready> ", "cictl list ICIGen\t"},
                                                    {"ICIGeneral.", "EnterMe\t\n"},
                                                    {"(id 11)", ""},
                                                    {"ready> ", "ci-daemon-sim play two-\t--help\n"},
                                                    {"--journal", ""},
                                                    {"ready> ", "exit\n"}});
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_THAT(run.output, HasSubstr("ICIGeneral.EnterMenu  (id"));
}
} // namespace CIM
