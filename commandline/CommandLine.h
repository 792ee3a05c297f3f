#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI
{
class App;
}

namespace CIM
{
/// A command line that cannot be used; its text is for people.
class TCUsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

enum class EHowMany
{
    AT_MOST_ONE,
    ONE,
    ANY,
};

/// Where a command says which options and words it takes. What they are read into lives until the command has run.
/// Only its source knows the library that parses: that is dear to compile.
class TCCommandLine
{
public:
    using TWords = std::vector<std::string>;

    /// \param[out] behind  set to where the words behind "--" belong, by a command that keeps them apart; may be null
    explicit TCCommandLine(CLI::App& app, TWords** behind = nullptr) : m_app(&app), m_behind(behind) {}

    /// \param[in] name  with dashes; behind a '!' for a flag that clears the value
    void Flag(const std::string& name, bool& value, const std::string& help);
    /// Options with a value, at most one; the help shows which number counts without the option.
    void Option(const std::string& name, unsigned& value, const std::string& help);
    void Option(const std::string& name, std::int64_t& value, const std::string& help);
    void Option(const std::string& name, std::uint64_t& value, const std::string& help);
    void Option(const std::string& name, std::optional<std::uint64_t>& value, const std::string& help);
    void Option(const std::string& name, std::string& value, const std::string& help);
    /// An option with a value that may be given so often.
    void Option(const std::string& name, std::vector<std::string>& values, EHowMany howMany, const std::string& help);
    /// Words by their place; any number of them only behind all others.
    void Words(const std::string& name, std::vector<std::string>& values, EHowMany howMany, const std::string& help);
    /// A command to run, which begins behind "--" also where a word in front of it is left out.
    void CommandBehindDashes(const std::string& name, std::vector<std::string>& values, const std::string& help);
    /// Everything from the first word on is a word, also with dashes.
    void OptionsComeFirst();
    /// Everything from the first word that has no meaning here is left to the command.
    void LeaveTheRest();
    std::vector<std::string> Rest() const;
    /// What the help ends with.
    void Footer(const std::string& text);

private:
    CLI::App* m_app;
    TWords** m_behind;
};

/// Adds a command's options and gives what runs it once they are parsed; its result is the exit status.
using TPrepareCommand = std::function<std::function<int()>(TCCommandLine line)>;

/// One command of a program.
struct TSCommand
{
    std::string name;
    std::string help;
    TPrepareCommand prepare;
};

/// A program with commands.
struct TSProgram
{
    const char* name;
    const char* description;
    const char* version;
    const char* commandWord; ///< what its help calls a command
    /// Adds the options in front of the command.
    std::function<void(TCCommandLine line)> prepare = {};
};

/// Adds all options that stand in front of the command.
void AddProgramOptions(CLI::App& app, const TSProgram& program, bool& listsCommands);

/// Breaks the lines of a help text at 80 columns. What a line begins with stays alone on the left: what is broken goes
/// on below its description, where one begins behind two spaces or at the column, and otherwise a little further in.
std::string Wrapped(const std::string& text, std::size_t column = 0);

/// Parses the command line and runs what it asks for; prints what --help, --version and --commands ask for. Without any
/// word the help goes to standard error: it is wrong usage.
/// \return the exit status
/// \throws TCUsageError  also from the command
int RunCommandLine(const TSProgram& program, std::span<const TSCommand> commands, int argc, char** argv);

/// The same for a program without commands.
int RunCommandLine(const char* name, const char* description, const TPrepareCommand& prepare, int argc, char** argv);

/// At the end: whether all that was printed has been written.
bool IsOutputWritten();
} // namespace CIM
