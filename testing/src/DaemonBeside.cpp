#include <ciapi-testing/DaemonBeside.h>

#include "FeatureKeys.h"
#include "JsonText.h"
#include "ProcessBus.h"
#include "Scenarios.h"

#include "privatebus/Process.h"
#include "simulator/daemon/ControlClient.h"
#include "simulator/daemon/Verbs.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace CIM::test
{
namespace
{
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds START_TIMEOUT{20'000};
constexpr milliseconds STOP_TIMEOUT{5'000};
constexpr milliseconds INTERVAL{5};

/// What the simulator is to play: a scenario of the test's, or one that is a set and nothing more.
std::string WriteScenario(const TSOptions& options, const std::string& path)
{
    if (!options.scenario.empty())
    {
        return options.scenario;
    }
    json::TJson scenario = {{"name", "beside"},
                            {"description", "what a test program gave"},
                            {"seed", options.seed},
                            {"clock", options.isManualClock ? "manual" : "real"},
                            {"timeline", json::TJson::array()}};
    if (!options.set.empty())
    {
        scenario["set"] = ParseObject(options.set);
    }
    std::ofstream(path) << scenario;
    return path;
}

/// Whether a child has ended; it is gone then.
bool HasEnded(pid_t child, int& status)
{
    const std::optional<int> ended = privatebus::CheckForEnd(child);
    status = ended.value_or(status);
    return ended.has_value();
}

/// Looks every few milliseconds. The application's default main context is left alone.
bool Comes(const std::function<bool()>& condition, milliseconds timeout)
{
    const auto deadline = steady_clock::now() + timeout;
    bool hasCome = condition();
    while (!hasCome && steady_clock::now() < deadline)
    {
        usleep(static_cast<useconds_t>(INTERVAL.count() * 1000));
        hasCome = condition();
    }
    return hasCome;
}
} // namespace

TCDaemonBeside::TCDaemonBeside(const TSOptions& options, const std::string& program)
{
    const sim::TSScenario scenario = ScenarioOf(options);
    TCProcessBus& bus = TCProcessBus::Instance();
    bus.WriteFeatureKeys(FeatureKeys(options, scenario.set.slots));
    if (access(bus.MarkerPath().c_str(), F_OK) == 0)
    {
        throw std::runtime_error("there is a daemon already: one at a time");
    }
    std::string play = "play";
    std::string file = WriteScenario(options, bus.Path("beside.json"));
    std::string name = program;
    char* arguments[] = {name.data(), play.data(), file.data(), nullptr};
    const int error = posix_spawnp(&m_process, program.c_str(), nullptr, nullptr, arguments, environ);
    if (error != 0)
    {
        throw std::runtime_error("cannot run " + program + ": " + std::strerror(error));
    }
    const bool isDecided = Comes(
        [&] { return access(bus.MarkerPath().c_str(), F_OK) == 0 || HasEnded(m_process, m_status); }, START_TIMEOUT);
    if (!isDecided || m_status >= 0)
    {
        Kill();
        throw std::runtime_error(program + " does not become ready");
    }
}

TCDaemonBeside::~TCDaemonBeside() { End(); }

std::string TCDaemonBeside::Ask(const std::string& verb, const std::vector<std::string>& arguments) const
{
    const sim::TSVerb* const known = sim::FindVerb(verb);
    if (known == nullptr)
    {
        throw std::invalid_argument(sim::NoSuchVerb(verb));
    }
    const sim::TSControlAnswer answer = sim::CallControl(*known, arguments);
    switch (answer.status)
    {
    case sim::TSControlAnswer::DONE:
        return answer.text;
    case sim::TSControlAnswer::NO_SIMULATOR:
        throw std::runtime_error(answer.text);
    default:
        throw std::invalid_argument(answer.text);
    }
}

void TCDaemonBeside::Kill()
{
    if (m_status < 0)
    {
        privatebus::SendSignal(m_process, SIGKILL);
        m_status = privatebus::WaitForEnd(m_process);
    }
    unlink(TCProcessBus::Instance().MarkerPath().c_str());
}

int TCDaemonBeside::End()
{
    if (m_status < 0)
    {
        privatebus::SendSignal(m_process, SIGTERM);
        if (!Comes([&] { return HasEnded(m_process, m_status); }, STOP_TIMEOUT))
        {
            Kill();
        }
    }
    return m_status;
}
} // namespace CIM::test
