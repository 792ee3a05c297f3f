#pragma once

#include <string>
#include <string_view>

namespace CIM::json
{
/// Makes a text that came from elsewhere safe for a terminal: control characters become "\x1b" and the like, and bytes
/// that are not UTF-8 the replacement character. Reentrant.
std::string Harmless(std::string_view text);
} // namespace CIM::json
