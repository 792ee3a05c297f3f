#include "soak/Driver.h"

#include "soak/Messages.h"

#include "privatebus/Process.h"

#include <algorithm>
#include <cinttypes>
#include <csignal>
#include <fstream>
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
constexpr unsigned CALLS_BEFORE_EXIT = 300;
// Applications end their subscriptions and children, and those may wait for the daemon.
constexpr unsigned END_BOUND_MS = 90'000;

/// The process of the bus. The keeper does not wait for it before it ends: it is this process even when it has died.
pid_t FindBus(const std::string& address)
{
    // Not as the system bus: libdbus reads its address once in a process.
    DBusConnection* const connection = dbus_connection_open_private(address.c_str(), nullptr);
    if (connection == nullptr || !dbus_bus_register(connection, nullptr))
    {
        throw std::runtime_error("the bus does not answer");
    }
    const TMessage question(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS,
                                                         "GetConnectionUnixProcessID"));
    const char* const name = DBUS_SERVICE_DBUS;
    dbus_message_append_args(question.get(), DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID);
    const TMessage answer(
        dbus_connection_send_with_reply_and_block(connection, question.get(), START_BOUND_MS, nullptr));
    dbus_uint32_t process = 0;
    if (answer)
    {
        dbus_message_get_args(answer.get(), nullptr, DBUS_TYPE_UINT32, &process, DBUS_TYPE_INVALID);
    }
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
    std::string command;
    std::getline(std::ifstream("/proc/" + std::to_string(process) + "/comm"), command);
    if (process < 2 || command != "dbus-daemon")
    {
        throw std::runtime_error("the bus does not say which process it is");
    }
    return static_cast<pid_t>(process);
}

std::string BusConfiguration(const SMix& mix, EPlant plant)
{
    std::string lines;
    if (!mix.isBusPatient && plant != PLANT_HANG)
    {
        lines += "<limit name=\"reply_timeout\">" + std::to_string(BUS_REPLY_TIMEOUT_MS) + "</limit>\n";
    }
    if (!mix.isBusLoose)
    {
        // As a system bus has it. Without this the private bus lets a reply through that nobody asked for.
        lines += "<policy context=\"mandatory\"><deny send_requested_reply=\"false\" send_type=\"method_return\"/>"
                 "<deny send_requested_reply=\"false\" send_type=\"error\"/></policy>\n";
    }
    return lines;
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

TCRound::TCRound(SShared& shared, unsigned applications)
    : m_shared(shared), m_random(shared.seed * 7919 + shared.round), m_applications(applications)
{
    const auto folder = privatebus::TCBusFolder::Make("ciapi-soak");
    privatebus::TSKeeperOptions options;
    options.configuration = BusConfiguration(shared.mix, shared.plant);
    m_keeper.Start(folder, options);
    privatebus::WriteFeatureKeys(folder.FeatureKeyFile(), privatebus::DefaultFeatureKeys(1));
    std::ofstream(folder.MarkerFile()).put('\n');
    chmod(folder.Path().c_str(), 0711); // the stranger is another user
    folder.PutIntoEnvironment();
    m_bus = FindBus(folder.Address());

    m_shared.isOver.store(false);
    m_shared.isBusDead.store(false);
    m_shared.trouble.store(0);
    m_shared.daemonsReady.store(0);
    m_shared.planted.store(0);
    for (std::atomic<unsigned>& count : m_shared.shown)
    {
        count.store(0);
    }
    m_shared.boundMs.store((shared.mix.isBusPatient ? LIBRARY_TIMEOUT_MS : BUS_REPLY_TIMEOUT_MS) + MARGIN_MS);
    m_StartDaemon();
    const std::uint64_t deadline = NowMs() + START_BOUND_MS;
    while (m_isDaemonAwaited)
    {
        usleep(TICK_US);
        m_Continue(false);
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

// Mostly short. A long one is longer than the bus waits for a reply: it ends calls.
void TCRound::m_Stop(pid_t process)
{
    const bool isStopped = std::any_of(m_stopped.begin(), m_stopped.end(),
                                       [process](const SStopped& known) { return known.process == process; });
    const bool isLong = m_random.Below(100) < m_shared.mix.longStops;
    const unsigned duration = isLong ? BUS_REPLY_TIMEOUT_MS + m_random.Below(3'000) : 5 + m_random.Below(250);
    if (isStopped || !privatebus::SendSignal(process, SIGSTOP))
    {
        return;
    }
    if (isLong)
    {
        m_BeginTrouble();
    }
    // Nobody's call can be expected to go on meanwhile.
    m_shared.boundMs.fetch_add(duration);
    m_stopped.push_back({process, NowMs() + duration, isLong});
}

void TCRound::m_Continue(bool all)
{
    std::erase_if(m_stopped,
                  [&](const SStopped& stopped)
                  {
                      if (!all && NowMs() < stopped.until)
                      {
                          return false;
                      }
                      privatebus::SendSignal(stopped.process, SIGCONT);
                      if (stopped.isTrouble)
                      {
                          m_plan.emplace(NowMs() + 1'000, [this] { m_EndTrouble(); }); // once the queues are empty
                      }
                      return true;
                  });
    if (m_isDaemonAwaited && m_shared.daemonsReady.load() == m_daemons)
    {
        m_isDaemonAwaited = false;
        m_EndTrouble();
    }
}

// A process that has ended is not continued: its number may be another's.
void TCRound::m_Forget(pid_t process)
{
    std::erase_if(m_stopped,
                  [&](const SStopped& stopped)
                  {
                      if (stopped.process == process && stopped.isTrouble)
                      {
                          m_EndTrouble();
                      }
                      return stopped.process == process;
                  });
}

void TCRound::m_KillDaemon()
{
    if (m_isDaemonAwaited || m_shared.isBusDead.load())
    {
        return;
    }
    m_BeginTrouble();
    m_Forget(m_daemon);
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

void TCRound::m_KillApplication()
{
    SApplicationProcess& application =
        m_applications[m_random.Below(static_cast<std::uint32_t>(m_applications.size()))];
    application.isKilled = privatebus::SendSignal(application.process, SIGKILL);
}

void TCRound::m_ArmExit()
{
    const unsigned slot = m_random.Below(static_cast<std::uint32_t>(m_applications.size()));
    SApplicationSlot& told = m_shared.applications[slot];
    told.endingAfter.store(CALLS_BEFORE_EXIT);
    told.ending.store(ENDING_EXIT + m_random.Below(ENDING_COUNT - ENDING_EXIT));
}

void TCRound::m_Reap(bool isEnding)
{
    for (unsigned slot = 0; slot < m_applications.size(); ++slot)
    {
        SApplicationProcess& application = m_applications[slot];
        SApplicationSlot& told = m_shared.applications[slot];
        const std::optional<int> status =
            application.process > 0 ? privatebus::CheckForEnd(application.process) : std::nullopt;
        if (!status)
        {
            if (application.process > 0)
            {
                m_CheckExit(application, told);
            }
            continue;
        }
        const unsigned ending = told.isLeaving.load() ? told.ending.load() : ENDING_ORDERLY;
        if (!application.isKilled && (*status != 0 || !told.isLeaving.load()))
        {
            Find(m_shared, FINDING_DEATH, "application %u (process %d, ending %u) ended with status %d", slot,
                 static_cast<int>(application.process), ending, *status);
        }
        else if (!application.isKilled && ending != ENDING_ORDERLY)
        {
            m_shared.figures.endings[ending].fetch_add(1);
        }
        m_Forget(application.process);
        application = {};
        if (!isEnding && !m_shared.isBusDead.load())
        {
            told.generation.fetch_add(1);
            m_StartApplication(slot);
        }
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
        Find(m_shared, FINDING_STUCK, "application process %d does not come to an end of exit, of kind %u",
             static_cast<int>(application.process), told.ending.load());
        application.isKilled = privatebus::SendSignal(application.process, SIGKILL);
    }
}

void TCRound::m_CheckCalls()
{
    const std::uint64_t now = NowMs();
    for (unsigned slot = 0; slot < m_applications.size(); ++slot)
    {
        for (SApplicationSlot::SThread& thread : m_shared.applications[slot].threads)
        {
            const std::uint64_t since = thread.callSince.load();
            if (since != 0 && now > since + m_shared.boundMs.load() && thread.reported.exchange(since) != since &&
                m_applications[slot].process > 0)
            {
                Find(m_shared, FINDING_HUNG, "application %u, call %" PRIx64 ": %" PRIu64 " ms", slot,
                     thread.number.load(), now - since);
            }
        }
    }
}

void TCRound::Run(const std::function<bool()>& isInterrupted)
{
    const SMix& mix = m_shared.mix;
    m_Schedule(mix.daemonStops, [this] { m_Stop(m_daemon); });
    m_Schedule(mix.busStops, [this] { m_Stop(m_bus); });
    m_Schedule(mix.applicationStops, [this]
               { m_Stop(m_applications[m_random.Below(static_cast<std::uint32_t>(m_applications.size()))].process); });
    m_Schedule(mix.daemonKills, [this] { m_KillDaemon(); });
    m_Schedule(mix.applicationKills, [this] { m_KillApplication(); });
    m_Schedule(mix.exits, [this] { m_ArmExit(); });
    const std::uint64_t end = NowMs() + mix.milliseconds;
    while (NowMs() < end && !isInterrupted())
    {
        usleep(TICK_US);
        while (!m_plan.empty() && m_plan.begin()->first <= NowMs())
        {
            const auto action = std::move(m_plan.begin()->second);
            m_plan.erase(m_plan.begin());
            action();
        }
        m_Continue(false);
        m_Reap(false);
        m_CheckCalls();
    }
    m_End();
}

void TCRound::m_End()
{
    m_Continue(true);
    m_plan.clear();
    if (m_daemon <= 0)
    {
        m_StartDaemon();
    }
    if (m_shared.mix.isBusKilled)
    {
        m_KillBus();
    }
    m_shared.isOver.store(true);
    const std::uint64_t deadline = NowMs() + (m_shared.plant == PLANT_STUCK ? EXIT_BOUND_MS / 4 : END_BOUND_MS);
    const auto isLeft = [](const SApplicationProcess& application) { return application.process > 0; };
    while (std::any_of(m_applications.begin(), m_applications.end(), isLeft))
    {
        usleep(TICK_US);
        m_Continue(false);
        m_Reap(true);
        m_CheckCalls();
        if (NowMs() > deadline)
        {
            for (SApplicationProcess& application : m_applications)
            {
                if (isLeft(application))
                {
                    Find(m_shared, FINDING_STUCK, "application process %d does not end",
                         static_cast<int>(application.process));
                    Kill(application.process);
                }
            }
        }
    }
}
} // namespace CIM::soak
