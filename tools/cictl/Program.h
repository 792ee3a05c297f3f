#pragma once

#include "cictl/Output.h"
#include "commandline/Completion.h"

#include <functional>
#include <span>
#include <string>

namespace CIM::cictl
{
/// Tells what went wrong, as PrintFailure does.
using TCTell = std::function<void(EExit status, const std::string& message, bool asJson)>;

/// Runs one command line, whose first word is the program's name, and tells what goes wrong. Any number of times in a
/// process. \return its exit status
int RunCommandLine(int argc, char** argv, const TCTell& tell = &PrintFailure);

/// What may stand in the place of the last word. \param[in] words  without the program's name
TCandidates CompleteWords(std::span<const std::string> words);
} // namespace CIM::cictl
