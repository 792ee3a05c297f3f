#pragma once

#include "cictl/Exit.h"
#include "cictl/Program.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace CIM::cictl
{
/// The longest line of a script or of the shell.
inline constexpr std::size_t MOST_LINE_BYTES = 65'536;

/// The words of a line, as a shell splits it; none of an empty one, or of a comment. \throws TCFailure with EXIT_USAGE
std::vector<std::string> WordsOf(const std::string& line);

/// Runs one line of verb and arguments, and wipes the words. \return its exit status
int RunWords(std::vector<std::string>& words, const TCTell& tell = &PrintFailure);

struct TSLine
{
    std::string text;
    std::size_t number; ///< from 1
};

/// Runs lines until one fails. \param[in] name  of where they come from, for messages
/// \param[in] next  gives the next line, or nothing at the end
EExit RunScript(const std::string& name, const std::function<std::optional<TSLine>()>& next);

/// The lines of standard input. What a verb reads of it, such as a PIN, are the lines behind its own.
EExit RunStandardInput();
} // namespace CIM::cictl
