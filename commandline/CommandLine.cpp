#include "CommandLine.h"

#include "Nearest.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>

namespace CIM
{
namespace
{
constexpr std::size_t HELP_WIDTH = 80;
constexpr std::size_t HELP_COLUMN = 26; ///< of what an option means

// Where what is broken off a line goes on.
std::size_t HangingIndent(const std::string& line, std::size_t column)
{
    const std::size_t begin = std::min(line.find_first_not_of(' '), line.size());
    const std::size_t gap = line.find("  ", begin);
    if (column > 0 && line.size() > column && line[column] != ' ' && line[column - 1] == ' ' && begin < column)
    {
        return column;
    }
    const std::size_t described = gap == line.npos ? line.npos : line.find_first_not_of(' ', gap);
    if (described != line.npos && described <= HELP_WIDTH / 2)
    {
        return described;
    }
    const bool isUsage = line.starts_with("Usage: ") || line.starts_with("usage: ");
    return isUsage ? 7 : begin;
}

/// The parser takes -1, also behind a blank, for the greatest number, and a greater one for that, too.
std::string WhyNoNumber(const std::string& given)
{
    errno = 0;
    std::strtoull(given.c_str(), nullptr, 0);
    const bool begins = !given.empty() && given.front() >= '0' && given.front() <= '9';
    return !begins || errno == ERANGE ? given + " is no number from 0 to 18446744073709551615" : "";
}

template <class T>
CLI::Option* AddNumber(CLI::App& app, const std::string& name, T& value, const std::string& help)
{
    return app.add_option(name, value, help)->capture_default_str();
}

/// As for any other wrong usage.
constexpr int EXIT_WITHOUT_COMMAND = 2;

/// What the parser has not understood, and the option that was probably meant.
std::string TextOf(const CLI::ParseError& error, const CLI::App& app)
{
    std::string text = error.what();
    text.resize(std::min(text.find('\n'), text.size()));
    if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::ExtrasError))
    {
        return text;
    }
    // The parser's text has them backwards.
    const std::vector<std::string> extras = app.remaining(true);
    text = extras.size() == 1 ? "this argument is not expected:" : "these arguments are not expected:";
    for (const std::string& extra : extras)
    {
        text += " " + extra;
    }
    const auto option =
        std::find_if(extras.begin(), extras.end(), [](const std::string& extra) { return extra.starts_with("--"); });
    if (option == extras.end())
    {
        return text;
    }
    const std::string wrong = option->substr(0, option->find('='));
    const auto used = app.get_subcommands();
    std::vector<std::string> names;
    for (const CLI::Option* const option : (used.empty() ? app : *used.front()).get_options())
    {
        for (const std::string& name : option->get_lnames())
        {
            names.push_back("--" + name);
        }
    }
    return text + DidYouMean(wrong, {names.begin(), names.end()});
}
} // namespace

std::string Wrapped(const std::string& text, std::size_t column)
{
    std::string wrapped;
    std::size_t begin = 0;
    while (begin < text.size())
    {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        std::string line = text.substr(begin, end - begin);
        begin = end + 1;
        const std::size_t indent = HangingIndent(line, column);
        while (line.size() > HELP_WIDTH)
        {
            std::size_t space = line.rfind(' ', HELP_WIDTH);
            if (space == line.npos || space <= indent)
            {
                space = line.find(' ', HELP_WIDTH); // a word that is longer than the line
            }
            if (space == line.npos)
            {
                break;
            }
            wrapped += line.substr(0, line.find_last_not_of(' ', space) + 1) + '\n';
            line = std::string(indent, ' ') + line.substr(line.find_first_not_of(' ', space));
        }
        wrapped += line + '\n';
    }
    return wrapped;
}

void TCCommandLine::Flag(const std::string& name, bool& value, const std::string& help)
{
    m_app->add_flag(name, value, help);
}

void TCCommandLine::Option(const std::string& name, unsigned& value, const std::string& help)
{
    AddNumber(*m_app, name, value, help);
}

void TCCommandLine::Option(const std::string& name, std::int64_t& value, const std::string& help)
{
    AddNumber(*m_app, name, value, help);
}

void TCCommandLine::Option(const std::string& name, std::uint64_t& value, const std::string& help)
{
    AddNumber(*m_app, name, value, help)->check(WhyNoNumber);
}

void TCCommandLine::Option(const std::string& name, std::optional<std::uint64_t>& value, const std::string& help)
{
    m_app->add_option(name, value, help)->check(WhyNoNumber);
}

void TCCommandLine::Option(const std::string& name, std::string& value, const std::string& help)
{
    m_app->add_option(name, value, help);
}

void TCCommandLine::Option(const std::string& name, std::vector<std::string>& values, EHowMany howMany,
                           const std::string& help)
{
    CLI::Option* const option = m_app->add_option(name, values, help)->expected(1)->allow_extra_args(false);
    option->required(howMany == EHowMany::ONE);
    if (howMany == EHowMany::ANY)
    {
        option->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    }
}

void TCCommandLine::Words(const std::string& name, std::vector<std::string>& values, EHowMany howMany,
                          const std::string& help)
{
    CLI::Option* const words = m_app->add_option(name, values, help);
    if (howMany != EHowMany::ANY)
    {
        words->expected(1)->allow_extra_args(false)->required(howMany == EHowMany::ONE);
    }
}

void TCCommandLine::CommandBehindDashes(const std::string& name, std::vector<std::string>& values,
                                        const std::string& help)
{
    Words(name, values, EHowMany::ANY, help);
    if (m_behind != nullptr)
    {
        *m_behind = &values;
    }
}

void TCCommandLine::OptionsComeFirst() { m_app->positionals_at_end(); }

void TCCommandLine::LeaveTheRest() { m_app->prefix_command(); }

std::vector<std::string> TCCommandLine::Rest() const { return m_app->remaining(); }

void TCCommandLine::Footer(const std::string& text) { m_app->footer(text); }

void AddProgramOptions(CLI::App& app, const TSProgram& program, bool& listsCommands)
{
    if (program.prepare)
    {
        program.prepare(TCCommandLine(app));
    }
    app.set_version_flag("--version", program.version);
    app.add_flag("--commands", listsCommands, std::string("print the names of the ") + program.commandWord + "s");
}

namespace
{
/// Prints what --help and --version ask for. \param listsCommands  that --commands is there counts more than an error
/// \return the exit status when that was all
std::optional<int> Parse(CLI::App& app, int argc, char** argv, const bool* listsCommands = nullptr)
{
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::CallForHelp&)
    {
        std::printf("%s", Wrapped(app.help(), HELP_COLUMN).c_str());
        return 0;
    }
    catch (const CLI::Success& wish) // --version
    {
        return app.exit(wish);
    }
    catch (const CLI::ParseError& error)
    {
        if (listsCommands == nullptr || !*listsCommands)
        {
            throw TCUsageError(TextOf(error, app));
        }
    }
    return std::nullopt;
}
} // namespace

int RunCommandLine(const TSProgram& program, std::span<const TSCommand> commands, int argc, char** argv)
{
    const std::string first = argc > 1 ? argv[1] : "-";
    if (!first.starts_with('-') &&
        std::none_of(commands.begin(), commands.end(), [&](const TSCommand& command) { return first == command.name; }))
    {
        throw TCUsageError(
            std::string("there is no ") + program.commandWord + " \"" + first + '"' +
            DidYouMean(first,
                       NamesOf(commands, [](const TSCommand& command) -> const std::string& { return command.name; })));
    }
    CLI::App app(program.description, program.name);
    app.get_formatter()->column_width(HELP_COLUMN);
    bool listsCommands = false;
    AddProgramOptions(app, program, listsCommands);
    app.require_subcommand(1, 1);
    std::function<int()> run;
    TCCommandLine::TWords* behind = nullptr;
    for (const TSCommand& command : commands)
    {
        CLI::App* const sub = app.add_subcommand(command.name, command.help);
        TCCommandLine::TWords* its = nullptr;
        sub->callback([&run, prepared = command.prepare(TCCommandLine(*sub, &its))] { run = prepared; });
        behind = first == command.name ? its : behind;
    }
    if (behind != nullptr)
    {
        char** const dashes = std::find(argv, argv + argc, std::string_view("--"));
        behind->assign(std::min(dashes + 1, argv + argc), argv + argc);
        argc = static_cast<int>(dashes - argv);
    }
    if (argc < 2)
    {
        std::fprintf(stderr, "%s", Wrapped(app.help(), HELP_COLUMN).c_str());
        return EXIT_WITHOUT_COMMAND;
    }
    if (const std::optional<int> status = Parse(app, argc, argv, &listsCommands))
    {
        return *status;
    }
    if (listsCommands)
    {
        for (const TSCommand& command : commands)
        {
            std::printf("%s\n", command.name.c_str());
        }
        return 0;
    }
    return run();
}

int RunCommandLine(const char* name, const char* description, const TPrepareCommand& prepare, int argc, char** argv)
{
    CLI::App app(description, name);
    app.get_formatter()->column_width(HELP_COLUMN);
    const std::function<int()> run = prepare(TCCommandLine(app));
    const std::optional<int> status = Parse(app, argc, argv);
    return status ? *status : run();
}

bool IsOutputWritten()
{
    std::cout.flush();
    return std::cout && std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}
} // namespace CIM
