#pragma once

#include <nlohmann/json_fwd.hpp>

namespace CIM::json
{
/// JSON whose members keep the order in which they were written.
using TJson = nlohmann::ordered_json;
} // namespace CIM::json
