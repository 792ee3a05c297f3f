#include "soak/Driver.h"

#include "bus/Handles.h"
#include "privatebus/Process.h"

#include <algorithm>
#include <cinttypes>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace CIM::soak
{
namespace
{
constexpr useconds_t TICK_US = 5'000;
constexpr unsigned START_BOUND_MS = 20'000;
constexpr unsigned MARGIN_MS = 6'000; // two processors, several answers of 16 MiB
constexpr unsigned EXIT_BOUND_MS = 20'000;
// Applications end their subscriptions, and those may wait for the daemon.
constexpr unsigned END_BOUND_MS = 90'000;

/// The process of the bus. The keeper does not wait for it before it ends: it is this process even when it has died.
pid_t FindBus(const std::string& address)
{
    TCDBusError error;
    const TCConnectionPtr connection = OpenBusAt(address.c_str(), error);
    int socket = -1;
    ucred bus{};
    socklen_t size = sizeof bus;
    if (!connection || !dbus_connection_get_unix_fd(connection.get(), &socket) ||
        getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &bus, &size) != 0)
    {
        throw std::runtime_error(std::string("the bus does not say which process it is ") + error.Text());
    }
    return bus.pid;
}

void Kill(pid_t& child)
{
    if (privatebus::SendSignal(child, SIGKILL))
    {
        privatebus::WaitForEnd(child);
    }
    child = -1;
}
} // namespace

SMix MakeMix(std::uint64_t seed, unsigned round)
{
    TCRandom random(seed * 1'000'003 + round);
    SMix mix;
    mix.milliseconds = 4'000 + random.Below(8'000);
    const auto sometimes = [&random](unsigned oneIn, unsigned atMost)
    { return random.OneIn(oneIn) ? 1 + random.Below(atMost) : 0; };
    mix.lyingCalls = sometimes(1, 1'500);
    mix.largeCalls = random.Below(6);
    mix.daemonStops = sometimes(2, 15);
    mix.busStops = sometimes(3, 15);
    mix.applicationStops = sometimes(3, 15);
    mix.longStops = sometimes(4, 10);
    mix.daemonKills = sometimes(4, 5);
    mix.applicationKills = sometimes(4, 5);
    mix.exits = sometimes(3, 10);
    mix.forks = sometimes(3, 20);
    mix.slowCallsUs = sometimes(8, 300);
    mix.isBusKilled = random.OneIn(4);
    mix.hasStranger = random.OneIn(4);
    mix.isBusPatient = random.OneIn(10);
    mix.silentCalls = mix.isBusPatient ? 20 : 1;
    return mix;
}

TCRound::TCRound(SShared& shared, unsigned applications)
    : m_shared(shared), m_random(shared.seed * 7919 + shared.round), m_applications(applications)
{
    const auto folder = privatebus::TCBusFolder::Make("ciapi-soak");
    const std::string timeout = std::to_string(REPLY_TIMEOUT_MS);
    privatebus::TSKeeperOptions options;
    // Late replies, and those that nobody asked for, get through: the library has to know its own.
    if (!shared.mix.isBusPatient && shared.plant != PLANT_HANG)
    {
        options.configuration = "<limit name=\"reply_timeout\">" + timeout + "</limit>";
    }
    m_keeper.Start(folder, options);
    privatebus::WriteFeatureKeys(folder.FeatureKeyFile(), privatebus::DefaultFeatureKeys(1));
    std::ofstream(folder.MarkerFile()).put('\n');
    chmod(folder.Path().c_str(), 0711); // the stranger is another user
    folder.PutIntoEnvironment();
    shared.mix.isBusPatient ? setenv("CIAPI_CALL_TIMEOUT_MS", timeout.c_str(), 1) : unsetenv("CIAPI_CALL_TIMEOUT_MS");
    m_bus = FindBus(folder.Address());

    m_shared.isOver.store(false);
    m_shared.isBusDead.store(false);
    m_shared.trouble.store(0);
    m_shared.daemonsReady.store(0);
    m_shared.isHangPlanted.store(false);
    for (std::atomic<unsigned>& count : m_shared.shown)
    {
        count.store(0);
    }
    m_shared.boundMs.store(REPLY_TIMEOUT_MS + MARGIN_MS);
    m_StartDaemon();
    const std::uint64_t deadline = NowMs() + START_BOUND_MS;
    while (m_shared.daemonsReady.load() != m_daemons)
    {
        usleep(TICK_US);
        if (NowMs() > deadline)
        {
            throw std::runtime_error("the soak's daemon does not start");
        }
    }
    if (m_shared.mix.hasStranger && getuid() == 0)
    {
        m_stranger = StartSelf("stranger");
    }
    for (unsigned slot = 0; slot < applications; ++slot)
    {
        m_shared.applications[slot].generation.store(0);
        m_StartApplication(slot);
    }
}

TCRound::~TCRound()
{
    for (SApplicationProcess& application : m_applications)
    {
        Kill(application.process);
    }
    Kill(m_daemon);
    Kill(m_stranger);
}

TCRound::SApplicationProcess& TCRound::m_AnyApplication()
{
    return m_applications[m_random.Below(static_cast<std::uint32_t>(m_applications.size()))];
}

void TCRound::m_StartDaemon()
{
    m_daemon = StartSelf("daemon", ++m_daemons);
    m_isDaemonAwaited = true;
    m_BeginTrouble();
}

void TCRound::m_StartApplication(unsigned slot)
{
    SApplicationSlot& told = m_shared.applications[slot];
    for (SApplicationSlot::SThread& thread : told.threads)
    {
        thread.callSince.store(0);
    }
    told.ending.store(ENDING_ORDERLY);
    told.isLeaving.store(false);
    told.isConnected.store(false);
    m_applications[slot] = {StartSelf("application", slot)};
}

void TCRound::m_BeginTrouble()
{
    if (m_troubles++ == 0)
    {
        m_shared.trouble.fetch_add(1);
    }
}

void TCRound::m_EndTrouble()
{
    if (--m_troubles == 0)
    {
        m_shared.trouble.fetch_add(1);
    }
}

void TCRound::m_Schedule(unsigned perTenSeconds, const std::function<void()>& action)
{
    const std::uint64_t now = NowMs();
    const unsigned count = perTenSeconds * m_shared.mix.milliseconds / 10'000 + (perTenSeconds != 0 ? 1 : 0);
    for (unsigned place = 0; place < count; ++place)
    {
        m_plan.emplace(now + m_random.Below(m_shared.mix.milliseconds), action);
    }
}

// Mostly short. A long one is longer than a reply is waited for: it ends calls.
void TCRound::m_Stop(pid_t process)
{
    const bool isLong = m_random.Below(100) < m_shared.mix.longStops;
    const unsigned duration = isLong ? REPLY_TIMEOUT_MS + m_random.Below(3'000) : 5 + m_random.Below(250);
    if (m_stopped.contains(process) || !privatebus::SendSignal(process, SIGSTOP))
    {
        return;
    }
    if (isLong)
    {
        m_BeginTrouble();
    }
    // Nobody's call can be expected to go on meanwhile.
    m_shared.boundMs.fetch_add(duration);
    m_stopped.emplace(process, isLong);
    m_plan.emplace(NowMs() + duration, [this, process] { m_Continue(process, /*isThere=*/true); });
}

// A process that has ended is not continued: its number may be another's.
void TCRound::m_Continue(pid_t process, bool isThere)
{
    const auto stopped = m_stopped.extract(process);
    if (stopped && isThere)
    {
        privatebus::SendSignal(process, SIGCONT);
    }
    if (stopped && stopped.mapped())
    {
        m_plan.emplace(NowMs() + 1'000, [this] { m_EndTrouble(); }); // once the queues are empty
    }
}

void TCRound::m_KillDaemon()
{
    if (m_isDaemonAwaited || m_daemon <= 0)
    {
        return;
    }
    m_BeginTrouble();
    m_Continue(m_daemon, /*isThere=*/false);
    Kill(m_daemon);
    m_plan.emplace(NowMs() + m_random.Below(300),
                   [this]
                   {
                       m_StartDaemon();
                       m_EndTrouble();
                   });
}

void TCRound::m_KillBus()
{
    m_BeginTrouble(); // without an end
    m_shared.isBusDead.store(true);
    privatebus::SendSignal(m_bus, SIGKILL);
    // Who has not connected yet tries for a minute, and then ends the process: that is a promise, and not waited for.
    for (unsigned slot = 0; slot < m_applications.size(); ++slot)
    {
        if (!m_shared.applications[slot].isConnected.load())
        {
            m_applications[slot].isKilled = privatebus::SendSignal(m_applications[slot].process, SIGKILL);
        }
    }
}

void TCRound::m_ArmExit()
{
    const unsigned slot = m_random.Below(static_cast<std::uint32_t>(m_applications.size()));
    m_shared.applications[slot].ending.store(ENDING_EXIT + m_random.Below(ENDING_COUNT - ENDING_EXIT));
}

void TCRound::m_Reap(unsigned slot, bool isEnding)
{
    SApplicationProcess& application = m_applications[slot];
    SApplicationSlot& told = m_shared.applications[slot];
    const std::optional<int> status = privatebus::CheckForEnd(application.process);
    if (!status)
    {
        m_CheckExit(application, told);
        return;
    }
    const unsigned ending = told.isLeaving.load() ? told.ending.load() : ENDING_ORDERLY;
    if (!application.isKilled && (*status != 0 || !told.isLeaving.load()))
    {
        m_shared.Find(FINDING_DEATH, "application %u (process %d, ending %u) ended with status %d", slot,
                      static_cast<int>(application.process), ending, *status);
    }
    else if (!application.isKilled && ending != ENDING_ORDERLY)
    {
        m_shared.Count(static_cast<EFigure>(FIGURE_ENDINGS + ending));
    }
    m_Continue(application.process, /*isThere=*/false);
    application = {};
    if (!isEnding && !m_shared.isBusDead.load())
    {
        told.generation.fetch_add(1);
        m_StartApplication(slot);
    }
}

// An exit must not wait for calls.
void TCRound::m_CheckExit(SApplicationProcess& application, const SApplicationSlot& told)
{
    if (told.isLeaving.load() && application.leavingSince == 0)
    {
        application.leavingSince = NowMs();
    }
    if (application.leavingSince != 0 && !application.isKilled &&
        NowMs() > application.leavingSince + EXIT_BOUND_MS + m_shared.boundMs.load())
    {
        m_shared.Find(FINDING_STUCK, "application process %d does not come to an end of exit, of kind %u",
                      static_cast<int>(application.process), told.ending.load());
        application.isKilled = privatebus::SendSignal(application.process, SIGKILL);
    }
}

void TCRound::m_CheckCalls(unsigned slot)
{
    const std::uint64_t now = NowMs();
    for (SApplicationSlot::SThread& thread : m_shared.applications[slot].threads)
    {
        const std::uint64_t since = thread.callSince.load();
        if (since != 0 && now > since + m_shared.boundMs.load() && thread.reported.exchange(since) != since)
        {
            m_shared.Find(FINDING_HUNG, "application %u, call %" PRIx64 ": %" PRIu64 " ms", slot, thread.number.load(),
                          now - since);
        }
    }
}

void TCRound::m_Tick(bool isEnding)
{
    usleep(TICK_US);
    while (!m_plan.empty() && m_plan.begin()->first <= NowMs())
    {
        m_plan.extract(m_plan.begin()).mapped()();
    }
    if (m_isDaemonAwaited && m_shared.daemonsReady.load() == m_daemons)
    {
        m_isDaemonAwaited = false;
        m_EndTrouble();
    }
    for (unsigned slot = 0; slot < m_applications.size(); ++slot)
    {
        if (m_applications[slot].process > 0)
        {
            m_CheckCalls(slot);
            m_Reap(slot, isEnding);
        }
    }
}

void TCRound::Run(const std::function<bool()>& isInterrupted)
{
    const SMix& mix = m_shared.mix;
    m_Schedule(mix.daemonStops, [this] { m_Stop(m_daemon); });
    m_Schedule(mix.busStops, [this] { m_Stop(m_bus); });
    m_Schedule(mix.applicationStops, [this] { m_Stop(m_AnyApplication().process); });
    m_Schedule(mix.daemonKills, [this] { m_KillDaemon(); });
    m_Schedule(mix.exits, [this] { m_ArmExit(); });
    m_Schedule(mix.applicationKills,
               [this]
               {
                   SApplicationProcess& application = m_AnyApplication();
                   application.isKilled = privatebus::SendSignal(application.process, SIGKILL);
               });
    for (const std::uint64_t end = NowMs() + mix.milliseconds; NowMs() < end && !isInterrupted();)
    {
        m_Tick(/*isEnding=*/false);
    }
    while (!m_stopped.empty())
    {
        m_Continue(m_stopped.begin()->first, /*isThere=*/true);
    }
    m_plan.clear();
    if (m_daemon <= 0)
    {
        m_StartDaemon();
    }
    if (mix.isBusKilled)
    {
        m_KillBus();
    }
    m_shared.isOver.store(true);
    const std::uint64_t deadline = NowMs() + (m_shared.plant == PLANT_STUCK ? EXIT_BOUND_MS / 4 : END_BOUND_MS);
    const auto isLeft = [](const SApplicationProcess& application) { return application.process > 0; };
    while (std::any_of(m_applications.begin(), m_applications.end(), isLeft) && NowMs() < deadline)
    {
        m_Tick(/*isEnding=*/true);
    }
    for (const SApplicationProcess& application : m_applications)
    {
        if (isLeft(application))
        {
            m_shared.Find(FINDING_STUCK, "application process %d does not end", static_cast<int>(application.process));
        }
    }
}
} // namespace CIM::soak
