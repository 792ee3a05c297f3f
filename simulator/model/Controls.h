#pragma once

#include "Model.h"

#include <string>
#include <string_view>
#include <vector>

namespace CIM::sim
{
/// One thing that can be done to a set by name: by hand, from a shell, from a scenario.
struct TSControl
{
    std::string_view name;
    std::string_view parameters; ///< for people: "slot [menu]", optional ones in brackets
    std::string_view help;       ///< one line
};

/// All of them, in the order in which a person would look for them.
std::vector<TSControl> Controls();

/// Does one. The arguments are a JSON object with the parameters as members. Common to several: "slot" (default 0);
/// "profile" and "handle", the TV pipeline (default PROFILE_MAIN and 0).
/// \return why not, when the name or an argument is wrong, or the set is not in a state for it; nothing has happened
///         then
TSOutcome RunControl(TCModel& model, std::string_view name, const nlohmann::json& arguments);
} // namespace CIM::sim
