#include "tools/CommandRun.h"

#include "json/OperationForm.h"

#include "support/TestEnvironment.h"

#include <gmock/gmock.h>

// A PIN, planted in every way by which it could come before somebody's eyes, and looked for in all that is printed.

namespace CIM
{
namespace
{
using testing::HasSubstr;
using testing::Not;

constexpr const char* PIN = "47110815";
constexpr const char* PIN_BYTES = "3437313130383135"; // its characters

// The arguments with which dbus-send calls an operation by hand: any identifier, any payload.
std::string RawCall(int methodId, const std::string& payload,
                    const std::string& interface = "com.kelvora.ciapi.ICIGeneral")
{
    std::string bytes;
    for (const char byte : payload)
    {
        bytes += (bytes.empty() ? "" : ",") + std::to_string(static_cast<unsigned char>(byte));
    }
    return "dbus-send --system --print-reply --dest=com.kelvora.ciapi.ICIGeneral /com/kelvora/Object " + interface +
           ".MethodCall int32:" + std::to_string(methodId) + " int32:" + std::to_string(payload.size()) +
           " int32:1 array:byte:" + bytes;
}

struct TSWay
{
    std::string line;
    const char* evidence; // that the way was gone
};

void ExpectHidden(const TSRun& run, const TSWay& way)
{
    SCOPED_TRACE(way.line);
    const std::string all = run.output + run.error;
    EXPECT_THAT(all, HasSubstr(way.evidence));
    EXPECT_THAT(all, Not(HasSubstr(PIN)));
    EXPECT_THAT(all, Not(HasSubstr(PIN_BYTES)));
}
} // namespace

TEST(Secrets, AreShownInNoWay)
{
    const TCTempFolder folder;
    const TCEnvironmentVariable log("TVPLATFORM_LOG", "stderr:debug");
    const TCEnvironmentVariable variables[] = {{"PIN", PIN},
                                               {"BYTES", PIN_BYTES},
                                               {"SIM", SIMULATOR_PATH},
                                               {"CICTL", CICTL_PATH},
                                               {"FOLDER", folder.Path().string()}};
    const auto write = [&](const char* name, const std::string& text) { std::ofstream(folder.File(name)) << text; };
    const auto story = [](const std::string& step)
    {
        return R"({"name": "story", "description": "x", "timeline": [
)" + step + "]}";
    };
    const std::string pattern =
        R"("operation": "ICIGeneral.VerifyCamPin", "arguments": {"pin": ")" + std::string(PIN_BYTES) + "\"";
    write("pin", PIN);
    write("unmet.json", story(R"({"wait-for-call": {)" + pattern + ", \"slot\": 1}, \"within\": 0}}"));
    write("other.json", story(R"({"expect-call": {"operation": "ICIGeneral.CloseMmi"}})"));
    write("met.json", story(R"({"wait-for-call": {)" + pattern + "}}}"));
    write("units.json", story(R"({"wait-for-call": {"operation": "ICIGeneral.AnswerMmiEnquiry",
        "arguments": {"answer": {"codeUnits": [")" +
                              std::string(PIN) + "\"]}}}}"));
    write("syntax.json", story(R"({"wait-for-call": {)" + std::string(R"("arguments": {"pin": ")") + PIN + "\n\"}}}"));

    const json::TCInterfaceForm& general = *json::FindInterface("general");
    const std::string verify =
        general.Find("VerifyCamPin")->RequestFromJson({{"slot", 0}, {"pin", std::string(PIN_BYTES)}});
    const std::string broken = "\2" + verify.substr(1); // of a version that nobody reads
    std::string hex = json::BytesToHex({reinterpret_cast<const unsigned char*>(verify.data()), verify.size()});

    const std::string start = "cictl() { \"$CICTL\" \"$@\"; }; ";
    const std::string traced = "rm -f $FOLDER/ready; cictl trace --count 2 --timeout 30 2>$FOLDER/ready & "
                               "until grep -qs tracing $FOLDER/ready; do :; done; ";
    const TSWay besideSimulator[] = {
        {"cictl call general.VerifyCamPin slot=0 pin=$BYTES; \"$SIM\" ctl Journal", R"("pin": "***")"},
        {"cictl call general.VerifyCamPin slot=0 pin=$PIN", "pin=- and pin=@FILE take characters"},
        {"cictl call general.SetCamPin slot=0 pin=@$FOLDER/pin", "result:"},
        {"echo $PIN | cictl call general.VerifyCamPin slot=0 pin=-", "result:    1"},
        {"cictl pin 0 verify @$FOLDER/pin", "CAM_PIN_CODE_STATUS_BAD"},
        {"printf '2\\n1\\n'$PIN'\\n' | cictl menu 0", "3 tries left"},
        {"cictl call general.AnswerMmiEnquiry slot=0 answerId=1 flag=false answer=$PIN; \"$SIM\" ctl Journal",
         R"("answer": "***")"},
        {"\"$SIM\" ctl AddFault '{\"operation\": \"*\", \"kind\": \"status\", \"status\": 0, \"times\": 1}'; "
         "cictl call general.VerifyCamPin slot=0 pin=$BYTES",
         "did not handle"},
        {"cictl call general.VerifyCamPin slot=0 pin=$BYTES; \"$SIM\" ctl State", R"("triesLeft")"},
        {RawCall(24, broken) + "; \"$SIM\" ctl Journal", "\"requestBytes\""},
        {RawCall(11, verify) + "; \"$SIM\" ctl Journal", "\"requestBytes\""},
        {RawCall(200, verify) + "; \"$SIM\" ctl Journal", "\"requestBytes\""},
        {RawCall(24, verify, "com.example.Nobody") + "; \"$SIM\" ctl Journal", "\"requestBytes\""},
        {traced + "cictl call general.VerifyCamPin slot=0 pin=$BYTES; wait", "pin: ***"},
        {traced + RawCall(24, broken) + "; wait", "error="},
        {traced + RawCall(30, verify) + "; wait", "that of method 24"},
        {traced + RawCall(200, verify) + "; wait", "ICIGeneral.200"},
    };
    for (const TSWay& way : besideSimulator)
    {
        ExpectHidden(RunCommand({SIMULATOR_PATH, "run", "--", "sh", "-c", start + way.line}), way);
    }
    const TSWay alone[] = {
        {"cictl call general.VerifyCamPin slot=0 pin=${PIN}x", "two hexadecimal digits"},
        {"cictl call general.VerifyCamPin slot=0 'pin={\"text\": \"'$PIN", "syntax error"},
        {"cictl call general.VerifyCamPin slot=0 'pin={\"text\": \"x\", \"'$PIN'\": 1}'", "this is none"},
        {"cictl call general.VerifyCamPin slot=0 $PIN", "number 2 has no NAME="},
        {"cictl call general.VerifyCamPin slot=0 pin=$PIN pin=$PIN", "given twice"},
        {"cictl call general.VerifyCamPin slot=x pin=$PIN", "slot"},
        {"cictl call general.AnswerMmiEnquiry slot=0 answerId=1 flag=false 'answer={\"codeUnits\": [\"'$PIN'\"]}'",
         "this is none"},
        {"cictl pin 0 verify $PIN", "not given on the command line"},
        {"cictl pin 0 verify $PIN $PIN", "not expected"},
        {"cictl pin 0 $PIN", "verify or set"},
        {"echo ${PIN}x | cictl pin 0 verify", ""},
        {"echo " + hex + " | cictl decode general -", "***"},
        {"\"$SIM\" check $FOLDER/units.json", "this is none"},
        {"\"$SIM\" check $FOLDER/syntax.json", "syntax error"},
        {"\"$SIM\" play $FOLDER/unmet.json -- \"$CICTL\" call general.VerifyCamPin slot=0 pin=$BYTES", "is not met"},
        {"\"$SIM\" play $FOLDER/other.json -- \"$CICTL\" call general.VerifyCamPin slot=0 pin=$BYTES",
         "another call came: ICIGeneral.VerifyCamPin"},
        {"\"$SIM\" play $FOLDER/met.json --journal $FOLDER/journal -- \"$CICTL\" call general.VerifyCamPin slot=0 "
         "pin=$BYTES; cat $FOLDER/journal",
         R"(call ICIGeneral.VerifyCamPin {"slot":0,"pin":"***"})"},
    };
    for (const TSWay& way : alone)
    {
        ExpectHidden(RunCommand({"sh", "-c", start + way.line}), way);
    }
}

TEST(Secrets, AreTakenOffTheTerminalThatShowsThem)
{
    const std::string call = "\"" CICTL_PATH "\" call general.VerifyCamPin slot=0 pin=-";
    // The terminal is as it was once the PIN is read, and also when a signal ends the reading.
    const TSRun run =
        RunInTerminal({SIMULATOR_PATH, "run", "--", "bash", "-c",
                       "trap : INT; " + call + "; stty -a | grep -qw -- -echo || echo shown; " + call +
                           "; stty -a | grep -qw -- -echo || echo shown again"},
                      {{"pin: ", std::string(PIN) + "\n"}, {"shown", ""}, {"pin: ", "\x03"}, {"shown again", ""}});
    EXPECT_THAT(run.output, HasSubstr("result:    1"));
    EXPECT_THAT(run.output, Not(HasSubstr(PIN)));
}
} // namespace CIM
