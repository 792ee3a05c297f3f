#include "Commands.h"
#include "ServeOptions.h"
#include "json/Document.h"

#include <memory>
#include <stdexcept>

namespace CIM::sim
{
namespace
{
void Insert(TSSetDefinition& set, const std::string& insertion)
{
    const auto equals = insertion.find('=');
    const std::string cam = equals == std::string::npos ? "" : insertion.substr(equals + 1);
    int slot = -1;
    if (!CLI::detail::lexical_cast(insertion.substr(0, equals), slot) || slot < 0 || slot >= set.slots)
    {
        throw CLI::ValidationError("--insert", "SLOT=CAM with one of " + std::to_string(set.slots) +
                                                   " slots, counted from 0, is expected, not " + insertion);
    }
    set.inserted.erase(slot);
    if (cam.empty())
    {
        return;
    }
    if (set.FindCam(cam) == nullptr)
    {
        std::string names;
        for (const TSCamDefinition& known : set.cams)
        {
            names += (names.empty() ? "" : ", ") + known.name;
        }
        throw CLI::ValidationError("--insert", "there is no CAM " + cam + "; there are " + names);
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
        throw CLI::ValidationError("--fault", error.what());
    }
}
} // namespace

void TSServeArguments::AddTo(CLI::App& app)
{
    app.add_option("--seed", options.seed, "seed of everything random")->capture_default_str();
    app.add_flag("--manual-clock", options.daemon.isManualClock,
                 "let the virtual clock stand still but for AdvanceClock");
    app.add_option("--insert", insertions, "the CAM that is in a slot at the beginning, as SLOT=CAM; SLOT= for none");
    app.add_option("--fault", faults, "a fault of calls as JSON, see the verb ListFaultKinds");
    app.add_option("--names-after", options.daemon.namesAfterMs, "take the first bus name after so many milliseconds");
    app.add_option("--names-step", options.daemon.nameStepMs,
                   "take the bus names one by one, so many milliseconds apart");
    app.add_flag("!--no-control", options.daemon.hasControl, "offer no control object");
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

std::function<int()> PrepareServe(CLI::App& app)
{
    auto arguments = std::make_shared<TSServeArguments>();
    arguments->AddTo(app);
    return [arguments] { return Serve(arguments->Take()); };
}
} // namespace CIM::sim
