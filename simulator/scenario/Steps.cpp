#include "Steps.h"

#include "json/Object.h"

#include <ciapi/CIPlatformEnumNames.h>

namespace CIM::sim
{
namespace
{
using json::TCJsonError;
using json::TCJsonObject;
using json::TCJsonPath;
using json::TJson;

using TAction = decltype(TSStep::action);

TSWaitForCall ReadWaitForCall(const TJson& json, const TCJsonPath& path, bool isNext)
{
    TCJsonObject object(json, path);
    TSWaitForCall step{TakePattern(object, path), TakeMs(object, "within", path), isNext};
    object.Done();
    return step;
}

TSExpectNoCall ReadExpectNoCall(const TJson& json, const TCJsonPath& path)
{
    TSExpectNoCall step;
    TCJsonObject object(json, path);
    TSMs during{step.duringMs};
    object.Needed("during", during);
    if (object.Has("operation"))
    {
        step.call = TakePattern(object, path);
    }
    else if (object.Take("arguments") != nullptr)
    {
        throw TCJsonError(TCJsonPath(path, "arguments"), "an \"operation\" that has them is missing");
    }
    object.Done();
    return step;
}

TSWaitForSubscription ReadSubscription(const TJson& json, const TCJsonPath& path)
{
    TSWaitForSubscription step;
    TCJsonObject object(json, path);
    object.Needed("signal", step.signal)
        .Field("profile", step.profile)
        .Field("handle", step.handle)
        .Field("clients", step.clients);
    step.withinMs = TakeMs(object, "within", path);
    object.Done();
    if (step.clients == 0)
    {
        throw TCJsonError(TCJsonPath(path, "clients"), "at least 1 client subscribes");
    }
    return step;
}

/// A step that waits, by its name.
struct TSStepReader
{
    const char* name;
    TAction (*read)(const TJson& json, const TCJsonPath& path);
};
constexpr TSStepReader STEPS[] = {
    {"wait-for-call",
     [](const TJson& json, const TCJsonPath& path) -> TAction
     { return ReadWaitForCall(json, path, /*isNext=*/false); }},
    {"expect-call",
     [](const TJson& json, const TCJsonPath& path) -> TAction { return ReadWaitForCall(json, path, /*isNext=*/true); }},
    {"expect-no-call",
     [](const TJson& json, const TCJsonPath& path) -> TAction { return ReadExpectNoCall(json, path); }},
    {"wait-for-subscription",
     [](const TJson& json, const TCJsonPath& path) -> TAction { return ReadSubscription(json, path); }},
    {"wait",
     [](const TJson& json, const TCJsonPath& path) -> TAction {
         return TSWait{MsFromJson(json, path), false};
     }},
    {"at",
     [](const TJson& json, const TCJsonPath& path) -> TAction {
         return TSWait{MsFromJson(json, path), true};
     }},
};
} // namespace

TCCallPattern TakePattern(TCJsonObject& object, const TCJsonPath& path)
{
    std::string operation;
    object.Needed("operation", operation);
    const TJson* const arguments = object.Take("arguments");
    TCCallPattern pattern(operation, arguments != nullptr ? *arguments : TJson(), path);
    if (const TJson* const lengths = object.Take("shorterThan"))
    {
        pattern.MustBeShorter(*lengths, TCJsonPath(path, "shorterThan"));
    }
    return pattern;
}

TAction ReadStep(const TJson& step, const TCJsonPath& path, TCRehearsal& rehearsal)
{
    const TSNamed named = OneMember(step, "a step", path);
    const TCJsonPath place(path, named.name);
    TNames names;
    for (const TSStepReader& known : STEPS)
    {
        if (named.name == known.name)
        {
            return known.read(named.value, place);
        }
        names.emplace_back(known.name);
    }
    if (!IsDeed(named.name))
    {
        const TNames deeds = DeedNames();
        names.insert(names.end(), deeds.begin(), deeds.end());
        throw TCJsonError(place, "there is no such step; " + ThereAre(names, named.name));
    }
    return ReadDeed(named.name, named.value, rehearsal, place);
}
} // namespace CIM::sim
