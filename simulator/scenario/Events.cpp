#include "Events.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
using json::TCJsonError;
using json::TCJsonObject;
using json::TCJsonPath;
using json::TJson;

using TLabels = std::map<std::string, std::size_t>;

/// A line of text that must be there.
std::string TakeText(TCJsonObject& object, const char* name, const TCJsonPath& path)
{
    std::string text;
    object.Needed(name, text);
    if (text.empty() || text.find('\n') != std::string::npos)
    {
        throw TCJsonError(TCJsonPath(path, name), "one line of text is needed");
    }
    return text;
}

/// What counts from an event that may be passed over cannot be waited for when it was.
void NeedReachable(const TSEvent& event, const std::vector<TSEvent>& before, const TCJsonPath& path)
{
    event.when.ForEach(
        [&](const TSCondition& condition)
        {
            if (condition.since && before[*condition.since].IsOptional() && !event.IsOptional())
            {
                throw TCJsonError(path, "\"" + before[*condition.since].label +
                                            "\" may be passed over, so that this event needs to be optional, too");
            }
        });
}

TSEvent ReadEvent(const TJson& json, const TCJsonPath& path, TCRehearsal& rehearsal, const TLabels& labels,
                  const std::vector<TSEvent>& before)
{
    TSEvent event;
    TCJsonObject object(json, path);
    object.Field("name", event.label);
    event.says = TakeText(object, "says", path);
    if (object.Has("optional"))
    {
        event.otherwise = TakeText(object, "optional", path);
    }
    event.withinMs = TakeMs(object, "within", path);
    if (const TJson* const when = object.Take("when"))
    {
        TSConditionReader reader{rehearsal, labels};
        const TCJsonPath place(path, "when");
        event.when = ReadWhen(*when, reader, place);
        NeedReachable(event, before, place);
    }
    if (const TJson* const deeds = object.Take("do"))
    {
        const TCJsonPath place(path, "do");
        const auto& list = json::ElementsOf(*deeds, place);
        for (std::size_t i = 0; i < list.size(); ++i)
        {
            const TCJsonPath deedPlace(place, i);
            const TSNamed named = OneMember(list[i], "what is done", deedPlace);
            event.deeds.push_back(ReadDeed(named.name, named.value, rehearsal, TCJsonPath(deedPlace, named.name)));
        }
    }
    object.Done();
    if (labels.count(event.label) > 0)
    {
        throw TCJsonError(TCJsonPath(path, "name"), "another event has this name");
    }
    return event;
}

std::optional<std::size_t> TakeEvent(TCJsonObject& object, const char* member, const TLabels& labels,
                                     const TCJsonPath& path)
{
    std::string label;
    object.Field(member, label);
    if (label.empty())
    {
        return std::nullopt;
    }
    const auto found = labels.find(label);
    if (found == labels.end())
    {
        throw TCJsonError(
            TCJsonPath(path, member),
            "no event has the name \"" + label + "\"" +
                DidYouMean(label,
                           NamesOf(labels, [](const auto& entry) -> const std::string& { return entry.first; })));
    }
    return found->second;
}

void TakeTimes(TCJsonObject& object, TSExpectation& expectation, const TCJsonPath& path)
{
    const bool isExact = object.Has("times");
    if (isExact && (object.Has("atLeast") || object.Has("atMost")))
    {
        throw TCJsonError(TCJsonPath(path, "times"), "\"times\" stands without \"atLeast\" and \"atMost\"");
    }
    if (object.Has("atMost") && !object.Has("atLeast"))
    {
        expectation.least = 0;
    }
    object.Field("times", expectation.least).Field("atLeast", expectation.least).Field("atMost", expectation.most);
    expectation.most = isExact ? expectation.least : expectation.most;
    if (expectation.most == 0 || expectation.least > expectation.most)
    {
        throw TCJsonError(path, "no number of calls meets this; what must not come stands under \"never\"");
    }
    if (expectation.least == 0 && expectation.most == UINT_MAX)
    {
        throw TCJsonError(path, "any number of calls meets this");
    }
}

TSExpectation ReadExpectation(const TJson& json, const TCJsonPath& path, bool isNever, const TLabels& labels,
                              const std::vector<TSEvent>& events)
{
    TCJsonObject object(json, path);
    const std::string says = TakeText(object, "says", path);
    const TJson* const call = object.Take("call");
    if (call == nullptr)
    {
        throw TCJsonError(path, "\"call\" is missing");
    }
    const TCJsonPath callPath(path, "call");
    TCJsonObject callObject(*call, callPath);
    TSExpectation expectation{0, says, TakePattern(callObject, callPath), {}, {}, {}};
    callObject.Done();
    expectation.after = TakeEvent(object, "after", labels, path);
    expectation.before = TakeEvent(object, "before", labels, path);
    expectation.withinMs = TakeMs(object, "within", path);
    if (isNever)
    {
        expectation.least = 0;
        expectation.most = 0;
    }
    else
    {
        TakeTimes(object, expectation, path);
    }
    object.Done();
    if (expectation.before && expectation.after && *expectation.before <= *expectation.after)
    {
        throw TCJsonError(TCJsonPath(path, "before"), "this event is not behind the one of \"after\"");
    }
    const bool isAtEnd = expectation.after && *expectation.after + 1 == events.size();
    if (isAtEnd && expectation.least == 0 && !expectation.withinMs)
    {
        throw TCJsonError(path, "the story ends with the event of \"after\": \"within\" is needed");
    }
    return expectation;
}
} // namespace

std::string TSExpectation::Times() const
{
    const auto times = [](unsigned count)
    { return count == 1 ? std::string("once") : std::to_string(count) + " times"; };
    if (IsNever())
    {
        return "never";
    }
    if (least == most)
    {
        return "exactly " + times(least);
    }
    return (least > 0 ? "at least " + times(least) : "") +
           (most != UINT_MAX ? (least > 0 ? ", " : "") + std::string("at most ") + times(most) : "");
}

TSStory ReadStory(const json::TCJsonDocument& file, TCRehearsal& rehearsal, const TAttempt& attempt)
{
    TSStory story;
    const TJson& root = file.Root();
    const TCJsonPath path;
    const TCJsonPath events(path, "story");
    TLabels labels;
    const auto& list = json::ElementsOf(root.at("story"), events);
    for (std::size_t i = 0; i < list.size(); ++i)
    {
        const TCJsonPath place(events, i);
        TSEvent event;
        attempt([&] { event = ReadEvent(list[i], place, rehearsal, labels, story.events); });
        event.line = file.LineOf(json::TCJsonPlace(place));
        if (!event.label.empty())
        {
            labels.emplace(event.label, i);
        }
        story.events.push_back(std::move(event));
    }
    for (const char* const member : {"expect", "never"})
    {
        if (!root.contains(member))
        {
            continue;
        }
        const TCJsonPath memberPath(path, member);
        const auto& expectations = json::ElementsOf(root.at(member), memberPath);
        for (std::size_t i = 0; i < expectations.size(); ++i)
        {
            const TCJsonPath place(memberPath, i);
            attempt(
                [&]
                {
                    TSExpectation expectation = ReadExpectation(
                        expectations[i], place, std::string_view(member) == "never", labels, story.events);
                    expectation.line = file.LineOf(json::TCJsonPlace(place));
                    story.expectations.push_back(std::move(expectation));
                });
        }
    }
    return story;
}
} // namespace CIM::sim
