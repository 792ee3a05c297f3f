#include "Sandbox.h"

#include "privatebus/Keeper.h"
#include "privatebus/Process.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace CIM::sim
{
namespace
{
void Complain(const std::string& text) { std::fprintf(stderr, "ci-daemon-sim: %s\n", text.c_str()); }

/// Runs the command and passes on what is sent to us. The signals are blocked.
int RunCommand(const std::vector<std::string>& command, const sigset_t& waited, const sigset_t& before)
{
    const pid_t maker = getpid();
    const pid_t child = fork();
    if (child < 0)
    {
        Complain(std::string("no process for the command: ") + std::strerror(errno));
        return EXIT_SANDBOX_FAILED;
    }
    if (child == 0)
    {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != maker)
        {
            _exit(EXIT_SANDBOX_FAILED);
        }
        sigprocmask(SIG_SETMASK, &before, nullptr);
        std::vector<char*> arguments;
        for (const std::string& argument : command)
        {
            arguments.push_back(const_cast<char*>(argument.c_str()));
        }
        arguments.push_back(nullptr);
        execvp(arguments[0], arguments.data());
        const int error = errno;
        Complain(command[0] + ": " + std::strerror(error));
        _exit(error == ENOENT ? EXIT_NOT_FOUND : EXIT_NOT_EXECUTABLE);
    }
    for (;;)
    {
        if (const std::optional<int> status = privatebus::CheckForEnd(child))
        {
            return *status;
        }
        siginfo_t info{};
        // What the terminal sends (SI_KERNEL) the command has got already.
        if (sigwaitinfo(&waited, &info) > 0 && info.si_signo != SIGCHLD && info.si_code != SI_KERNEL)
        {
            privatebus::SendSignal(child, info.si_signo);
        }
    }
}
} // namespace

int RunInSandbox(const TSSandboxOptions& options)
try
{
    const auto folder = privatebus::TCBusFolder::Make("ci-daemon-sim");
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
        status = RunCommand(options.command, waited, before);
        const int simulatorStatus = keeper.LetGo();
        status = status == 0 ? simulatorStatus : status;
    }
    privatebus::TCBusFolder::Remove(folder.Path().c_str()); // in case the keeper was killed
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return status;
}
catch (const std::exception& error)
{
    Complain(error.what());
    return EXIT_SANDBOX_FAILED;
}
} // namespace CIM::sim
