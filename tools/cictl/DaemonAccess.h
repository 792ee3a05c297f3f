#pragma once

#include "cictl/Bus.h"
#include "json/OperationForm.h"

#include <functional>

namespace CIM::cictl
{
using json::TJson;

/// The way to the daemon, checked: every call ends as an answer or as a TCFailure that says why there is none. Bound to
/// its thread; one at a time. Its end destroys the facade, and with it every subscription.
class TCDaemonAccess
{
public:
    /// \throws TCFailure with EXIT_NO_DAEMON when this set has no CI or there is no bus
    TCDaemonAccess();
    ~TCDaemonAccess();
    TCDaemonAccess(const TCDaemonAccess&) = delete;
    TCDaemonAccess& operator=(const TCDaemonAccess&) = delete;

    /// \throws TCFailure with EXIT_NO_DAEMON when nobody owns the bus name of an interface
    void Require(const json::TCInterfaceForm& interface);
    /// Calls an operation. \param[in] arguments  {"<input>": value}
    /// \return {"result": value, "outputs": {...}}
    /// \throws TCFailure when the call does not get through, json::TCJsonError when the arguments are wrong
    TJson Call(const json::TCOperationForm& operation, const TJson& arguments);
    /// The same, by name ("ICIGeneral", "GetMmiText").
    TJson Call(const char* interface, const char* operation, const TJson& arguments);
    TCBus& Bus() { return m_bus; }

private:
    TCBus m_bus;
};

/// Asks what became of the operation that was just called. \param[in] what  what was called, for the failure's text
/// \throws TCFailure with EXIT_NO_DAEMON when the call did not get through
void RequireThrough(const std::string& what);

/// Whether an answer's result says yes: not 0, not false, not -1 (no result), not an invalid player handle.
bool IsYes(const json::TCOperationForm& operation, const TJson& answer);
bool IsYes(const TJson& answer);
} // namespace CIM::cictl
