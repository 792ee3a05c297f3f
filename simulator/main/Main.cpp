#include "Commands.h"

#include <cstdio>
#include <exception>

int main(int argc, char** argv)
{
    using namespace CIM::sim;
    CLI::App app("A CI daemon and its CAMs without a TV: owns the daemon's bus names and answers every call.");
    app.name("ci-daemon-sim");
    app.require_subcommand(0, 1);
    bool listsCommands = false;
    app.add_flag("--commands", listsCommands, "print the names of the commands");
    std::function<int()> run = Commands().front().prepare(app);
    for (const TSCommand& command : Commands())
    {
        CLI::App* const sub = app.add_subcommand(command.name, command.help);
        sub->callback([&run, prepared = command.prepare(*sub)] { run = prepared; });
    }
    try
    {
        app.parse(argc, argv);
        if (listsCommands)
        {
            for (const TSCommand& command : Commands())
            {
                std::printf("%s\n", command.name);
            }
            return 0;
        }
        return run();
    }
    catch (const CLI::ParseError& error) // what is wrong with an option may come out only when all are known
    {
        return app.exit(error) == 0 ? 0 : 2;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "ci-daemon-sim: %s\n", error.what());
        return 1;
    }
}
