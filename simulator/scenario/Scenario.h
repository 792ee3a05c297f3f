#pragma once

#include "CallPattern.h"
#include "simulator/definition/Definition.h"
#include "simulator/faults/Fault.h"
#include "json/Document.h"

#include <variant>

namespace CIM::sim
{
constexpr unsigned DEFAULT_WITHIN_MS = 10'000;

// The steps. What bounds how long to wait for the application is real time; the rest is virtual.

struct TSWaitForCall
{
    TCCallPattern call;
    unsigned withinMs = DEFAULT_WITHIN_MS;
    bool isNext = false; ///< the very next call has to be it; subscriptions do not count
};
struct TSExpectNoCall
{
    std::optional<TCCallPattern> call; ///< none: no call at all; subscriptions do not count
    unsigned duringMs = 0;
};
struct TSWaitForSubscription
{
    ECISignalType signal = SIGNAL_CI_TYPE_BEGIN;
    EProfile profile = PROFILE_MAIN;
    unsigned short handle = 0;
    unsigned clients = 1;
    unsigned withinMs = DEFAULT_WITHIN_MS;
};
/// Until so much later, or until a time.
struct TSWait
{
    std::int64_t ms = 0;
    bool isAbsolute = false;
};
/// Moves the clock on at once, however it is driven.
struct TSAdvance
{
    std::int64_t ms = 0;
};
struct TSControlStep
{
    std::string name;
    json::TJson arguments;
};
struct TSFaultStep
{
    TSFault fault;
};
struct TSClearFaults
{
};
struct TSEnd
{
    int status = 0;
};

struct TSStep
{
    int number = 0; ///< counted from 1
    int line = 0;
    std::string text; ///< as it stands in the file, on one line
    std::variant<TSWaitForCall, TSExpectNoCall, TSWaitForSubscription, TSWait, TSAdvance, TSControlStep, TSFaultStep,
                 TSClearFaults, TSEnd>
        action;
};

/// A story: a set, and what happens to it when.
struct TSScenario
{
    std::string file;
    std::string name;
    std::string description; ///< one line
    std::uint64_t seed = 1;
    bool isManualClock = false;
    unsigned msPerCall = 0; ///< how far each call moves the manual clock; subscriptions do not
    unsigned namesAfterMs = 0;
    unsigned nameStepMs = 0;
    TSSetDefinition set;
    std::vector<TSStep> timeline;
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
