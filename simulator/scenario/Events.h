#pragma once

#include "Condition.h"
#include "Steps.h"

#include "json/Document.h"

#include <climits>

// A story in two layers: what happens, and what the application has to do, or must not.

namespace CIM::sim
{
/// Something that happens, once, when its condition holds and the event before it has happened.
struct TSEvent
{
    int line = 0;
    std::string label; ///< may be empty
    std::string says;
    TSWhen when;
    std::vector<TDeed> deeds;
    std::string otherwise; ///< why it may be passed over; empty: it may not
    std::optional<unsigned> withinMs;

    bool IsOptional() const { return !otherwise.empty(); }
};

/// Calls that must come, or must not, between two events.
struct TSExpectation
{
    int line = 0;
    std::string says;
    TCCallPattern call;
    std::optional<std::size_t> after;  ///< index of an event; none: the begin of the story
    std::optional<std::size_t> before; ///< none: its end
    std::optional<unsigned> withinMs;  ///< real time from the begin
    unsigned least = 1;
    unsigned most = UINT_MAX;

    bool IsNever() const { return most == 0; }
    /// "exactly once", "at least 2 times", "never".
    std::string Times() const;
};

struct TSStory
{
    std::vector<TSEvent> events;
    std::vector<TSExpectation> expectations; ///< with what must never come
};

/// Collects what is wrong rather than stopping at the first.
using TAttempt = std::function<void(const std::function<void()>& read)>;

/// \param[in] attempt  runs what may throw a json::TCJsonError, and keeps that
TSStory ReadStory(const json::TCJsonDocument& file, TCRehearsal& rehearsal, const TAttempt& attempt);
} // namespace CIM::sim
