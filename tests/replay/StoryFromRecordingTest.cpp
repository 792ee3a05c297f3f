#include "support/Shell.h"
#include "support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>

// An application plays a story and is recorded; the recording becomes a story, and the application plays that one, too.

using CIM::Shell;
using CIM::TCTempFolder;
using CIM::TSOutput;
using testing::HasSubstr;
using testing::Not;

namespace
{
const std::string SCENARIO = std::string(SIMULATOR) + " scenario ";
const std::string CHECK = std::string(SIMULATOR) + " check ";

std::string Content(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// Makes a script that runs a command while everything is recorded; it is asked to end when the script is.
std::string Recorder(const TCTempFolder& folder, const std::string& command)
{
    const std::string script = folder.File("record.sh");
    const std::string live = folder.File("live.txt");
    std::ofstream(script) << CICTL << " trace --record " << folder.File("r.pcapng") << " > " << live << " 2>&1 &\n"
                          << "recorder=$!\n"
                          << "for i in $(seq 400); do grep -q 'evening begins' " << live << " && break\n"
                          << "  " << CICTL << " mark the evening begins; sleep 0.025; done\n"
                          << command << " > " << folder.File("recorded.txt") << " &\n"
                          << "command=$!\n"
                          << "trap 'kill -TERM $command' TERM\n"
                          << "wait $command; wait $command\n"
                          << "kill -TERM $recorder; wait $recorder; exit 0\n";
    return "bash " + script;
}

struct TSPlayed
{
    std::string story;
    std::string words;      ///< what the viewer does
    std::string wordsAgain; ///< ... when the PIN is the CAM's; empty: the same
    std::vector<std::string> has;
    std::string lacks = "0042";
};

void PrintTo(const TSPlayed& played, std::ostream* out) { *out << played.story << ' ' << played.words; }

class StoryFromRecording : public testing::TestWithParam<TSPlayed>
{
};
const TSPlayed PLAYED[] = {
    {"menu-walk",
     "1 '' 4",
     "",
     {"\"title\": \"Kelvora CAM\"", "\"text\": \"Smart card\",", "\"subtitle\": \"Subscription\"",
      "\"Settings\",\n            \"About\",\n            \"Exit\"\n", "\"says\": \"the viewer chooses \\\"Exit\\\"\"",
      "\"says\": \"the viewer goes back\"", "\"says\": \"the evening begins\""},
     "never read"},
    {"enquiry-pin",
     "1111 2222 0042",
     "1111 2222 1234",
     {"\"prompt\": \"Enter your PIN ({tries} tries left)\"", "\"pin\": { \"digits\": \"1234\", \"tries\": 3 }",
      "\"length\": 4", "\"blind\": true", "// What was answered to \"Enter your PIN (3 tries left)\" is covered"}},
    {"enquiry-pin", "0042", "4711", {"every answer counts as right", "\"whenRight\": {"}},
    {"enquiry-visible", "1015", "", {"\"blind\": false,\n", "\"length\": 8"}},
    {"cold-insertion", "", "", {"\"do\": [{ \"insert\": { \"slot\": 0, \"cam\": ", "\"inserted\": {}"}},
    {"unsolicited-menu",
     ". .",
     "",
     {"\"do\": [{ \"open-menu\": { \"slot\": 0, \"menu\": \"no-entitlement\" } }]",
      "the CAM closes its dialogue by itself"}},
    {"two-slots", ". .", "", {"\"do\": [{ \"remove\": { \"slot\": 1 } }]"}},
    {"cam-pulled", ". . . .", "", {"\"do\": [{ \"remove\": { \"slot\": 0 } }]", "{ \"insert\": { \"slot\": 0"}},
};
INSTANTIATE_TEST_SUITE_P(Stories, StoryFromRecording, testing::ValuesIn(PLAYED));
} // namespace

TEST_P(StoryFromRecording, IsPlayedAsItWasRecorded)
{
    const TSPlayed& played = GetParam();
    const TCTempFolder folder;
    const std::string player = std::string(PLAYER) + " ";
    const TSOutput recorded = Shell(std::string(SIMULATOR) + " play " + played.story + " --end -- " +
                                    Recorder(folder, player + played.words));
    ASSERT_EQ(recorded.status, 0) << recorded.text;
    const std::string story = folder.File("story.json");
    const TSOutput made = Shell(SCENARIO + folder.File("r.pcapng") + " > " + story);
    ASSERT_EQ(made.status, 0) << made.text;
    const std::string text = Content(story);
    for (const std::string& piece : played.has)
    {
        EXPECT_THAT(text, HasSubstr(piece));
    }
    EXPECT_THAT(text, Not(HasSubstr(played.lacks)));
    const TSOutput checked = Shell(CHECK + story);
    ASSERT_EQ(checked.status, 0) << checked.text;
    const std::string again = played.wordsAgain.empty() ? played.words : played.wordsAgain;
    const TSOutput replayed = Shell(std::string(SIMULATOR) + " play " + story + " --whole --end -- sh -c \"exec " +
                                    player + again + " > " + folder.File("again.txt") + "\"");
    EXPECT_EQ(replayed.status, 0) << replayed.text << text;
    EXPECT_EQ(Content(folder.File("again.txt")), Content(folder.File("recorded.txt"))) << text;
    EXPECT_FALSE(Content(folder.File("again.txt")).empty());
    // Another viewer than the recorded one does not meet it.
    if (played.story == "menu-walk")
    {
        const TSOutput other =
            Shell(std::string(SIMULATOR) + " play " + story + " --step-timeout 1 --end -- " + player + "3");
        EXPECT_EQ(other.status, 3) << other.text;
        EXPECT_THAT(other.text, HasSubstr("the viewer chooses \"Smart card\""));
        EXPECT_THAT(other.text, HasSubstr("choice 3 instead of 1"));
    }
}

TEST(StoryFromRecordings, ThatAreCutMakeStoriesAsFarAsTheyGo)
{
    const TCTempFolder folder;
    const std::string file = folder.File("r.pcapng");
    const std::string story = folder.File("story.json");
    const TSOutput recorded =
        Shell(std::string(SIMULATOR) + " play menu-walk --end -- " + Recorder(folder, std::string(PLAYER) + " 1 '' 4"));
    ASSERT_EQ(recorded.status, 0) << recorded.text;
    const std::size_t size = Content(file).size();
    for (const std::size_t part : {size / 2, size * 3 / 4, size - 10})
    {
        const TSOutput made = Shell("head -c " + std::to_string(part) + " " + file + " | " + SCENARIO + "- > " + story);
        EXPECT_EQ(made.status, 0) << part << made.text;
        EXPECT_THAT(Content(story), HasSubstr("// The recording is not whole: the file ends within a block"));
        const TSOutput checked = Shell(CHECK + story);
        EXPECT_EQ(checked.status, 0) << part << checked.text;
    }
    const TSOutput client = Shell(SCENARIO + file + " --client example-osd | grep -c EnterMenu");
    EXPECT_EQ(client.text, "1\n");
    const TSOutput nobody = Shell(SCENARIO + file + " --client nobody");
    EXPECT_EQ(nobody.status, 1);
    EXPECT_THAT(nobody.text, HasSubstr("there are no calls of an application nobody; there are: example-osd"));
    const TSOutput silent = Shell("head -c 200 " + file + " | " + SCENARIO + "-");
    EXPECT_EQ(silent.status, 1);
    EXPECT_THAT(silent.text, HasSubstr("this recording holds no call to the CI daemon"));
}

TEST(StoryFromRecordings, OfAnotherDaemonSayWhatTheyCannotDo)
{
    const TCTempFolder folder;
    const std::string story = folder.File("story.json");
    const TSOutput recorded =
        Shell("dbus-run-session -- sh -c 'DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS exec " +
              Recorder(folder, std::string(FOREIGN_DAEMON) + " " + CICTL) + "'");
    ASSERT_EQ(recorded.status, 0) << recorded.text;
    const TSOutput made = Shell(SCENARIO + folder.File("r.pcapng") + " > " + story + " && " + CHECK + story);
    EXPECT_EQ(made.status, 0) << made.text;
    EXPECT_THAT(Content(story), HasSubstr("\"menuString\": \"Fremdes CAM \u00fc\""));
    EXPECT_THAT(Content(story), HasSubstr("// ICIGeneral.GetCiSlotStatus {\"selection\":7} was answered "));
    EXPECT_THAT(Content(story), Not(HasSubstr("// ICIGeneral.GetApplicationInfo")));
}
