#pragma once

#include "json/Object.h"

#include "commandline/Nearest.h"
#include "simulator/definition/Definition.h"
#include "simulator/faults/Fault.h"
#include "simulator/model/Model.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <variant>

// What a scenario does by itself, whichever form it has.

namespace CIM::sim
{
class TCSimulatedDaemon;

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
using TDeed = std::variant<TSAdvance, TSControlStep, TSFaultStep, TSClearFaults, TSEnd>;

/// Tries controls on a set of its own, to find out what is wrong with them before anything is played.
class TCRehearsal
{
public:
    /// \param[in] set  outlives this
    TCRehearsal(const TSSetDefinition& set, std::uint64_t seed) : m_set(set), m_model(set, seed)
    {
        for (const auto& [slot, cam] : set.inserted)
        {
            m_inserted.insert(cam);
        }
    }

    void Try(const TSControlStep& step, const json::TCJsonPath& path);
    /// \throws json::TCJsonError when the set has no such slot
    void NeedSlot(std::uint64_t slot, const json::TCJsonPath& path) const;
    const TSSetDefinition& Set() const { return m_set; }

private:
    void m_NeedMenu(const std::string& menu, const json::TCJsonPath& path) const;

    const TSSetDefinition& m_set;
    TCModel m_model;
    std::set<std::string> m_inserted; ///< the CAMs that may be in a slot by now
};

/// The name and the value of what is written as an object with one member.
struct TSNamed
{
    const std::string& name;
    const json::TJson& value;
};
/// \param[in] what  what to call it in an error's text
TSNamed OneMember(const json::TJson& json, const char* what, const json::TCJsonPath& path);

std::uint32_t MsFromJson(const json::TJson& json, const json::TCJsonPath& path);
/// Milliseconds as a member of an object.
struct TSMs
{
    std::uint32_t& value;
};
void ReadJson(const json::TJson& json, TSMs& ms, const json::TCJsonPath& path);
/// ... that may be missing.
std::optional<unsigned> TakeMs(json::TCJsonObject& object, const char* name, const json::TCJsonPath& path);

bool IsDeed(std::string_view name);
/// What is done by a name, of a control or another; path is that of the value.
TDeed ReadDeed(const std::string& name, const json::TJson& value, TCRehearsal& rehearsal, const json::TCJsonPath& path);
/// All names.
TNames DeedNames();

/// Does it. \return why not, when the set is not in a state for it
TSOutcome Do(const TDeed& deed, TCSimulatedDaemon& daemon, const std::function<void(int)>& quit);
} // namespace CIM::sim
