#pragma once

#include <string>

namespace CIM::cictl
{
/// Why calls of this thread failed. An interface answers 0 when a call does not get through, just as a daemon that
/// says no; only the library's log tells which it was, and cictl listens to it (it takes the place of the platform's
/// log service, and hands every line on).
class TFailedCalls
{
public:
    /// Forgets what was heard.
    TFailedCalls();
    /// The first reason since; empty when every call got through.
    const std::string& Reason() const;
};
} // namespace CIM::cictl
