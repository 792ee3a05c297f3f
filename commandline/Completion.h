#pragma once

#include "commandline/CommandLine.h"

#include <functional>
#include <span>
#include <string>
#include <vector>

// What shells and cictl's own shell ask for while somebody types. The shells' scripts know nothing of a program but this.

namespace CIM
{
/// What may stand in the place of the word that is being typed. One that ends with one of "=/.:,@" goes on.
struct TSCandidate
{
    std::string word;
    std::string help; ///< for shells that show it; may be empty
};
using TCandidates = std::vector<TSCandidate>;

/// The place that is being typed at.
struct TSPlace
{
    std::string command;            ///< as the table has it
    std::string option;             ///< whose value it is, without dashes; empty: it is a word by its place
    std::vector<std::string> words; ///< the words by their places in front of it, behind the command
    std::string typed;              ///< what is there of the word itself
};

/// Candidates for a place that is neither a command nor the name of an option.
using TCValues = std::function<TCandidates(const TSPlace& place)>;

/// \param[in] words  of the command line without the program's name; the last is the one at the cursor, perhaps empty
/// \return those that begin with what is typed
TCandidates Complete(const TSProgram& program, std::span<const TSCommand> commands, std::span<const std::string> words,
                     const TCValues& values);

/// Files and folders. \param[in] typed  beginning of a path \param[in] prefix  what stands in front of it in the word
TCandidates FileCandidates(const std::string& typed, const std::string& prefix = {});

/// An option that no help shows: whether the command line is "--complete WORD...". Then prints the candidates, a
/// line each: word, tabulator, help.
bool AnswerCompletion(int argc, char** argv,
                      const std::function<TCandidates(std::span<const std::string> words)>& complete);
} // namespace CIM
