#pragma once

#include "commandline/Completion.h"

#include <span>
#include <string>

namespace CIM::cictl
{
/// Runs one command line, whose first word is the program's name, and tells what goes wrong. Any number of times in a
/// process. \return its exit status
int RunCommandLine(int argc, char** argv);

/// What may stand in the place of the last word. \param[in] words  without the program's name
TCandidates CompleteWords(std::span<const std::string> words);
} // namespace CIM::cictl
