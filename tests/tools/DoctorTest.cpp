#include "tools/CommandRun.h"

#include "json/OperationForm.h"

#include "support/PrivateBus.h"
#include "support/ScriptedDaemon.h"
#include "support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <chrono>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

// What cictl doctor finds, each with its real cause.

namespace CIM
{
namespace
{
using testing::HasSubstr;
using testing::Not;

const std::string COUNT = "com.kelvora/featureconf/product.num_of_ci";
const std::string SUPPORT = "com.kelvora/featureconf/broadcasting.ci.support";

// Far below what the library waits for; above the two seconds that are promised, for machines with much to do.
constexpr std::chrono::seconds LONGEST{6};

struct TSDiagnosis
{
    const char* cause;
    int status;
    std::vector<const char*> findings; ///< beginnings of lines
};

TSRun Examine(const std::vector<std::string>& command)
{
    const auto start = std::chrono::steady_clock::now();
    TSRun run = RunCommand(command);
    EXPECT_LT(std::chrono::steady_clock::now() - start, LONGEST);
    return run;
}

void Expect(const TSDiagnosis& diagnosis, const std::vector<std::string>& command)
{
    SCOPED_TRACE(diagnosis.cause);
    const TSRun run = Examine(command);
    EXPECT_EQ(run.status, diagnosis.status) << run.output << run.error;
    for (const char* const finding : diagnosis.findings)
    {
        EXPECT_THAT('\n' + run.output, HasSubstr('\n' + std::string(finding)));
    }
    // What is wrong has a cure below it, and nothing else is wrong.
    const auto count = [&](const std::string& text, const std::string& piece)
    {
        std::size_t found = 0;
        for (std::size_t at = text.find(piece); at != text.npos; at = text.find(piece, at + 1))
        {
            ++found;
        }
        return found;
    };
    std::size_t wrong = 0;
    for (const std::string finding : diagnosis.findings)
    {
        wrong += finding.starts_with("wrong") ? 1 : 0;
    }
    EXPECT_EQ(count('\n' + run.output, "\nwrong"), wrong) << run.output;
    EXPECT_EQ(count('\n' + run.output, "\nwrong") + count('\n' + run.output, "\nwarning"),
              count(run.output, "\n         -> "))
        << run.output;
}

const std::vector<std::string> DOCTOR = {CICTL_PATH, "doctor"};
} // namespace

TEST(Doctor, FindsWhatIsWrongBesideASimulator)
{
    const struct
    {
        TSDiagnosis diagnosis;
        std::vector<std::string> options; ///< of the simulator
        const char* line;                 ///< in front of the verb
    } cases[] = {
        {{"nothing",
          0,
          {"ok       receiver name", "ok       answer: ICIGeneral.GetCiSlotStatus: 2 slots", "ok       signals",
           "ok       readiness marker"}},
         {},
         ""},
        {{"no CI", 5, {"wrong    feature key: com.kelvora/featureconf/product.num_of_ci: 0"}},
         {"--key", "product.num_of_ci=0"},
         ""},
        {{"a key of another kind",
          5,
          {"wrong    feature key: com.kelvora/featureconf/broadcasting.ci.support: is neither true nor false"}},
         {"--key", "broadcasting.ci.support=perhaps"},
         ""},
        {{"keys that know more slots than there are", 0, {"warning  answer: ICIGeneral.GetCiSlotStatus: 2 slots, but"}},
         {"--key", "product.num_of_ci=3"},
         ""},
        {{"no marker on a set that needs it", 3, {"wrong    readiness marker: "}},
         {"--key", "tv_model_type=5"},
         "rm $CIAPI_DAEMON_READY_FILE; "},
        {{"no marker on another set", 0, {"ok       readiness marker: "}}, {}, "rm $CIAPI_DAEMON_READY_FILE; "},
        {{"a daemon that does not answer", 6, {"wrong    answer: ICIGeneral.GetCiSlotStatus: the daemon does not"}},
         {"--fault", R"({"operation": "ICIGeneral.GetCiSlotStatus", "kind": "never"})"},
         ""},
    };
    for (const auto& [diagnosis, options, line] : cases)
    {
        std::vector<std::string> command = {SIMULATOR_PATH, "run"};
        command.insert(command.end(), options.begin(), options.end());
        command.insert(command.end(), {"--", "sh", "-c", line + std::string("exec " CICTL_PATH " doctor")});
        Expect(diagnosis, command);
    }
}

TEST(Doctor, FindsWhatIsWrongWithoutADaemon)
{
    TCFeatureKeys keys{{COUNT, "1"},
                       {SUPPORT, "true"},
                       {"com.kelvora/featureconf/broadcasting.certification.ci", "true"},
                       {"com.kelvora/featureconf/tv_model_type", "0"}};
    const TCTempFolder folder;
    const TCEnvironmentVariable noConfig("XDG_CONFIG_HOME", folder.Path().string());
    {
        const TCEnvironmentVariable noBus("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
        Expect({"no bus", 4, {"wrong    bus: unix:path=/nonexistent/bus: "}}, DOCTOR);
        const TCEnvironmentVariable noFile("TVPLATFORM_SYSTEM_INFO", folder.File("none"));
        Expect({"no key file",
                5,
                {"warning  key file", "wrong    feature key: com.kelvora/featureconf/product.num_of_ci: in no key file",
                 "wrong    feature key: com.kelvora/featureconf/broadcasting.ci",
                 "wrong    feature key: com.kelvora/featureconf/broadcasting.certification", "wrong    bus"}},
               DOCTOR);
        const std::string place = folder.File("none");
        const std::pair<const char*, std::function<void()>> unreadable[] = {
            {"a pipe for a key file", [&] { ASSERT_EQ(mkfifo(place.c_str(), 0600), 0); }},
            // Not even root can look at it.
            {"a key file that cannot be looked at", [&] { std::filesystem::create_symlink("none", place); }},
            {"no syntax", [&] { std::ofstream(place) << "nonsense\n"; }},
        };
        for (const auto& [name, make] : unreadable)
        {
            make();
            Expect({name,
                    5,
                    {"wrong    key file",
                     "wrong    feature key: com.kelvora/featureconf/product.num_of_ci: a key file cannot",
                     "wrong    feature key: com.kelvora/featureconf/broadcasting.ci", "wrong    bus",
                     "wrong    feature key: com.kelvora/featureconf/broadcasting.certification",
                     "wrong    feature key: com.kelvora/featureconf/broadcasting.tvs",
                     "wrong    feature key: com.kelvora/featureconf/tv_model"}},
                   DOCTOR);
            std::filesystem::remove(place);
        }
    }
    {
        const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        folder.File("mute").copy(address.sun_path, sizeof address.sun_path - 1);
        ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        ASSERT_EQ(listen(listener, 4), 0);
        const TCEnvironmentVariable mute("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + folder.File("mute"));
        Expect({"a bus that hangs", 6, {"wrong    bus"}}, DOCTOR);
        close(listener);
    }
    {
        const TCPrivateBus bus(R"(<policy context="mandatory"><deny own_prefix="com.kelvora.sub"/></policy>)");
        Expect({"a policy", 7, {"wrong    receiver name", "wrong    daemon: com.kelvora.ciapi.*: nobody"}}, DOCTOR);
    }
    const TCPrivateBus bus;
    Expect({"no daemon", 3, {"ok       bus", "ok       receiver name", "wrong    daemon: com.kelvora.ciapi.*: nobody"}},
           DOCTOR);
    std::vector<std::string> names;
    TSDiagnosis half{"half a daemon", 3, {"ok       daemon: com.kelvora.ciapi.ICIDebug: owned by :"}};
    for (const json::TCInterfaceForm& interface : json::Interfaces())
    {
        names.push_back(interface.ConnectionName());
    }
    const std::string missing = "wrong    daemon: " + names.back() + ": nobody owns it";
    names.pop_back();
    half.findings.insert(half.findings.end(),
                         {missing.c_str(), "wrong    answer: ICIGeneral.GetCiSlotStatus: the reply"});
    const TCScriptedDaemon daemon(names, [](const TCScriptedDaemon::TMessage& request)
                                  { return TCScriptedDaemon::Reply(request, 1, "\xff\xff"); });
    Expect(half, DOCTOR);
    const TSRun run = Examine({CICTL_PATH, "doctor", "--json"});
    EXPECT_EQ(run.status, 3);
    EXPECT_THAT(run.output, HasSubstr(R"({"version":1,"state":"ok","check":"daemon","subject":")" + names.front()));
    EXPECT_THAT(run.output, HasSubstr(R"("found":"the reply is not readable","cure":)"));
    EXPECT_THAT(run.output, HasSubstr(R"("status":8})"));
}
} // namespace CIM
