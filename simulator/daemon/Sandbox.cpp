#include "Sandbox.h"

#include "Keeper.h"

#include <ciapi/CINames.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace CIM::sim
{
namespace
{
/// A bus for one purpose: nobody of the machine's services is on it, and 256 clients with two connections each fit.
std::string BusConfiguration(const std::string& folder)
{
    return "<busconfig><type>system</type><listen>unix:path=" + folder + "/socket</listen>" +
           "<auth>EXTERNAL</auth><policy context=\"default\"><allow user=\"*\"/><allow own=\"*\"/>"
           "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow receive_sender=\"*\" eavesdrop=\"true\"/>"
           "<allow eavesdrop=\"true\"/></policy>\n"
           "<limit name=\"max_connections_per_user\">2048</limit>"
           "<limit name=\"max_completed_connections\">2048</limit>"
           "</busconfig>\n";
}

bool WriteFeatureKeys(const std::string& path, const std::map<std::string, std::string>& keys)
{
    std::map<std::string, std::string> groups;
    for (const auto& [key, value] : keys)
    {
        const auto slash = key.rfind('/');
        groups[key.substr(0, slash)] += key.substr(slash + 1) + '=' + value + '\n';
    }
    std::ofstream file(path);
    for (const auto& [group, lines] : groups)
    {
        file << '[' << group << "]\n" << lines;
    }
    return file.flush().good();
}

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
        int status = 0;
        siginfo_t info{};
        if (waitpid(child, &status, WNOHANG) == child)
        {
            return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
        }
        // What the terminal sends (SI_KERNEL) the command has got already.
        if (sigwaitinfo(&waited, &info) > 0 && info.si_signo != SIGCHLD && info.si_code != SI_KERNEL)
        {
            kill(child, info.si_signo);
        }
    }
}
} // namespace

std::map<std::string, std::string> DefaultFeatureKeys(int slots)
{
    return {{CI_FMS_NUM_OF_CI, std::to_string(slots)},
            {CI_FMS_SUPPORT, "true"},
            {CI_FMS_SUPPORT_CERTIFICATION, "true"},
            {CI_FMS_TVS_SUPPORTED, "true"},
            {CI_FMS_TV_MODEL_TYPE, "0"}};
}

int RunInSandbox(const TSSandboxOptions& options)
{
    std::string folder = (std::filesystem::temp_directory_path() / "ci-daemon-sim-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr)
    {
        Complain("no temporary folder: " + folder + ": " + std::strerror(errno));
        return EXIT_SANDBOX_FAILED;
    }
    const std::string keyFile = folder + "/system-info.conf";
    setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + folder + "/socket").c_str(), 1);
    setenv("TVPLATFORM_SYSTEM_INFO", keyFile.c_str(), 1);
    setenv("CIAPI_DAEMON_READY_FILE", (folder + "/ready").c_str(), 1);

    sigset_t waited;
    sigset_t before;
    sigemptyset(&waited);
    for (const int number : {SIGCHLD, SIGTERM, SIGINT, SIGHUP, SIGQUIT})
    {
        sigaddset(&waited, number);
    }
    sigprocmask(SIG_BLOCK, &waited, &before);

    int status = EXIT_SANDBOX_FAILED;
    {
        TKeeper keeper;
        std::string error;
        if (!WriteFeatureKeys(keyFile, options.featureKeys))
        {
            Complain("cannot write " + keyFile);
        }
        else if (!keeper.Start(folder, BusConfiguration(folder), options.simulator, error))
        {
            Complain(error);
        }
        else
        {
            status = RunCommand(options.command, waited, before);
            const int simulatorStatus = keeper.LetGo();
            status = status == 0 ? simulatorStatus : status;
        }
    }
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored); // in case the keeper was killed
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return status;
}
} // namespace CIM::sim
