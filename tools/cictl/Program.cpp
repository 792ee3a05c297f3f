#include "cictl/Program.h"

#include "cictl/Candidates.h"
#include "cictl/Host.h"
#include "cictl/Output.h"
#include "cictl/SecretWords.h"
#include "cictl/Verb.h"
#include "cictl/Worker.h"
#include "commandline/Manual.h"

#include <algorithm>
#include <memory>
#include <string_view>

namespace CIM::cictl
{
namespace
{
void AddArgument(TCCommandLine& line, const TSArgument& argument, TCArguments& arguments)
{
    const std::string name = argument.name;
    switch (argument.kind)
    {
    case EArgument::NEEDED:
        return line.Words(name, arguments.values[name], EHowMany::ONE, argument.help);
    case EArgument::OPTIONAL:
        return line.Words(name, arguments.values[name], EHowMany::AT_MOST_ONE, argument.help);
    case EArgument::MANY:
        return line.Words(name, arguments.values[name], EHowMany::ANY, argument.help);
    case EArgument::FLAG:
        return line.Flag("--" + name, arguments.flags[name], argument.help);
    case EArgument::OPTION:
        return line.Option("--" + name, arguments.values[name], EHowMany::AT_MOST_ONE, argument.help);
    case EArgument::OPTIONS:
        return line.Option("--" + name, arguments.values[name], EHowMany::ANY, argument.help);
    }
}

std::string ExitTable()
{
    std::string text = "Exit status:";
    for (const TSExit& exit : Exits())
    {
        const std::string number = std::to_string(exit.status);
        text += "\n  " + number + std::string(5 - number.size(), ' ') + exit.help;
    }
    return text;
}

TManualTable ManualExits()
{
    TManualTable table;
    for (const TSExit& exit : Exits())
    {
        table.push_back({std::to_string(exit.status), exit.name, exit.help});
    }
    return table;
}

// The verbs as commands. What the options are read into lives as long as these do.
struct TSTable
{
    std::vector<TSCommand> commands;
    TSProgram program;
};

TSTable MakeTable(std::vector<std::string>& host)
{
    std::vector<TSCommand> commands;
    for (const TSVerb& verb : Verbs())
    {
        const auto prepare = [&verb, &host](TCCommandLine line) -> std::function<int()>
        {
            auto arguments = std::make_shared<TCArguments>();
            for (const TSArgument& argument : verb.arguments)
            {
                AddArgument(line, argument, *arguments);
            }
            return [&verb, &host, arguments]
            {
                if (!host.empty())
                {
                    UseHost(host.front());
                }
                return verb.handler(*arguments);
            };
        };
        commands.push_back({verb.name, verb.help, prepare});
    }
    const auto prepareProgram = [&host](TCCommandLine line)
    {
        line.Option("-H,--host", host, EHowMany::AT_MOST_ONE,
                    "[USER@]HOST: the bus of that machine, through ssh and systemd-stdio-bridge");
        line.Footer(ExitTable());
    };
    return {std::move(commands),
            {"cictl", "Talks to the CI daemon: slots, CAMs and their menus, and every operation of the CI library.",
             CIAPI_VERSION, "verb", prepareProgram}};
}

int Run(int argc, char** argv)
{
    if (argc == 3 && std::string_view(argv[1]) == "--serve-shell")
    {
        return ServeShell(argv[2]);
    }
    std::vector<std::string> host;
    const TSTable table = MakeTable(host);
    if (AnswerManual(argc, argv, table.program, table.commands, {{"exits", &ManualExits}}))
    {
        return EXIT_ANSWERED;
    }
    return CIM::RunCommandLine(table.program, table.commands, argc, argv);
}

} // namespace

int RunCommandLine(int argc, char** argv, const TCTell& tell)
{
    if (AnswerCompletion(argc, argv, [](std::span<const std::string> words) { return CompleteWords(words); }))
    {
        return EXIT_ANSWERED;
    }
    HideSecretWords(argc, argv);
    // Known before the command line is parsed, which may fail. No verb takes this word for anything else.
    const bool asJson = std::find(argv + 1, argv + std::max(argc, 1), std::string_view("--json")) != argv + argc;
    const auto fail = [&](EExit status, const std::string& message)
    {
        tell(status, message, asJson);
        return status;
    };
    int status = EXIT_ANSWERED;
    try
    {
        status = Run(argc, argv);
    }
    catch (const TCFailure& failure)
    {
        status = fail(failure.Status(), failure.what());
    }
    catch (const TCUsageError& error)
    {
        status = fail(EXIT_USAGE, std::string(error.what()) + " (see cictl --help)");
    }
    catch (const json::TCJsonError& error)
    {
        status = fail(EXIT_USAGE, error.what());
    }
    catch (const std::exception& error)
    {
        status = fail(EXIT_REFUSED, error.what());
    }
    if (!IsOutputWritten())
    {
        status = EXIT_REFUSED;
        tell(EXIT_REFUSED, "cannot write to standard output", false); // where the JSON would have gone
    }
    return status;
}

TCandidates CompleteWords(std::span<const std::string> words)
{
    while (words.size() > 2 && (words.front() == "-H" || words.front() == "--host"))
    {
        words = words.subspan(2);
    }
    std::vector<std::string> host;
    const TSTable table = MakeTable(host);
    TCandidates found = Complete(table.program, table.commands, words, &VerbCandidates);
    if (words.size() == 1 && std::string_view("-H").starts_with(words.front()))
    {
        found.push_back({"-H", "[USER@]HOST: the bus of that machine"});
    }
    return found;
}
} // namespace CIM::cictl
