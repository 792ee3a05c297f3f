#pragma once

#include <string>
#include <string_view>

namespace CIM::sim
{
/// Says lines on standard error, so that nothing in them, which may come from a CAM, an application or a file, does
/// anything to a terminal.
void Tell(std::string_view lines);

/// The first characters of a line that is harmless, as many as fit so many columns.
std::string CutToWidth(const std::string& line, unsigned columns);
} // namespace CIM::sim
