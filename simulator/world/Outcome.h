#pragma once

#include <string>
#include <utility>

namespace CIM::sim
{
/// What became of a control: done, or why not.
struct TSOutcome
{
    std::string error;

    bool IsDone() const { return error.empty(); }
    explicit operator bool() const { return IsDone(); }

    static TSOutcome Done() { return {}; }
    static TSOutcome Refused(std::string why) { return {std::move(why)}; }
};
} // namespace CIM::sim
