#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace CIM::json
{
/// Makes a text that came from elsewhere safe for a terminal: control characters become "\x1b" and the like, and bytes
/// that are not UTF-8 the replacement character. Reentrant.
std::string Harmless(std::string_view text);

/// How many characters a text in UTF-8 has. Reentrant.
std::size_t CharactersOf(std::string_view utf8);
/// The beginning of a text in UTF-8: no more than so many characters, and "..." in the place of the rest. Reentrant.
std::string Shortened(std::string_view utf8, std::size_t mostCharacters);
} // namespace CIM::json
