#pragma once

#include "Action.h"
#include "simulator/model/Model.h"

#include <span>
#include <string_view>

namespace CIM::sim
{
/// One thing that can be done to a set by name: by hand, from a shell, from a scenario, over the bus.
struct TSControl
{
    const char* name; ///< in a scenario
    const char* verb; ///< as a D-Bus method
    const char* help; ///< one line
    std::vector<TSParameter> parameters;
    /// Gives why not, when the set is not in a state for it; nothing has happened then.
    TRun<TSOutcome, TCModel> run;
};

/// All of them, in the order in which a person would look for them.
std::span<const TSControl> Controls();
/// \return null when there is none of that name
const TSControl* FindControl(std::string_view name);

/// Does one. The arguments are a JSON object with the parameters as members, or null for none.
/// \param[in] path  what to call the arguments in an error's text
/// \return why not, when there is no such control or the set is not in a state for it; nothing has happened then
/// \throws json::TCJsonError when an argument is wrong; nothing has happened then
TSOutcome RunControl(TCModel& model, std::string_view name, const json::TJson& arguments,
                     const json::TCJsonPath& path = json::TCJsonPath());
} // namespace CIM::sim
