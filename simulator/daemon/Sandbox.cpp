#include "Sandbox.h"

#include "privatebus/Keeper.h"
#include "privatebus/Process.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace CIM::sim
{
namespace
{
void Complain(const std::string& text) { std::fprintf(stderr, "ci-daemon-sim: %s\n", text.c_str()); }

/// Becomes the command. \param[in] report  hears why that is not possible
[[noreturn]] void Become(const std::vector<std::string>& command, int report)
{
    std::vector<char*> arguments;
    for (const std::string& argument : command)
    {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    const int error = errno;
    Complain(command[0] + ": " + std::strerror(error));
    [[maybe_unused]] const auto written = write(report, &error, sizeof error);
    _exit(error == ENOENT ? EXIT_NOT_FOUND : EXIT_NOT_EXECUTABLE);
}

/// A command that runs beside its simulator. The signals are blocked.
class TCCommand
{
public:
    TCCommand(const TSSandboxOptions& options, const sigset_t& waited) : m_options(options), m_waited(waited) {}

    TSCommandEnd Run(const sigset_t& before)
    {
        int report[2] = {-1, -1};
        const pid_t maker = getpid();
        m_child = pipe2(report, O_CLOEXEC) == 0 ? fork() : -1;
        if (m_child < 0)
        {
            m_end.startError = errno;
            m_end.status = EXIT_SANDBOX_FAILED;
            Complain(std::string("no process for the command: ") + std::strerror(m_end.startError));
            return m_end;
        }
        if (m_child == 0)
        {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            if (getppid() != maker)
            {
                _exit(EXIT_SANDBOX_FAILED);
            }
            sigprocmask(SIG_SETMASK, &before, nullptr);
            if (m_options.command.empty())
            {
                close(report[0]);
                close(report[1]);
                _exit(s_Play(m_options.application));
            }
            Become(m_options.command, report[1]);
        }
        close(report[1]);
        // Until it has become the command, so that nothing that is sent to it hides that this is not possible.
        int error = 0;
        m_end.startError = read(report[0], &error, sizeof error) == sizeof error ? error : 0;
        close(report[0]);
        if (m_end.startError != 0)
        {
            m_end.status = privatebus::WaitForEnd(m_child);
            return m_end;
        }
        while (!m_HasEnded())
        {
            m_AwaitSignal();
        }
        const timespec atOnce{};
        siginfo_t info{};
        while (sigtimedwait(&m_waited, &info, &atOnce) > 0) // the terminal's interrupt may come behind what it ended
        {
            m_Note(info);
        }
        return m_end;
    }

private:
    static constexpr int PATIENCE_S = 2; ///< without a word for a command that was asked to end
    static constexpr int MORE_S = 3;     ///< ... and with one

    bool m_HasEnded()
    {
        siginfo_t info{};
        if (waitid(P_PID, static_cast<id_t>(m_child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid == 0)
        {
            return false;
        }
        m_end.signal = info.si_code == CLD_EXITED ? 0 : info.si_status;
        m_end.status = privatebus::WaitForEnd(m_child);
        if (m_end.signal == SIGINT)
        {
            m_end.interruption = SIGINT;
        }
        return true;
    }

    void m_AwaitSignal()
    {
        siginfo_t info{};
        const timespec limit{m_isHeldUp ? MORE_S : PATIENCE_S, 0};
        const int number =
            m_end.wasAsked && !m_isKilled ? sigtimedwait(&m_waited, &info, &limit) : sigwaitinfo(&m_waited, &info);
        if (number > 0)
        {
            m_Note(info);
            // What the terminal sends (SI_KERNEL) the command has got already; but of its hangup only a session's leader
            // hears.
            if (number != SIGCHLD && (info.si_code != SI_KERNEL || number == SIGHUP))
            {
                privatebus::SendSignal(m_child, number);
            }
        }
        else if (errno == EAGAIN && !m_isHeldUp)
        {
            m_isHeldUp = true;
            Complain(m_Name() + " was asked to end (SIGTERM) and goes on; waiting for it");
        }
        else if (errno == EAGAIN)
        {
            m_isKilled = privatebus::SendSignal(m_child, SIGKILL);
            Complain(m_Name() + " does not end within " + std::to_string(PATIENCE_S + MORE_S) + " s and is killed");
        }
    }

    void m_Note(const siginfo_t& info)
    {
        if (info.si_signo == SIGTERM && m_options.isOver && m_options.isOver())
        {
            m_end.wasAsked = true;
        }
        else if (info.si_signo != SIGCHLD)
        {
            m_end.interruption = info.si_signo;
        }
    }

    /// What it throws must not lead back into what the maker does.
    static int s_Play(const std::function<int()>& application)
    try
    {
        return application();
    }
    catch (const std::exception& error)
    {
        Complain(error.what());
        return EXIT_SANDBOX_FAILED;
    }

    std::string m_Name() const { return m_options.command.empty() ? "the application" : m_options.command[0]; }

    const TSSandboxOptions& m_options;
    const sigset_t& m_waited;
    TSCommandEnd m_end;
    pid_t m_child = -1;
    bool m_isHeldUp = false;
    bool m_isKilled = false;
};

/// Removes the folder at the end, in case there is no keeper to do so.
class TCRemoval
{
public:
    explicit TCRemoval(const privatebus::TCBusFolder& folder) : m_path(folder.Path()), m_maker(getpid()) {}
    ~TCRemoval()
    {
        if (getpid() == m_maker)
        {
            privatebus::TCBusFolder::Remove(m_path.c_str());
        }
    }
    TCRemoval(const TCRemoval&) = delete;
    TCRemoval& operator=(const TCRemoval&) = delete;

private:
    const std::string m_path;
    const pid_t m_maker;
};
} // namespace

int RunInSandbox(const TSSandboxOptions& options)
try
{
    const auto folder = privatebus::TCBusFolder::Make("ci-daemon-sim");
    const TCRemoval removal(folder);
    folder.PutIntoEnvironment();

    sigset_t waited;
    sigset_t before;
    sigemptyset(&waited);
    for (const int number : {SIGCHLD, SIGTERM, SIGINT, SIGHUP, SIGQUIT})
    {
        sigaddset(&waited, number);
    }
    sigprocmask(SIG_BLOCK, &waited, &before);

    privatebus::TSKeeperOptions held;
    held.name = "ci-sim-keeper";
    held.handed = options.handed;
    held.companion = [&](const std::function<void()>& ready)
    {
        prctl(PR_SET_NAME, "ci-daemon-sim");
        return options.simulator(ready);
    };
    int status = EXIT_SANDBOX_FAILED;
    {
        privatebus::TCKeeper keeper;
        privatebus::WriteFeatureKeys(folder.FeatureKeyFile(), options.featureKeys);
        keeper.Start(folder, held);
        for (const int fd : options.handed)
        {
            close(fd);
        }
        const TSCommandEnd end = TCCommand(options, waited).Run(before);
        status = end.status;
        if (options.onCommandEnd)
        {
            options.onCommandEnd(end);
        }
        const int simulatorStatus = keeper.LetGo();
        status = status == 0 ? simulatorStatus : status;
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return status;
}
catch (const std::exception& error)
{
    Complain(error.what());
    return EXIT_SANDBOX_FAILED;
}
} // namespace CIM::sim
