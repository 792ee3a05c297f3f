#pragma once

#include "simulator/model/Model.h"
#include "json/Json.h"

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
/// \param[in] path  what to call the arguments in an error's text
/// \return why not, when there is no such control or the set is not in a state for it; nothing has happened then
/// \throws json::TCJsonError when an argument is wrong; nothing has happened then
TSOutcome RunControl(TCModel& model, std::string_view name, const json::TJson& arguments,
                     const json::TCJsonPath& path = json::TCJsonPath());
} // namespace CIM::sim
