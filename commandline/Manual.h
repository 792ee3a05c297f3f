#pragma once

#include "commandline/CommandLine.h"

#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

// What the manual pages have of a program's tables. The pages are written by hand in docs/man; where a table is to stand,
// scripts/manual-page.sh asks the program for it.

namespace CIM
{
/// A row of a table: what is typed, and what it means.
struct TSManualRow
{
    std::string name;     ///< to be typed as it is
    std::string values{}; ///< what is put in behind it
    std::string text{};
    std::vector<TSManualRow> inner{}; ///< what belongs to it
};
using TManualTable = std::vector<TSManualRow>;

/// An option that no help shows: whether the command line is "--manual TABLE". Then
/// prints that table in the language of scdoc: "commands" with the options and words of each, "options" in front of the
/// command, or one of the others.
/// \throws TCUsageError  there is no such table
bool AnswerManual(int argc, char** argv, const TSProgram& program, std::span<const TSCommand> commands,
                  const std::map<std::string, std::function<TManualTable()>>& others);
} // namespace CIM
