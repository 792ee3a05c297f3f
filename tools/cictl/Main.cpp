#include "cictl/Output.h"
#include "cictl/Verb.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace CIM::cictl
{
namespace
{
void AddArgument(CLI::App& app, const TSArgument& argument, TCArguments& arguments)
{
    const std::string name = argument.name;
    switch (argument.kind)
    {
    case EArgument::NEEDED:
        app.add_option(name, arguments.values[name], argument.help)->required()->expected(1)->allow_extra_args(false);
        break;
    case EArgument::OPTIONAL:
        app.add_option(name, arguments.values[name], argument.help)->expected(1)->allow_extra_args(false);
        break;
    case EArgument::MANY:
        app.add_option(name, arguments.values[name], argument.help);
        break;
    case EArgument::FLAG:
        app.add_flag("--" + name, arguments.flags[name], argument.help);
        break;
    case EArgument::OPTION:
        app.add_option("--" + name, arguments.values[name], argument.help)->expected(1)->allow_extra_args(false);
        break;
    case EArgument::OPTIONS:
        app.add_option("--" + name, arguments.values[name], argument.help)
            ->expected(1)
            ->allow_extra_args(false)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
        break;
    }
}

EExit Fail(EExit status, const std::string& message)
{
    std::fprintf(stderr, "cictl: %s\n", Harmless(message).c_str());
    return status;
}

int Run(int argc, char** argv)
{
    CLI::App app("Talks to the CI daemon: slots, CAMs and their menus, and every operation of the CI library.\n"
                 "Exit status: 0 answered, 1 refused, 2 wrong usage, 3 no daemon or no CI.",
                 "cictl");
    app.require_subcommand(1);
    app.set_version_flag("--version", CICTL_VERSION);
    std::vector<TCArguments> arguments(Verbs().size()); // CLI11 refers to them
    std::vector<CLI::App*> parsers;
    for (const TSVerb& verb : Verbs())
    {
        CLI::App* const parser = app.add_subcommand(verb.name, verb.help);
        for (const TSArgument& argument : verb.arguments)
        {
            AddArgument(*parser, argument, arguments[parsers.size()]);
        }
        parsers.push_back(parser);
    }
    const std::string_view first = argc > 1 ? argv[1] : "-";
    if (!first.starts_with('-') &&
        std::none_of(Verbs().begin(), Verbs().end(), [&](const TSVerb& verb) { return first == verb.name; }))
    {
        return Fail(EXIT_USAGE, "there is no verb \"" + std::string(first) + "\" (see cictl --help)");
    }
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::Success& wish) // --help, --version
    {
        return app.exit(wish);
    }
    catch (const CLI::ParseError& error)
    {
        std::string message = error.what();
        message.resize(std::min(message.find('\n'), message.size()));
        return Fail(EXIT_USAGE, message + " (see cictl --help)");
    }
    for (std::size_t i = 0; i < parsers.size(); ++i)
    {
        if (parsers[i]->parsed())
        {
            const EExit status = Verbs()[i].handler(arguments[i]);
            std::cout.flush();
            return std::cout ? status : Fail(EXIT_REFUSED, "cannot write to standard output");
        }
    }
    return EXIT_USAGE;
}
} // namespace
} // namespace CIM::cictl

int main(int argc, char** argv)
{
    using namespace CIM::cictl;
    try
    {
        return Run(argc, argv);
    }
    catch (const TCFailure& failure)
    {
        return Fail(failure.Status(), failure.what());
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
