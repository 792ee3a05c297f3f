#include "commandline/Nearest.h"
#include "Commands.h"
#include "ServeOptions.h"
#include "simulator/scenario/Scenario.h"
#include "simulator/scenario/Tell.h"
#include "json/Document.h"

#include <charconv>
#include <cstring>
#include <memory>
#include <stdexcept>

#include <systemd/sd-daemon.h>

namespace CIM::sim
{
namespace
{
void Insert(TSSetDefinition& set, const std::string& insertion)
{
    const auto equals = insertion.find('=');
    const std::string cam = equals == std::string::npos ? "" : insertion.substr(equals + 1);
    int slot = -1;
    const std::string number = insertion.substr(0, equals);
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), slot);
    if (error != std::errc() || end != number.data() + number.size() || slot < 0 || slot >= set.slots)
    {
        throw TCUsageError("--insert: SLOT=CAM with one of " + std::to_string(set.slots) +
                           " slots, counted from 0, is expected, not " + insertion);
    }
    set.inserted.erase(slot);
    if (cam.empty())
    {
        return;
    }
    if (set.FindCam(cam) == nullptr)
    {
        throw TCUsageError("--insert: there is no CAM " + cam + "; " + ThereAre(set.CamNames(), cam));
    }
    set.inserted[slot] = cam;
}

TSFault ReadFault(const std::string& text)
{
    try
    {
        TSFault fault =
            json::FromJson<TSFault>(json::TCJsonDocument::Parse("fault", text).Root(), json::TCJsonPath("fault"));
        if (fault.operation.empty())
        {
            throw std::runtime_error("fault.operation: on the command line a fault needs one, such as *");
        }
        return fault;
    }
    catch (const std::exception& error)
    {
        throw TCUsageError(std::string("--fault: ") + error.what());
    }
}

/// Tells the service manager that started this process, if one did, that all names are owned.
void TellServiceManager()
{
    const int heard = sd_notify(0, "READY=1");
    if (heard < 0)
    {
        Tell(std::string("the service manager hears nothing: ") + std::strerror(-heard));
    }
}
} // namespace

void TSServeArguments::AddTo(TCCommandLine& line)
{
    line.Option("--seed", options.seed, "seed of everything random");
    line.Flag("--manual-clock", options.daemon.isManualClock, "let the virtual clock stand still but for AdvanceClock");
    line.Option("--insert", insertions, EHowMany::ANY,
                "the CAM that is in a slot at the beginning, as SLOT=CAM; SLOT= for none");
    line.Option("--fault", faults, EHowMany::ANY, "a fault of calls as JSON, see the verb ListFaultKinds");
    line.Option("--names-after", options.daemon.namesAfterMs, "take the first bus name after so many milliseconds");
    line.Option("--names-step", options.daemon.nameStepMs, "take the bus names one by one, so many milliseconds apart");
    line.Flag("!--no-control", options.daemon.hasControl, "offer no control object");
}

TSServeOptions TSServeArguments::Take() const
{
    TSServeOptions taken = options;
    taken.daemon.seed = options.seed;
    for (const std::string& insertion : insertions)
    {
        Insert(taken.set, insertion);
    }
    for (const std::string& fault : faults)
    {
        taken.faults.push_back(ReadFault(fault));
    }
    return taken;
}

std::function<int()> PrepareServe(TCCommandLine line)
{
    auto arguments = std::make_shared<TSServeArguments>();
    arguments->AddTo(line);
    return [arguments]
    {
        TSServeOptions options = arguments->Take();
        options.onReady = TellServiceManager;
        return Serve(options);
    };
}

void TakeScenario(const TSScenario& scenario, TSServeOptions& options)
{
    options.set = scenario.set;
    options.seed = scenario.seed;
    options.warmUpMs = scenario.warmUpMs;
    options.daemon.seed = scenario.seed;
    options.daemon.isManualClock = scenario.isManualClock;
    options.daemon.namesAfterMs = scenario.namesAfterMs;
    options.daemon.nameStepMs = scenario.nameStepMs;
}
} // namespace CIM::sim
