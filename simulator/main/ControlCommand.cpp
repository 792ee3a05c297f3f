#include "Commands.h"
#include "simulator/daemon/ControlClient.h"
#include "simulator/daemon/Verbs.h"

#include <cstdio>
#include <memory>

namespace CIM::sim
{
namespace
{
std::string AllVerbs()
{
    std::string text = "Verbs:\n";
    for (const TSVerb& verb : Verbs())
    {
        text += "  " + verb.Usage() + "\n      " + verb.help + '\n';
    }
    return text +
           "\nci-daemon-sim ctl VERB --help describes the arguments of a verb. Those in brackets may be left out; "
           "an empty one\ncounts as left out.\n"
           "Exit status: 0 done, 1 refused, 2 wrong usage, 3 no simulator on the bus.\n";
}

std::string Help(const TSVerb& verb)
{
    std::string text = "usage: ci-daemon-sim ctl " + verb.Usage() + "\n  " + verb.help + '\n';
    for (const TSParameter& parameter : verb.parameters)
    {
        text += std::string("\n  ") + parameter.name + ": " + parameter.help + "\n      " + parameter.Describe() + '\n';
        for (const std::string_view word : parameter.Words())
        {
            text.append("      ").append(word).append("\n");
        }
    }
    return text;
}

int Run(const std::vector<std::string>& words)
{
    const TSVerb* const verb = words.empty() ? nullptr : FindVerb(words.front());
    if (verb == nullptr)
    {
        std::fprintf(stderr, "ci-daemon-sim: %s (see ci-daemon-sim ctl --help)\n",
                     words.empty() ? "ctl needs a verb" : NoSuchVerb(words.front()).c_str());
        return 2;
    }
    if (words.size() == 2 && words.back() == "--help")
    {
        std::printf("%s", Wrapped(Help(*verb)).c_str());
        return 0;
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
                     verb->Usage().c_str());
        return 2;
    case TSControlAnswer::REFUSED:
        std::fprintf(stderr, "ci-daemon-sim: %s\n", answer.text.c_str());
        return 1;
    default:
        std::fprintf(stderr, "ci-daemon-sim: %s\n", answer.text.c_str());
        return 3;
    }
}

/// The words that a shell may complete: the verbs, or what may stand at a place behind one.
int ListWords(const std::vector<std::string>& words)
{
    if (words.empty())
    {
        for (const TSVerb& verb : Verbs())
        {
            std::printf("%s\n", verb.name);
        }
        return 0;
    }
    const TSVerb* const verb = FindVerb(words.front());
    if (verb != nullptr && words.size() <= verb->parameters.size())
    {
        for (const std::string_view word : verb->parameters[words.size() - 1].Words())
        {
            std::printf("%s\n", std::string(word).c_str());
        }
    }
    return 0;
}
} // namespace

std::function<int()> PrepareControl(TCCommandLine line)
{
    auto lists = std::make_shared<bool>(false);
    line.Flag("--list", *lists, "print the verbs, or what may follow behind a verb and the arguments given");
    line.Footer(AllVerbs());
    line.LeaveTheRest(); // an argument of a verb may begin with a dash
    return [line, lists] { return *lists ? ListWords(line.Rest()) : Run(line.Rest()); };
}
} // namespace CIM::sim
