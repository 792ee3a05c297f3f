#include "Commands.h"
#include "ServeOptions.h"

#include <memory>

namespace CIM::sim
{
void AddServeOptions(CLI::App& app, TSServeOptions& options)
{
    app.add_option("--seed", options.seed, "seed of everything random")->capture_default_str();
    app.add_flag("--manual-clock", options.daemon.isManualClock,
                 "let the virtual clock stand still but for AdvanceClock");
    app.add_option("--names-after", options.daemon.namesAfterMs, "take the first bus name after so many milliseconds");
    app.add_option("--names-step", options.daemon.nameStepMs,
                   "take the bus names one by one, so many milliseconds apart");
}

std::function<int()> PrepareServe(CLI::App& app)
{
    auto options = std::make_shared<TSServeOptions>();
    AddServeOptions(app, *options);
    return [options] { return Serve(*options); };
}
} // namespace CIM::sim
