#include "support/Shell.h"
#include "support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

// Traffic that cictl records, and recordings that it reads: its own, and those of others.

using CIM::Shell;
using CIM::TCTempFolder;
using CIM::TSOutput;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

namespace
{
const std::string CICTL = CICTL_PATH;

std::string Content(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// Calls that the daemon does not understand, and in which a PIN may stand all the same.
const std::string CALL = "gdbus call --system --dest com.kelvora.ciapi.ICIGeneral --object-path /com/kelvora/Object "
                         "--method com.kelvora.ciapi.ICIGeneral.";

/// What a set does, beside a simulator: slots are read, a mark is set, a PIN is wrong, a menu opens by itself, and
/// somebody asks for what is not there.
/// \param[in] more  a piece of script that goes on from there
TSOutput Record(const TCTempFolder& folder, const std::string& recorder, const std::string& more = {})
{
    const std::string script = folder.File("script.sh");
    std::ofstream(script) << recorder << " > " << folder.File("live.txt") << " 2> " << folder.File("err.txt") << " &\n"
                          << "recorder=$!\n"
                          << "for i in $(seq 400); do [ -s " << folder.File("err.txt") << " ] || [ -s "
                          << folder.File("live.txt") << " ] && break; sleep 0.025; done\n"
                          << CICTL << " slots\n"
                          << CICTL << " mark it fails here\n"
                          << "echo 471147 | " << CICTL << " call ICIGeneral.VerifyCamPin slot=0 pin=-\n"
                          << CALL << "Other 471147\n"
                          << CALL << "MethodCall 'int32 24' 'int32 6' 'int32 1' '[byte 52, 55, 49, 49, 52, 55]'\n"
                          << SIMULATOR_PATH << " ctl OpenMenu 0\n"
                          << CICTL << " call ICIGeneral.GetMmiEnquiry slot=0\n"
                          << CICTL << " wait slot0.menu --timeout 10\n"
                          << more << "kill -TERM $recorder; wait $recorder\n";
    return Shell(std::string(SIMULATOR_PATH) + " run -- bash " + script);
}

/// Without what differs between two readings.
std::string WithoutTimes(const std::string& text)
{
    return std::regex_replace(text, std::regex("(^|\n)[^ ]+ | ms=[0-9.]+"), "$1");
}

/// What of a chart is not of the part of Mermaid's language that charts are written in; empty: nothing.
std::string WrongInChart(const std::string& chart)
{
    const std::string text = "(?:[^#;%<>&\"`$]|#[0-9]+;)+";
    const std::regex head("    participant (A[0-9]+|D|B) as " + text);
    const std::regex arrow("(?:    ){1,2}(A[0-9]+|D|B)(?:->>|-x|-\\)|-->>|--x)(A[0-9]+|D|B): " + text);
    const std::regex note("(?:    ){1,2}Note over (?:(A[0-9]+),)?(D): " + text);
    const std::regex loop("    loop " + text);
    std::istringstream lines(chart);
    std::set<std::string> participants;
    bool isInLoop = false;
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number)
    {
        std::smatch found;
        bool isGood = number == 1 ? line == "sequenceDiagram" : line == "    autonumber" && number == 2;
        if (std::regex_match(line, found, head))
        {
            isGood = participants.insert(found[1]).second;
        }
        else if (std::regex_match(line, found, arrow) || std::regex_match(line, found, note))
        {
            isGood = (found[1].length() == 0 || participants.count(found[1]) == 1) && participants.count(found[2]) == 1;
        }
        else if (line == "    end" || std::regex_match(line, loop))
        {
            isGood = isInLoop == (line == "    end");
            isInLoop = !isInLoop;
        }
        if (!isGood)
        {
            return line;
        }
    }
    return isInLoop ? "a loop without an end" : participants.empty() ? "nobody takes part" : "";
}

std::size_t Lines(const std::string& text)
{
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}
} // namespace

TEST(Recordings, WhatIsReadIsWhatWasShownAndHoldsNoPin)
{
    for (const std::string shown : {"", " --show-secrets", " --program cictl"})
    {
        const TCTempFolder folder;
        const std::string file = folder.File("r.pcapng");
        const bool withSecrets = shown == " --show-secrets";
        const TSOutput run =
            Record(folder, CICTL + " trace --record " + file + (withSecrets ? " --with-secrets" : "") + shown);
        EXPECT_EQ(run.status, 143) << run.text;
        const std::string live = Content(folder.File("live.txt"));
        const TSOutput read = Shell(CICTL + " trace " + file + shown);
        EXPECT_EQ(read.status, 0);
        EXPECT_GT(Lines(live), 10U);
        EXPECT_EQ(WithoutTimes(read.text), WithoutTimes(live));
        EXPECT_THAT(read.text, HasSubstr("mark it fails here\n"));
        EXPECT_THAT(read.text, HasSubstr("slot 0: CI_MMI_STATUS_MENU_RECEIVED, 4 entries\n"));
        EXPECT_EQ(Content(file).find("471147") != std::string::npos, withSecrets);
        EXPECT_THAT(read.text, ContainsRegex(withSecrets ? "VerifyCamPin.*pin: 34" : "VerifyCamPin.*pin: \\*\\*\\*"));
    }
}

TEST(Recordings, FiltersShowWhatIsAskedForAndRefuseWhatCannotBe)
{
    const TCTempFolder folder;
    const std::string file = folder.File("r.pcapng");
    const std::string hangs = std::string(SIMULATOR_PATH) +
                              R"( ctl AddFault '{"kind": "never", "operation": "ICIGeneral.GetCaSystemIds"}')" +
                              "\nCIAPI_CALL_TIMEOUT_MS=200 " + CICTL + " call ICIGeneral.GetCaSystemIds\n";
    Record(folder, CICTL + " trace --record " + file, hangs);
    const struct
    {
        std::string options;
        int status;
        const char* has;   ///< a regular expression
        const char* lacks; ///< likewise; empty: nothing
    } cases[] = {
        {"--operation VerifyCamPin", 0, "reply ICIGeneral.VerifyCamPin", "GetCiSlotStatus|signal "},
        {"--operation ICIGeneral.GetCamModes --operation GetCiSlotStatus", 0, "reply ICIGeneral.GetCamModes", "Pin"},
        {"--signal CI_MMI_STATUS_CHANGED", 0, "CI_MMI_STATUS_MENU_RECEIVED", "call |PIN_REPLY"},
        {"--program cictl --summary", 0, "ICIGeneral.VerifyCamPin +1 +0 +0 ", "Other"},
        {"--program cictl --errors", 0, "GetMmiEnquiry.*result=0[^]*no reply has come", "Object Other"},
        {"--program :1.0", 0, "it fails here[^]*no call is known to be of an application \":1.0\"; there are cictl",
         "call I"},
        {"--slot 1", 0, "GetApplicationInfo.*slot: 1", "slot: 0|slot 0"},
        {"--errors", 0, "GetMmiEnquiry.*result=0", "program=|GetCamModes"},
        {"--errors --operation GetCaSystemIds", 0,
         "call ICIGeneral.GetCaSystemIds error=no reply has come until the end\n$", "reply I"},
        {"--slower-than 0.001ms", 0, "reply ICI[^]* ms=", "call "},
        {"--slower-than 60s", 0, "mark it fails", "call |reply |signal "},
        {"--from 2026-01-01T00:00 --to 2026-01-01T00:01:00.5", 0, "^$", "."},
        {"--summary", 0, "Object Other +1 +1 +0 [^]*ICIGeneral.VerifyCamPin +2 +1 +0 ", "call "},
        {"--summary --json", 0, "\"version\":1,\"operation\":\"ICIGeneral.GetMmiEnquiry\",\"count\":2,\"failures\":2",
         ""},
        {"--count 2", 0, "call ", "mark"},
        {"--operation VerifyPin", 2, "did you mean ICIGeneral.VerifyCamPin", "reply"},
        {"--signal MMI_STATUS", 2, "signal", "reply"},
        {"--slot 255", 2, "slot: a number from 0 to 254", "reply"},
        {"--slower-than 5m", 2, "slower-than: a time such as 50ms", "reply"},
        {"--from yesterday", 2, "from: a time such as", "reply"},
        {"--from 2026-01-02T00:00 --to 2026-01-01T00:00", 2, "from: this is behind", "reply"},
        {"--record other.pcapng", 2, "--record goes with the bus", "reply"},
        {"--with-secrets", 2, "--with-secrets goes with --record; .*--show-secrets", "reply"},
        {"--quiet", 2, "--quiet goes with --record", "reply"},
    };
    for (const auto& row : cases)
    {
        const TSOutput read = Shell(CICTL + " trace " + file + " " + row.options);
        EXPECT_EQ(read.status, row.status) << row.options << '\n' << read.text;
        EXPECT_TRUE(std::regex_search(read.text, std::regex(row.has))) << row.options << '\n' << read.text;
        if (*row.lacks != '\0')
        {
            EXPECT_FALSE(std::regex_search(read.text, std::regex(row.lacks))) << row.options << '\n' << read.text;
        }
    }
    // What a pulled plug leaves, and what is none.
    const TSOutput cut = Shell("head -c -10 " + file + " | " + CICTL + " trace -");
    EXPECT_EQ(cut.status, 0);
    EXPECT_THAT(cut.text, HasSubstr(": the file ends within a block, "));
    EXPECT_THAT(cut.text, HasSubstr("GetCamModes"));
    const TSOutput none = Shell(CICTL + " trace " + CICTL_PATH);
    EXPECT_EQ(none.status, 8);
    EXPECT_THAT(none.text, HasSubstr("this is no recording: neither pcapng nor pcap"));
    EXPECT_EQ(Shell(CICTL + " trace " + folder.File("absent")).status, 1);
    EXPECT_EQ(Shell(std::string(SIMULATOR_PATH) + " run -- " + CICTL + " trace --record /dev/full").status, 1);
    // What is recorded already stays when nothing can be recorded, and while somebody else records.
    const std::string recorded = Content(file);
    const std::string again = CICTL + " trace --record " + file;
    EXPECT_EQ(Shell("DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nowhere " + again).status, 4);
    EXPECT_EQ(Shell(std::string(SIMULATOR_PATH) + " run -- " + again + " --ring 5X").status, 2);
    const TSOutput second = Shell("flock " + file + " " + SIMULATOR_PATH + " run -- " + again);
    EXPECT_EQ(second.status, 1);
    EXPECT_THAT(second.text, HasSubstr("somebody else records to it"));
    EXPECT_EQ(Content(file), recorded);
}

TEST(Recordings, AChartIsMermaidThatAReaderCanTake)
{
    const TCTempFolder folder;
    const std::string file = folder.File("r.pcapng");
    std::ofstream polling(folder.File("poll.ci"));
    for (int i = 0; i < 30; ++i)
    {
        polling << "call ICIGeneral.GetCamModes\n";
    }
    polling.close();
    std::ofstream crowd(folder.File("crowd.ci"));
    for (int slot = 10; slot < 150; ++slot)
    {
        crowd << "expect-status refused\ncall ICIGeneral.GetApplicationInfo slot=" << slot << '\n';
    }
    crowd.close();
    const std::string mark = CICTL + R"X( mark 'a; b #35; %%{init: {}}%% <b>c</b> ```' "$(printf 'd\ne')")X" + "\n";
    const std::string more = mark + CICTL + " run " + folder.File("poll.ci") + '\n' + mark;
    Record(folder, CICTL + " trace --chart --record " + file, more);
    const auto untimed = [](const std::string& text)
    { return std::regex_replace(text, std::regex("[-+][0-9.]+ s|[0-9.]+ ms|from [-0-9T:.]+"), ""); };
    const TSOutput whole = Shell(CICTL + " trace " + file + " --chart");
    EXPECT_EQ(untimed(whole.text), untimed(Content(folder.File("live.txt"))));

    const std::string crowded = folder.File("crowd.pcapng");
    Record(folder, CICTL + " trace --quiet --record " + crowded, CICTL + " run " + folder.File("crowd.ci") + '\n');
    EXPECT_EQ(Content(folder.File("live.txt")), "") << "nobody asked for it";
    EXPECT_EQ(Content(crowded).find("471147"), std::string::npos);
    const struct
    {
        std::string arguments;
        std::vector<const char*> has; ///< regular expressions
        const char* lacks;
    } cases[] = {
        {file,
         {R"(participant A1 as cictl \([0-9]+\)\n)", "participant D as ci-daemon\n",
          "Note over A1,D: \\+ seconds are counted from 20[-0-9]+T",
          R"(A1->>D: \+0\.000 s ICIGeneral\.GetCiSlotStatus\(selection: 0\)\n)",
          R"(D-->>A1: GetCamModes = 1, modes: \{0: CAM_MODE_CI_PLUS\} \([0-9.]+ ms\)\n)",
          "VerifyCamPin\\(slot: 0, pin: \\*\\*\\*\\)", "-xD: [^\n]* Other\\(\\) error: this is none",
          "D--xA[0-9]+: GetMmiEnquiry = 0, ", "Note over A1,D: signal [^\n]*CI_MMI_STATUS_MENU_RECEIVED, 4 entries\n",
          "mark [^\n]*a#59; b #35;35#59; #37;#37;\\{init: \\{\\}\\}#37;#37; #60;b#62;c#60;/b#62; #96;#96;#96; "
          "d.x0ae\n"},
         "471147|more came"},
        {file + " --operation GetCamModes", // and so without the reply to the PIN, which may come at any time
         {"A1 as cictl",
          R"(loop 30 times, \+[0-9.]+ s to \+[0-9.]+ s, the slowest reply in [0-9.]+ ms\n        A[0-9]+->>D: )"
          R"(ICIGeneral\.GetCamModes\(\)\n        D-->>A[0-9]+: GetCamModes = 1, [^\n]*\n    end\n)"},
         "as process|Pin|signal|loop [0-9]+ times[^]*loop"},
        {file + " --signal CI_MMI_STATUS_CHANGED", {"Note over D: signal"}, "->>"},
        {file + " --errors --count 1", {"--xA1|-xD"}, "autonumber[^]*--x[^]*--x"},
        {file + " --slot 9 --to 2026-01-01T00:00", {"Note over D: no message is wanted"}, "A1"},
        {crowded, {"Note over A1,D: the chart holds the first 200 messages, more came\n$"}, "loop"},
    };
    for (const auto& row : cases)
    {
        const TSOutput read = Shell(CICTL + " trace --chart " + row.arguments + " 2>" + folder.File("err.txt"));
        EXPECT_EQ(read.status, 0) << row.arguments;
        EXPECT_EQ(WrongInChart(read.text), "") << row.arguments;
        for (const char* const has : row.has)
        {
            EXPECT_TRUE(std::regex_search(read.text, std::regex(has))) << row.arguments << has << '\n' << read.text;
        }
        EXPECT_FALSE(std::regex_search(read.text, std::regex(row.lacks))) << row.arguments << '\n' << read.text;
        EXPECT_EQ(Content(folder.File("err.txt")).find("--slower-than, --from and --to cut down") != std::string::npos,
                  row.arguments == crowded);
    }
    for (const char* const other : {"--json", "--summary"})
    {
        EXPECT_EQ(Shell(CICTL + " trace --chart " + file + " " + other).status, 2) << other;
    }
}

TEST(Recordings, OfOthersAreRead)
{
    const TCTempFolder folder;
    const std::string file = folder.File("live.txt");
    Record(folder, "dbus-monitor --system --pcap");
    const TSOutput read = Shell(CICTL + " trace " + file);
    EXPECT_EQ(read.status, 0) << read.text;
    EXPECT_THAT(read.text, HasSubstr("reply ICIGeneral.GetCamModes"));
    EXPECT_THAT(read.text, HasSubstr("mark it fails here"));
    EXPECT_THAT(read.text, HasSubstr("pin: ***"));
    EXPECT_THAT(read.text, Not(ContainsRegex("(call|signal) [^\n]*org\\.freedesktop")));
}
