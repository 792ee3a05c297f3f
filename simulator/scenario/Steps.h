#pragma once

#include "CallPattern.h"
#include "Deeds.h"

#include "json/Object.h"

#include <optional>
#include <vector>

// The steps of a timeline: the strict form, which knows its application call by call.

namespace CIM::sim
{
constexpr unsigned DEFAULT_WITHIN_MS = 10'000;

// What bounds how long to wait for the application is real time; the rest is virtual.

struct TSWaitForCall
{
    TCCallPattern call;
    std::optional<unsigned> withinMs;
    bool isNext = false; ///< the very next call has to be it; subscriptions do not count
};
struct TSExpectNoCall
{
    std::optional<TCCallPattern> call; ///< none: no call at all; subscriptions do not count
    unsigned duringMs = 0;
};
struct TSWaitForSubscription
{
    ECISignalType signal = SIGNAL_CI_TYPE_BEGIN;
    EProfile profile = PROFILE_MAIN;
    unsigned short handle = 0;
    unsigned clients = 1;
    std::optional<unsigned> withinMs;
};
/// Until so much later, or until a time.
struct TSWait
{
    std::int64_t ms = 0;
    bool isAbsolute = false;
};

struct TSStep
{
    int number = 0; ///< counted from 1
    int line = 0;
    std::string text; ///< as it stands in the file, on one line
    std::variant<TSWaitForCall, TSExpectNoCall, TSWaitForSubscription, TSWait, TDeed> action;
};

/// The operation and the arguments of a call that something is about.
TCCallPattern TakePattern(json::TCJsonObject& object, const json::TCJsonPath& path);

/// What a step does; number, line and text are the caller's.
decltype(TSStep::action) ReadStep(const json::TJson& step, const json::TCJsonPath& path, TCRehearsal& rehearsal);
} // namespace CIM::sim
