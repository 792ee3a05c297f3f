#include "Scenarios.h"

#include "simulator/definition/DefinitionJson.h"

#include <dlfcn.h>
#include <filesystem>
#include <stdexcept>

namespace CIM::test
{
namespace
{
const char g_inThisLibrary = 0;

/// The file of a shipped scenario: it lies where this library was installed, or in the tree where it was built.
std::filesystem::path FileOf(const std::string& name)
{
    Dl_info info{};
    dladdr(&g_inThisLibrary, &info);
    const auto library = std::filesystem::absolute(info.dli_fname).parent_path();
    const auto installed = library / DATA_FROM_LIBRARY / "scenarios" / (name + ".json");
    const auto built = library / ".." / "share" / "ciapi" / "scenarios" / (name + ".json");
    return std::filesystem::exists(installed) ? installed : built;
}

sim::TSScenario LoadScenario(const std::string& nameOrPath)
{
    std::filesystem::path file = nameOrPath;
    if (nameOrPath.find('/') == std::string::npos && file.extension() != ".json")
    {
        file = FileOf(nameOrPath);
        if (!std::filesystem::exists(file))
        {
            throw std::invalid_argument(sim::NoSuchScenario(nameOrPath, file.parent_path().string()));
        }
    }
    try
    {
        return sim::ReadScenario(json::TCJsonDocument::Load(file.lexically_normal().string()));
    }
    catch (const json::TCFileError& error)
    {
        throw std::invalid_argument(error.what());
    }
}

sim::TSSetDefinition ParseSet(const std::string& text)
{
    try
    {
        const json::TCJsonDocument file = json::TCJsonDocument::Parse("set", text);
        try
        {
            return json::FromJson<sim::TSSetDefinition>(file.Root());
        }
        catch (const json::TCJsonError& error)
        {
            throw json::TCFileError(file, {error});
        }
    }
    catch (const json::TCFileError& error)
    {
        throw std::invalid_argument(error.what());
    }
}
} // namespace

sim::TSScenario ScenarioOf(const TSOptions& options)
{
    if (!options.scenario.empty())
    {
        if (!options.set.empty())
        {
            throw std::invalid_argument("a scenario brings its own set: give one of both");
        }
        return LoadScenario(options.scenario);
    }
    sim::TSScenario scenario;
    scenario.set = options.set.empty() ? sim::DefaultSet() : ParseSet(options.set);
    scenario.seed = options.seed;
    scenario.isManualClock = options.isManualClock;
    return scenario;
}
} // namespace CIM::test
