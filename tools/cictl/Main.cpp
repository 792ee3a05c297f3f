#include "cictl/Output.h"
#include "cictl/SecretWords.h"
#include "cictl/Verb.h"

#include "commandline/CommandLine.h"

#include <cstdio>
#include <memory>

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

EExit Fail(EExit status, const std::string& message)
{
    std::fprintf(stderr, "cictl: %s\n", Harmless(message).c_str());
    return status;
}

int Run(int argc, char** argv)
{
    std::vector<TSCommand> commands;
    for (const TSVerb& verb : Verbs())
    {
        const auto prepare = [&verb](TCCommandLine line) -> std::function<int()>
        {
            auto arguments = std::make_shared<TCArguments>();
            for (const TSArgument& argument : verb.arguments)
            {
                AddArgument(line, argument, *arguments);
            }
            return [&verb, arguments] { return verb.handler(*arguments); };
        };
        commands.push_back({verb.name, verb.help, prepare});
    }
    const int status =
        RunCommandLine({"cictl",
                        "Talks to the CI daemon: slots, CAMs and their menus, and every operation of the CI library.\n"
                        "Exit status: 0 answered, 1 refused, 2 wrong usage, 3 no daemon or no CI.",
                        CIAPI_VERSION, "verb"},
                       commands, argc, argv);
    return IsOutputWritten() ? status : Fail(EXIT_REFUSED, "cannot write to standard output");
}
} // namespace
} // namespace CIM::cictl

int main(int argc, char** argv)
{
    using namespace CIM::cictl;
    HideSecretWords(argc, argv);
    try
    {
        return Run(argc, argv);
    }
    catch (const TCFailure& failure)
    {
        return Fail(failure.Status(), failure.what());
    }
    catch (const CIM::TCUsageError& error)
    {
        return Fail(EXIT_USAGE, std::string(error.what()) + " (see cictl --help)");
    }
    catch (const CIM::json::TCJsonError& error)
    {
        return Fail(EXIT_USAGE, error.what());
    }
    catch (const std::exception& error)
    {
        return Fail(EXIT_NO_DAEMON, error.what());
    }
}
