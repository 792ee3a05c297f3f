#pragma once

#include "cictl/Bus.h"
#include "json/OperationForm.h"

#include <ciapi/CIEnumerations.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>

namespace CIM::cictl
{
using json::TJson;

/// The way to the daemon, checked: every call ends as an answer or as a TCFailure that says why there is none. Bound to
/// its thread. The library's own connection outlives it; EndDaemonAccess closes that.
class TCDaemonAccess
{
public:
    /// \param[in] timeout  how long each answer is waited for; what is given first in a process counts for the library's
    /// \throws TCFailure when this set has no CI or there is no bus
    explicit TCDaemonAccess(std::optional<std::chrono::milliseconds> timeout = {});
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
    /// The slots of the set, and whether their CAMs are ready. \throws TCFailure when the call does not get through
    std::map<unsigned char, ECamStatus> SlotStatuses();
    /// Asks what became of the operation that was just called, behind Require.
    /// \param[in] what  what was called, for the failure's text
    /// \throws TCFailure when the call did not get through
    void RequireThrough(const std::string& what, const json::TCInterfaceForm& interface);
    TCBus& Bus() { return m_bus; }

private:
    void m_BeAdmitted();

    TCBus m_bus;
    std::string m_owner;       ///< of the bus name that was required last
    bool m_wasThere = false;   ///< some name had an owner
    bool m_isAdmitted = false; ///< the bus lets this user be an application
};

/// At the end of the process: closes the library's connection.
void EndDaemonAccess();

/// Whether the answer of an operation that gives no handle says yes.
bool IsYes(const TJson& answer);
} // namespace CIM::cictl
