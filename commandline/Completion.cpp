#include "Completion.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string_view>

namespace CIM
{
namespace
{
// A line of it: the clause that comes first.
std::string Brief(const std::string& help)
{
    std::size_t end = help.find_first_of(";\n");
    for (const std::string_view stop : {". ", ": "})
    {
        end = std::min(end, help.find(stop));
    }
    return help.substr(0, end);
}

/// The options of a command, as the library that parses knows them.
class TCOptions
{
public:
    TCOptions(const TSProgram& program, const TSCommand& command)
        : m_app(std::make_unique<CLI::App>(program.description, program.name)),
          m_command(m_app->add_subcommand(command.name, command.help)),
          m_run(command.prepare(TCCommandLine(*m_command)))
    {
    }

    /// \param[in] word  with dashes
    bool TakesValue(const std::string& word) const
    {
        const auto options = const_cast<const CLI::App*>(m_command)->get_options();
        return std::any_of(options.begin(), options.end(),
                           [&](const CLI::Option* option)
                           { return option->check_name(word) && option->get_items_expected_min() > 0; });
    }

    /// Whether options stand only in front of the words by their places.
    bool ComeFirst() const { return m_command->get_positionals_at_end() || m_command->get_prefix_command(); }

    TCandidates Names() const
    {
        TCandidates names;
        for (const CLI::Option* option : const_cast<const CLI::App*>(m_command)->get_options())
        {
            if (!option->get_positional() && !option->get_lnames().empty())
            {
                names.push_back({"--" + option->get_lnames().front(), Brief(option->get_description())});
            }
        }
        return names;
    }

private:
    std::unique_ptr<CLI::App> m_app;
    CLI::App* m_command;
    std::function<int()> m_run; ///< owns what the options are read into
};

TCandidates CommandNames(const TSProgram& program, std::span<const TSCommand> commands)
{
    TCandidates names;
    for (const TSCommand& command : commands)
    {
        names.push_back({command.name, Brief(command.help)});
    }
    names.push_back({"--help", "print the help"});
    names.push_back({"--version", std::string("print the version of ") + program.name});
    return names;
}

TCandidates ForCommand(const TSProgram& program, const TSCommand& command, std::span<const std::string> words,
                       const TCValues& values)
{
    const TCOptions options(program, command);
    TSPlace place{command.name, {}, {}, words.back()};
    bool isBehindDashes = false;
    for (std::size_t i = 0; i + 1 < words.size(); ++i)
    {
        const std::string& word = words[i];
        const bool isOption = word.starts_with('-') && word.size() > 1 && !isBehindDashes &&
                              !(options.ComeFirst() && !place.words.empty());
        if (!isOption)
        {
            place.words.push_back(word);
        }
        else if (word == "--")
        {
            isBehindDashes = true;
        }
        else if (options.TakesValue(word))
        {
            if (i + 2 == words.size()) // its value is what is typed
            {
                place.option = word.substr(word.find_first_not_of('-'));
            }
            ++i;
        }
    }
    if (isBehindDashes) // a command of its own
    {
        return FileCandidates(place.typed);
    }
    const std::size_t sign = place.typed.find('=');
    if (place.option.empty() && !isBehindDashes && place.typed.starts_with('-') &&
        !(options.ComeFirst() && !place.words.empty()))
    {
        if (sign == place.typed.npos || !options.TakesValue(place.typed.substr(0, sign)))
        {
            return options.Names();
        }
        place.option = place.typed.substr(2, sign - 2);
        const std::string name = place.typed.substr(0, sign + 1);
        place.typed.erase(0, sign + 1);
        TCandidates found = values(place);
        for (TSCandidate& candidate : found)
        {
            candidate.word.insert(0, name);
        }
        return found;
    }
    return values(place);
}
} // namespace

TCandidates Complete(const TSProgram& program, std::span<const TSCommand> commands, std::span<const std::string> words,
                     const TCValues& values)
{
    TCandidates found;
    if (words.empty())
    {
        return found;
    }
    const auto named = std::find_if(commands.begin(), commands.end(),
                                    [&](const TSCommand& command) { return command.name == words.front(); });
    if (words.size() == 1)
    {
        found = CommandNames(program, commands);
    }
    else if (named != commands.end())
    {
        found = ForCommand(program, *named, words.subspan(1), values);
    }
    std::erase_if(found, [&](const TSCandidate& candidate) { return !candidate.word.starts_with(words.back()); });
    return found;
}

TCandidates FileCandidates(const std::string& typed, const std::string& prefix)
{
    const std::size_t slash = typed.rfind('/');
    const std::string folder = slash == typed.npos ? "" : typed.substr(0, slash + 1);
    const std::string start = typed.substr(folder.size());
    TCandidates found;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder.empty() ? "." : folder, error), end; !error && entry != end;
         entry.increment(error))
    {
        const std::string name = entry->path().filename().string();
        std::error_code ignored;
        if (name.starts_with(start) && (name.front() != '.' || start.starts_with('.')) &&
            name.find_first_of("\t\n") == name.npos)
        {
            found.push_back({prefix + folder + name + (entry->is_directory(ignored) ? "/" : ""), ""});
        }
    }
    std::sort(found.begin(), found.end(), [](const auto& one, const auto& other) { return one.word < other.word; });
    return found;
}

bool AnswerCompletion(int argc, char** argv,
                      const std::function<TCandidates(std::span<const std::string> words)>& complete)
{
    if (argc < 2 || std::string_view(argv[1]) != "--complete")
    {
        return false;
    }
    try
    {
        const std::vector<std::string> words(argv + 2, argv + argc);
        for (const TSCandidate& candidate : complete(words))
        {
            std::printf("%s\t%s\n", candidate.word.c_str(), candidate.help.c_str());
        }
    }
    catch (const std::exception&) // whoever types is not to be disturbed
    {
    }
    return true;
}
} // namespace CIM
