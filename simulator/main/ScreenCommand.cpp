#include "Commands.h"
#include "privatebus/BusFolder.h"
#include "ServeOptions.h"
#include "simulator/daemon/Sandbox.h"
#include "simulator/scenario/Play.h"
#include "simulator/scenario/Scenario.h"
#include "simulator/scenario/Tell.h"
#include "simulator/screen/Application.h"
#include "simulator/screen/Screen.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace CIM::sim
{
namespace
{
constexpr unsigned MOST_PORT = 65'535;
constexpr unsigned WARM_UP_MS = 2'000; ///< as with run

struct TSWanted
{
    TSServeArguments serve;
    std::vector<std::string> words; ///< the story, none or one, and the command
    std::vector<std::string> command;
    unsigned port = 0;
    std::string tokenFile;
};

/// The story, the page and the daemon, in the simulator's process.
class TCShow
{
public:
    TCShow(const TSWanted& wanted, const TSScenario* story, const TCScreenAddress& address, int listener,
           int application)
        : m_story(story), m_serve(wanted.serve.Take())
    {
        m_screenOptions.address = &address;
        m_screenOptions.listener = listener;
        m_screenOptions.application = application;
        m_screenOptions.story = story;
        m_screenOptions.inserted = m_serve.set.inserted;
        if (story != nullptr)
        {
            TakeScenario(*story, m_serve);
        }
        else
        {
            m_serve.warmUpMs = WARM_UP_MS;
        }
    }

    int Run(const std::function<void()>& ready)
    {
        m_serve.daemon.markerPath = TCMarker::DefaultPath(); // of the private bus
        m_serve.company = [this](TCSimulatedDaemon& daemon, std::function<void(int)> quit) -> std::shared_ptr<void>
        {
            if (m_story != nullptr)
            {
                TSPlayOptions options;
                options.quit = [this, quit](int status) { status == EXIT_UNMET ? TellUnmet() : quit(status); };
                options.isPatient = true; // people play it
                options.onProgress = [this](const std::string& words) { m_screen->Progress(words); };
                options.onOver = [this] { m_screen->Over(m_play->OverWords()); };
                m_play = MakePlay(*m_story, daemon, options);
            }
            m_screen = std::make_unique<TCScreen>(daemon, m_screenOptions);
            return std::shared_ptr<void>(m_screen.get(), [this](void*) { m_screen.reset(), m_play.reset(); });
        };
        m_serve.onReady = [this, ready]
        {
            if (!m_hasBegun) // not yet: the daemon may leave the bus and come back
            {
                m_hasBegun = true;
                m_screen->Begin();
                if (m_play)
                {
                    m_play->Begin();
                }
                std::printf("%s\n", m_screenOptions.address->Text().c_str());
                if (std::fflush(stdout) != 0)
                {
                    Tell(std::string("the address cannot be written: ") + std::strerror(errno));
                }
                ready();
            }
        };
        return Serve(m_serve);
    }

private:
    /// The page stays: there may be more to see.
    void TellUnmet()
    {
        for (const TSPartResult& part : m_play->Results())
        {
            if (part.state == TSPartResult::UNMET)
            {
                m_screen->Over("not met: " + part.name + ": " + part.words);
                return;
            }
        }
    }

    const TSScenario* m_story;
    TSServeOptions m_serve;
    TSScreenOptions m_screenOptions;
    std::unique_ptr<TCScreen> m_screen;
    std::unique_ptr<TCPlay> m_play;
    bool m_hasBegun = false;
};

/// A story has these by itself. \throws TCUsageError
void NeedNoneOfTheSet(const TSServeArguments& serve)
{
    const TSSimulatedDaemonOptions& daemon = serve.options.daemon;
    if (!serve.insertions.empty() || serve.options.seed != TSServeOptions().seed || daemon.isManualClock ||
        daemon.namesAfterMs != 0 || daemon.nameStepMs != 0)
    {
        throw TCUsageError("a story says by itself what its set, seed, clock and names are: --insert, --seed, "
                           "--manual-clock, --names-after and --names-step go without one");
    }
}

int ScreenCommand(const TSWanted& wanted)
{
    if (wanted.port > MOST_PORT)
    {
        throw TCUsageError("--port: a number up to " + std::to_string(MOST_PORT) + " is needed");
    }
    const unsigned slots = wanted.serve.Take().set.slots; // refuses what is wrong before anything is started
    std::unique_ptr<TSScenario> story;
    if (!wanted.words.empty())
    {
        NeedNoneOfTheSet(wanted.serve);
        story = std::make_unique<TSScenario>(FindScenario(wanted.words.front()));
    }
    std::unique_ptr<TCScreenAddress> address;
    try
    {
        address = std::make_unique<TCScreenAddress>(wanted.port, wanted.tokenFile);
    }
    catch (const std::runtime_error& error)
    {
        Tell(error.what());
        return 1;
    }
    int line[2] = {-1, -1}; // between the simulator and the application
    if (wanted.command.empty() && socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, line) != 0)
    {
        Tell("no socket for the application");
        return 1;
    }
    TSSandboxOptions sandbox;
    sandbox.command = wanted.command;
    sandbox.featureKeys = privatebus::DefaultFeatureKeys(story != nullptr ? story->set.slots : slots);
    const int listener = address->Take();
    sandbox.handed = {listener};
    if (line[0] >= 0)
    {
        sandbox.handed.push_back(line[0]);
    }
    sandbox.simulator = [&](const std::function<void()>& ready)
    { return TCShow(wanted, story.get(), *address, listener, line[0]).Run(ready); };
    sandbox.application = [&]
    {
        prctl(PR_SET_NAME, "ci-sim-screen");
        return PlayApplication(line[1]);
    };
    return RunInSandbox(sandbox);
}
} // namespace

std::function<int()> PrepareScreen(TCCommandLine line)
{
    auto options = std::make_shared<TSWanted>();
    line.Words("story", options->words, EHowMany::AT_MOST_ONE,
               "a scenario's name, see list; or a file; it waits without end but where it names a limit");
    line.Option("--port", options->port, "the port of the loopback address; 0: any that is free");
    line.Option(
        "--token-file", options->tokenFile,
        "a file with the token of the address, which is made when it is not there: with --port the address stays "
        "the same, and pages that are open come back");
    options->serve.AddTo(line);
    line.CommandBehindDashes("command", options->command,
                             "run this command beside it, and only look on; without: the page is the application");
    return [options] { return ScreenCommand(*options); };
}
} // namespace CIM::sim
