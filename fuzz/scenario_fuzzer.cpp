#include "Input.h"

#include "simulator/control/Controls.h"
#include "simulator/scenario/Scenario.h"
#include "json/Json.h"

#include <algorithm>

// Any text as a scenario file. Property: a scenario, whose steps stand in the file in their order, or errors, each with
// its place; and a set that can be played: its controls and its time may do anything but harm.

namespace
{
using namespace CIM::sim;
using CIM::fuzz::Require;

constexpr TTime MOST_MS = 60'000; // of virtual time a step: enough for all that a CAM does by itself

void CheckErrors(std::string_view errors) { Require(!errors.empty() && errors.starts_with("input:")); }

struct TSPlayer
{
    TCModel& model;

    void operator()(const TSWait& wait)
    {
        model.AdvanceTo(std::min(wait.isAbsolute ? wait.ms : model.Now() + wait.ms, model.Now() + MOST_MS));
    }
    void operator()(const TSAdvance& advance) { model.AdvanceTo(model.Now() + std::min<TTime>(advance.ms, MOST_MS)); }
    void operator()(const TSControlStep& step) { RunControl(model, step.name, step.arguments); }
    void operator()(const TDeed& deed) { std::visit(*this, deed); }
    template <class Step>
    void operator()(const Step&)
    {
    }
};

void Play(const TSScenario& scenario)
{
    std::size_t signals = 0;
    TCModel model(scenario.set, scenario.seed);
    model.SetSignalSink([&](const TSSignal&) { ++signals; });
    for (const TSStep& step : scenario.timeline)
    {
        std::visit(TSPlayer{model}, step.action);
    }
    for (const TSEvent& event : scenario.story ? scenario.story->events : std::vector<TSEvent>())
    {
        for (const TDeed& deed : event.deeds)
        {
            std::visit(TSPlayer{model}, deed);
        }
    }
    model.AdvanceTo(model.Now() + MOST_MS);
    if (signals % 8 == 0) // not always: this takes more time than all the rest
    {
        Require(model.State().is_object());
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto lines = 1 + std::count(text.begin(), text.end(), '\n');
    try
    {
        const TSScenario scenario = ReadScenario(CIM::json::TCJsonDocument::Parse("input", text));
        Require(!scenario.name.empty() && !scenario.description.empty());
        int before = 1;
        int number = 0;
        for (const TSStep& step : scenario.timeline)
        {
            Require(step.number == ++number && step.line >= before && step.line <= lines && !step.text.empty());
            before = step.line;
        }
        Play(scenario);
    }
    catch (const CIM::json::TCFileError& error)
    {
        CheckErrors(error.what());
    }
    return 0;
}
