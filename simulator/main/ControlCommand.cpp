#include "Commands.h"
#include "simulator/daemon/ControlClient.h"
#include "simulator/daemon/Verbs.h"

#include <cstdio>
#include <memory>

namespace CIM::sim
{
namespace
{
std::string Usage(const TSVerb& verb)
{
    std::string usage = verb.name;
    for (const TSVerbArgument& argument : verb.arguments)
    {
        usage += std::string(" ") + argument.name;
    }
    return usage;
}

std::string AllVerbs()
{
    std::string text = "Verbs:\n";
    for (const TSVerb& verb : Verbs())
    {
        std::string usage = Usage(verb);
        usage.resize(std::max<std::size_t>(usage.size(), 34), ' ');
        text += "  " + usage + ' ' + verb.help + '\n';
        for (const TSVerbArgument& argument : verb.arguments)
        {
            text += std::string(37, ' ') + argument.name + ": " + argument.help + '\n';
        }
    }
    return text + "Arguments left out at the end are 0 or empty.\n"
                  "Exit status: 0 done, 1 refused, 2 wrong usage, 3 no simulator on the bus.\n";
}

int Run(const std::vector<std::string>& words)
{
    const TSVerb* const verb = words.empty() ? nullptr : FindVerb(words.front());
    if (verb == nullptr)
    {
        std::fprintf(stderr, "ci-daemon-sim: %s: see ci-daemon-sim ctl --help\n",
                     words.empty() ? "ctl needs a verb" : ("there is no verb " + words.front()).c_str());
        return 2;
    }
    const TSControlAnswer answer = CallControl(*verb, {words.begin() + 1, words.end()});
    switch (answer.status)
    {
    case TSControlAnswer::DONE:
        if (!answer.text.empty())
        {
            std::printf("%s\n", answer.text.c_str());
        }
        return 0;
    case TSControlAnswer::USAGE:
        std::fprintf(stderr, "ci-daemon-sim: %s\nusage: ci-daemon-sim ctl %s\n", answer.text.c_str(),
                     Usage(*verb).c_str());
        return 2;
    case TSControlAnswer::REFUSED:
        std::fprintf(stderr, "ci-daemon-sim: %s\n", answer.text.c_str());
        return 1;
    default:
        std::fprintf(stderr, "ci-daemon-sim: %s\n", answer.text.c_str());
        return 3;
    }
}
} // namespace

std::function<int()> PrepareControl(CLI::App& app)
{
    auto listsNames = std::make_shared<bool>(false);
    app.add_flag("--list", *listsNames, "print the names of the verbs");
    app.footer(AllVerbs());
    app.prefix_command(); // an argument of a verb may begin with a dash
    return [&app, listsNames]
    {
        if (*listsNames)
        {
            for (const TSVerb& verb : Verbs())
            {
                std::printf("%s\n", verb.name);
            }
            return 0;
        }
        return Run(app.remaining());
    };
}
} // namespace CIM::sim
