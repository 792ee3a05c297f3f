#include "Manual.h"

#include <CLI/CLI.hpp>

#include <cctype>
#include <cstdio>
#include <memory>
#include <string_view>

namespace CIM
{
namespace
{
// Text that scdoc takes for no markup. A dot at the beginning of a line it guards by itself, without a backslash.
std::string Escaped(std::string_view text)
{
    std::string escaped;
    for (const char c : text)
    {
        if (std::string_view("\\*_#-[]|<>+`").find(c) != std::string_view::npos)
        {
            escaped += '\\';
        }
        escaped += c == '\n' ? ' ' : c;
    }
    return escaped;
}

std::string Bold(std::string_view text) { return text.empty() ? "" : "*" + Escaped(text) + "*"; }
std::string Underlined(std::string_view text) { return text.empty() ? "" : "_" + Escaped(text) + "_"; }

// What a help text says of a command, as a sentence that stands alone.
std::string Sentence(std::string text)
{
    if (!text.empty())
    {
        text.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(text.front())));
        text += std::ispunct(static_cast<unsigned char>(text.back())) != 0 && text.back() != ')' ? "" : ".";
    }
    return text;
}

void Print(const TManualTable& table, const std::string& indent = {})
{
    for (const TSManualRow& row : table)
    {
        const char* const gap = row.name.empty() || row.values.empty() ? "" : " ";
        std::printf("%s%s%s%s\n", indent.c_str(), Bold(row.name).c_str(), gap, Underlined(row.values).c_str());
        std::printf("%s\t%s\n\n", indent.c_str(), Escaped(row.text).c_str());
        Print(row.inner, indent + "\t");
    }
}

/// What a command, or the program in front of it, takes.
class TCTaken
{
public:
    TCTaken(const CLI::App& app)
    {
        for (const CLI::Option* const option : app.get_options())
        {
            m_Take(*option);
        }
    }

    const TManualTable& Words() const { return m_words; }
    const TManualTable& Options() const { return m_options; }
    const std::string& Usage() const { return m_usage; }

private:
    void m_Take(const CLI::Option& option)
    {
        const bool isMany =
            option.get_expected_max() > 1 || option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
        if (option.get_positional())
        {
            const std::string name = option.get_name() + (isMany ? "..." : "");
            m_words.push_back({"", option.get_name(), option.get_description()});
            m_usage += " " + (option.get_required() ? Underlined(name) : "\\[" + Underlined(name) + "\\]");
            return;
        }
        std::string names;
        for (const std::string& name : option.get_snames())
        {
            names += (names.empty() ? "-" : ", -") + name;
        }
        for (const std::string& name : option.get_lnames())
        {
            names += (names.empty() ? "--" : ", --") + name;
        }
        const std::string initial = option.get_default_str();
        std::string text = option.get_description();
        if (!initial.empty())
        {
            text.append(" [").append(initial).append("]");
        }
        const bool takesValue = option.get_items_expected_max() > 0;
        m_options.push_back({names, takesValue ? option.get_type_name() : "", std::move(text)});
    }

    TManualTable m_words;
    TManualTable m_options;
    std::string m_usage;
};

void PrintCommands(const TSProgram& program, std::span<const TSCommand> commands)
{
    for (const TSCommand& command : commands)
    {
        CLI::App app;
        app.set_help_flag();
        const std::function<int()> run = command.prepare(TCCommandLine(app)); // owns what the options are read into
        const TCTaken taken(app);
        std::printf("## %s\n\n%s%s%s\n\n%s\n\n", command.name.c_str(),
                    Bold(std::string(program.name) + " " + command.name).c_str(),
                    taken.Options().empty() ? "" : (" \\[" + Underlined("options") + "\\]").c_str(),
                    taken.Usage().c_str(), Escaped(Sentence(command.help)).c_str());
        Print(taken.Words());
        Print(taken.Options());
    }
}

void PrintOptions(const TSProgram& program)
{
    CLI::App app;
    bool listsCommands = false;
    AddProgramOptions(app, program, listsCommands);
    Print(TCTaken(app).Options());
}
} // namespace

bool AnswerManual(int argc, char** argv, const TSProgram& program, std::span<const TSCommand> commands,
                  const std::map<std::string, std::function<TManualTable()>>& others)
{
    if (argc != 3 || std::string_view(argv[1]) != "--manual")
    {
        return false;
    }
    const std::string name = argv[2];
    if (name == "commands")
    {
        PrintCommands(program, commands);
    }
    else if (name == "options")
    {
        PrintOptions(program);
    }
    else if (const auto other = others.find(name); other != others.end())
    {
        Print(other->second());
    }
    else
    {
        throw TCUsageError("the manual has no table \"" + name + '"');
    }
    return true;
}
} // namespace CIM
