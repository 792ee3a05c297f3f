#pragma once

#include "Deeds.h"
#include "History.h"
#include "simulator/control/Action.h"

#include <functional>
#include <map>
#include <optional>
#include <span>

// When an event of a story happens: conditions on the set and on what the application has done, each a row with typed
// parameters as the controls have them.

namespace CIM::sim
{
class TCClients;

/// What conditions look at.
struct TSScene
{
    TCModel& model;
    const TCClients& clients;
    const TSHistory& history;
};

/// A condition with its arguments. It may count what it has seen: whoever waits for it takes a copy.
struct TSCondition
{
    std::string words; ///< behind "waits ": "for ICIGeneral.EnterMenu", "until the CAM in slot 0 is ready"
    std::function<bool(const TSScene& scene)> holds;
    std::function<std::string(const TSScene& scene)> now{}; ///< how it is instead, in words; may be empty
    std::optional<TCCallPattern> call{};                    ///< the call that it is about
    std::optional<std::size_t> since{};                     ///< the event from which on it counts
};

/// Where conditions are read: what is there to refer to.
struct TSConditionReader
{
    const TCRehearsal& rehearsal;
    const std::map<std::string, std::size_t>& labels; ///< of the events before
    const json::TCJsonPath* path = nullptr;           ///< of the arguments that are being read

    void NeedSlot(unsigned slot) const { rehearsal.NeedSlot(slot, json::TCJsonPath(*path, "slot")); }
    /// The event of a label; nothing for an empty one. \throws json::TCJsonError
    std::optional<std::size_t> Event(const std::string& label, const char* member) const;
    [[noreturn]] void Refuse(const char* member, const std::string& why) const;
};

/// A kind of condition.
struct TSConditionRow
{
    const char* name;
    const char* help; ///< one line
    std::vector<TSParameter> parameters;
    TRun<TSCondition, TSConditionReader> make;
};

std::span<const TSConditionRow> ConditionRows();
std::vector<TSConditionRow> ModelConditionRows();
std::vector<TSConditionRow> HistoryConditionRows();

template <class Function, class... T>
TSConditionRow ConditionRow(const char* name, const char* help, const std::tuple<TSTyped<T>...>& parameters,
                            Function function)
{
    return {name, help, Untyped(parameters), Reading<TSCondition, TSConditionReader>(parameters, function)};
}

/// All that has to hold for an event.
struct TSWhen
{
    std::vector<TSCondition> conditions;
    std::vector<TSWhen> any; ///< one of them, unless there are none
    std::optional<std::int64_t> afterMs;
    std::optional<std::int64_t> atMs;

    bool IsTimeOnly() const { return conditions.empty() && any.empty(); }
    /// Without the time.
    bool Holds(const TSScene& scene) const;
    /// "for ICIGeneral.EnterMenu and until ..."; empty when there is nothing to wait for.
    std::string Words() const;
    /// Calls visit with each condition.
    void ForEach(const std::function<void(const TSCondition& condition)>& visit) const;
};

/// \throws json::TCJsonError
TSWhen ReadWhen(const json::TJson& json, TSConditionReader& reader, const json::TCJsonPath& path);
} // namespace CIM::sim
