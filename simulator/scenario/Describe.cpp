#include "Describe.h"

#include <sstream>

namespace CIM::sim
{
namespace
{
constexpr std::size_t WIDTH = 100;

/// A text in lines of so many characters, all behind an indentation; the first stands behind a mark.
std::string Wrapped(const std::string& text, const std::string& mark)
{
    std::string result;
    std::string line = mark;
    std::istringstream words(text);
    bool isFirst = true;
    for (std::string word; words >> word; isFirst = false)
    {
        if (!isFirst && line.size() + 1 + word.size() > WIDTH)
        {
            result += line + "\n";
            line = std::string(mark.size(), ' ') + word;
            continue;
        }
        line += (isFirst ? "" : " ") + word;
    }
    return result + line + "\n";
}

std::string Numbered(std::size_t index) { return (index < 9 ? " " : "") + std::to_string(index + 1) + ". "; }

std::string TextOf(const TSEvent& event)
{
    const std::string words = event.when.Words();
    return event.says + (words.empty() ? "" : " (waits " + words + ")") +
           (event.otherwise.empty() ? "" : "; may be passed over: " + event.otherwise);
}

std::string TextOf(const TSExpectation& expectation)
{
    std::string text = expectation.says + " (" + expectation.call.Words() + ", " + expectation.Times();
    if (expectation.after)
    {
        text += " after step " + std::to_string(*expectation.after + 1);
    }
    if (expectation.before)
    {
        text += " before step " + std::to_string(*expectation.before + 1);
    }
    return text + (expectation.withinMs ? " within " + std::to_string(*expectation.withinMs) + " ms" : "") + ")";
}

std::string Listed(const TSStory& story, bool isNever, const char* heading)
{
    std::string text;
    for (const TSExpectation& expectation : story.expectations)
    {
        if (expectation.IsNever() == isNever)
        {
            text += (text.empty() ? heading : "") + Wrapped(TextOf(expectation), "  - ");
        }
    }
    return text;
}
} // namespace

std::string Describe(const TSScenario& scenario)
{
    std::string text = scenario.name + ": " + scenario.description + "\n";
    text += scenario.tells.empty() ? "" : "\n" + Wrapped(scenario.tells, "");
    text += "\nWhat happens:\n";
    for (const TSStep& step : scenario.timeline)
    {
        text += Numbered(static_cast<std::size_t>(step.number) - 1) + step.text + "\n";
    }
    if (scenario.story)
    {
        const auto& events = scenario.story->events;
        for (std::size_t i = 0; i < events.size(); ++i)
        {
            text += Wrapped(TextOf(events[i]), Numbered(i));
        }
        text += Listed(*scenario.story, false, "\nWhat the application has to do:\n");
        text += Listed(*scenario.story, true, "\nWhat it must never do:\n");
    }
    return text;
}
} // namespace CIM::sim
