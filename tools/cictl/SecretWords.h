#pragma once

#include "cictl/Terminal.h"
#include "json/OperationForm.h"
#include "json/Secret.h"

#include <span>
#include <string>
#include <string_view>

namespace CIM::cictl
{
using json::TJson;

/// Secrets that are words of the command line, which everybody on the machine can read in /proc: takes them out of it.
/// In their place stand asterisks, for the process and for who looks at it. To be called before anything else is done with
/// a command line; what another one had is forgotten.
void HideSecretWords(int argc, char** argv);

/// Whether words, the first of which is a verb, hold a secret that is spelled out, or might: those of an unknown verb
/// count when any of them has a secret's name.
bool MayHoldSecret(std::span<const std::string> words);

/// What stood in the place of a hidden word. \param[in] name  of the argument
json::TCSecret WordBehind(const std::string& name, const std::string& word);

/// Whether a word in the place of a secret only tells where the secret is.
bool IsPointer(std::string_view word);

/// Reads secrets from where they do not stand on a command line.
class TCSecretInput
{
public:
    /// A line of standard input; a terminal asks for it and does not show it. \throws TCFailure when there is none
    json::TCSecret Line(const std::string& prompt);
    /// What the word of a secret argument stands for: - for a line of standard input, @FILE for the first line of a
    /// file, @@TEXT for a text that begins with '@', -- for the text "-", and anything else for itself.
    /// \throws TCFailure
    TJson Value(const json::TSParameter& parameter, const json::TCSecret& word);
};

/// The first line of a file. \throws TCFailure when it cannot be read, is too large, or the line is empty
json::TCSecret FirstLineOf(const std::string& path);
} // namespace CIM::cictl
