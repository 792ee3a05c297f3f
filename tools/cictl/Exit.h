#pragma once

#include <span>
#include <stdexcept>
#include <string>

namespace CIM::cictl
{
/// What cictl exits with. What each means stands in Exits(), for the help and whoever else shows it.
enum EExit : int
{
    EXIT_ANSWERED = 0,
    EXIT_REFUSED = 1,
    EXIT_USAGE = 2,
    EXIT_NO_DAEMON = 3,
    EXIT_NO_BUS = 4,
    EXIT_NO_CI = 5,
    EXIT_TIMEOUT = 6,
    EXIT_DENIED = 7,
    EXIT_NOT_READABLE = 8,
    EXIT_INTERRUPTED = 130,
    EXIT_TERMINATED = 143,
};

struct TSExit
{
    EExit status;
    const char* name; ///< in JSON
    const char* help;
};

/// All of them, each once.
std::span<const TSExit> Exits();
const TSExit& ExitOf(EExit status);

/// Ends a verb with a line on standard error.
class TCFailure : public std::runtime_error
{
public:
    TCFailure(EExit status, const std::string& message) : std::runtime_error(message), m_status(status) {}
    EExit Status() const { return m_status; }

private:
    EExit m_status;
};
} // namespace CIM::cictl
