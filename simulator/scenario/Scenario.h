#pragma once

#include "Events.h"
#include "simulator/definition/Definition.h"
#include "Steps.h"
#include "json/Document.h"

namespace CIM::sim
{
/// A set, and what happens to it when: as a timeline or as a story.
struct TSScenario
{
    std::string file;
    std::string name;
    std::string description; ///< one line
    std::string tells;       ///< a paragraph; may be empty
    std::uint64_t seed = 1;
    bool isManualClock = false;
    unsigned msPerCall = 0; ///< how far each call moves the manual clock; subscriptions do not
    TTime warmUpMs = 0;     ///< virtual time that has passed when the daemon comes
    unsigned namesAfterMs = 0;
    unsigned nameStepMs = 0;
    TSSetDefinition set;
    std::vector<TSStep> timeline;
    std::optional<TSStory> story;

    std::size_t Steps() const { return story ? story->events.size() : timeline.size(); }
};

/// Reads and checks a scenario.
/// \throws json::TCFileError with a line for each problem
TSScenario ReadScenario(const json::TCJsonDocument& file);

/// The folder with the scenarios that came with this program; and those of them that can be read, by name.
std::string ScenarioFolder();
std::vector<TSScenario> ShippedScenarios();
/// \param[in] nameOrPath  a shipped one's name; or a file, when it has a '/' or ends in ".json"
TSScenario FindScenario(const std::string& nameOrPath);
/// The text of an error about a name that none of a folder's scenarios has.
std::string NoSuchScenario(const std::string& name, const std::string& folder);
} // namespace CIM::sim
