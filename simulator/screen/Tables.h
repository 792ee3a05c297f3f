#pragma once

#include <string>

namespace CIM::sim
{
/// What the page makes its forms from, as JSON: {"verbs": [...], "faults": [...], "operations": [...]}.
std::string FormTables();
} // namespace CIM::sim
