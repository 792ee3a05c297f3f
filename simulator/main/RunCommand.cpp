#include "commandline/Nearest.h"
#include "Commands.h"
#include "privatebus/BusFolder.h"
#include "ServeOptions.h"
#include "simulator/daemon/Sandbox.h"

#include <ciapi/CINames.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace CIM::sim
{
namespace
{
/// Where the set's feature keys lie.
std::string KeyPrefix() { return CI_FMS_SUPPORT.substr(0, CI_FMS_SUPPORT.rfind('/') + 1); }

/// The keys that the library and its users read.
std::vector<std::string> KnownKeys()
{
    return {CI_FMS_SUPPORT,
            CI_FMS_SUPPORT_CERTIFICATION,
            CI_FMS_NUM_OF_CI,
            CI_FMS_TVS_SUPPORTED,
            CI_FMS_TV_MODEL_TYPE,
            CI_FMS_ECP_SUPPORT,
            CI_FMS_DECISION_MODE_FULL_FLEX,
            CI_FMS_MENU_SUPPORT,
            CI_FMS_B2B_OPTION_SUPPORT,
            CI_FMS_CANAL_READY_TNT_BIN_PATH,
            CI_FMS_IS_ZIGGO,
            CI_FMS_KEY_IS_PVR_SUPPORTED};
}

/// A key that is not known here is taken all the same: the application may have keys of its own. But it may be misspelt.
void WarnOfUnknown(const std::string& key)
{
    const std::vector<std::string> known = KnownKeys();
    if (std::find(known.begin(), known.end(), key) != known.end())
    {
        return;
    }
    std::fprintf(stderr, "ci-daemon-sim: warning: %s is no feature key that CI knows%s\n", key.c_str(),
                 DidYouMean(key, {known.begin(), known.end()}).c_str());
}

struct TSRunOptions
{
    TSServeArguments serve;
    std::vector<std::string> keys;
    std::vector<std::string> command;
};

int Run(const TSRunOptions& options)
{
    if (options.command.empty())
    {
        std::fprintf(stderr, "ci-daemon-sim: run needs a command: ci-daemon-sim run -- COMMAND [ARGUMENT ...]\n");
        return 2;
    }
    TSServeOptions serve = options.serve.Take();
    TSSandboxOptions sandbox;
    sandbox.command = options.command;
    sandbox.featureKeys = privatebus::DefaultFeatureKeys(serve.set.slots);
    for (const std::string& key : options.keys)
    {
        const auto equals = key.find('=');
        if (equals == std::string::npos || equals == 0)
        {
            std::fprintf(stderr, "ci-daemon-sim: a feature key is given as NAME=VALUE, not as %s\n", key.c_str());
            return 2;
        }
        const std::string name = key.substr(0, equals);
        const std::string whole = name.find('/') == std::string::npos ? KeyPrefix() + name : name;
        WarnOfUnknown(whole);
        sandbox.featureKeys[whole] = key.substr(equals + 1);
    }
    sandbox.simulator = [&](const std::function<void()>& ready)
    {
        serve.daemon.markerPath = TCMarker::DefaultPath(); // of the sandbox
        serve.onReady = ready;
        return Serve(serve);
    };
    return RunInSandbox(sandbox);
}
} // namespace

std::function<int()> PrepareRun(TCCommandLine line)
{
    auto options = std::make_shared<TSRunOptions>();
    options->serve.AddTo(line);
    options->serve.options.warmUpMs = 2'000;
    line.Option("--warm-up", options->serve.options.warmUpMs,
                "virtual milliseconds that the CAMs have had when the command starts; 0: they are just being put in");
    line.Option("--key", options->keys, EHowMany::ANY,
                "a feature key of the set, as NAME=VALUE; names without '/' lie under " + KeyPrefix());
    line.Words("command", options->command, EHowMany::ANY, "the command and its arguments");
    line.OptionsComeFirst();
    return [options] { return Run(*options); };
}
} // namespace CIM::sim
