#include "cictl/DaemonAccess.h"

#include "calls/Instance.h"
#include "cictl/Doctor.h"
#include "cictl/Host.h"
#include "cictl/Verb.h"

#include <ciapi/CICallOutcome.h>
#include <ciapi/CINames.h>
#include <ciapi/CIService.h>

#include <tvplatform/SystemInfo.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace CIM::cictl
{
namespace
{
std::string Hint() { return HostName().empty() ? " (to try without a TV: ci-daemon-sim run -- cictl ...)" : ""; }

// The library reads these keys patiently, because at the set's start they may come late; by hand nobody waits so long.
void RequireFeatureKeys()
{
#ifdef CIAPI_PORTABLE_PLATFORM
    if (TryFeatureKeys() == -ENOENT) // said here alone: the platform would tell the terminal the same
    {
        throw TCFailure(EXIT_NO_CI, "there is no file with feature keys (see cictl doctor), so it is not known whether "
                                    "this set has CI" +
                                        Hint());
    }
#endif
    int slots = 0;
    bool flag = false;
    const std::pair<const std::string&, int> readings[] = {
        {CI_FMS_NUM_OF_CI, system_info_get_custom_int(CI_FMS_NUM_OF_CI.c_str(), &slots)},
        {CI_FMS_SUPPORT, system_info_get_custom_bool(CI_FMS_SUPPORT.c_str(), &flag)},
        {CI_FMS_SUPPORT_CERTIFICATION, system_info_get_custom_bool(CI_FMS_SUPPORT_CERTIFICATION.c_str(), &flag)},
    };
    for (const auto& [key, error] : readings)
    {
        if (error != 0)
        {
            throw TCFailure(EXIT_NO_CI, "the feature key " + key + " cannot be read, so it is not known whether " +
                                            "this set has CI" + Hint());
        }
        if (slots <= 0)
        {
            break; // decided
        }
    }
    if (!TCCIService::IsCIOperable())
    {
        throw TCFailure(EXIT_NO_CI, slots <= 0 ? "this set has no CI slot (" + CI_FMS_NUM_OF_CI + ")"
                                               : "CI is not enabled or not certified on this set (" + CI_FMS_SUPPORT +
                                                     ", " + CI_FMS_SUPPORT_CERTIFICATION + ")");
    }
}

/// Why a call failed. What D-Bus says of these errors is meant for programmers.
std::string ReasonOf(const TSCallOutcome& outcome, EExit exit)
{
    const std::string name = outcome.errorName.empty() ? "" : " (" + outcome.errorName + ")";
    switch (exit)
    {
    case EXIT_NO_DAEMON:
        return outcome.outcome == CALL_OUTCOME_NOT_READY ? ToString(outcome) : "the CI daemon is gone" + name;
    case EXIT_TIMEOUT:
        return "the CI daemon did not answer in time" + name;
    case EXIT_DENIED:
        return "the bus does not allow this to this user" + name;
    default:
        return ToString(outcome);
    }
}

EExit ExitFor(const TSCallOutcome& outcome, bool isOwnerThere)
{
    const std::string_view name = outcome.errorName;
    switch (outcome.outcome)
    {
    case CALL_OUTCOME_NOT_READY:
        return EXIT_NO_DAEMON;
    case CALL_OUTCOME_NO_REPLY: // the bus replies so in the place of a daemon that went away, too
        return isOwnerThere ? EXIT_TIMEOUT : EXIT_NO_DAEMON;
    case CALL_OUTCOME_NOT_READABLE:
        return EXIT_NOT_READABLE;
    case CALL_OUTCOME_ERROR_REPLY:
        if (name == DBUS_ERROR_SERVICE_UNKNOWN || name == DBUS_ERROR_NAME_HAS_NO_OWNER)
        {
            return EXIT_NO_DAEMON;
        }
        return name == DBUS_ERROR_ACCESS_DENIED ? EXIT_DENIED : EXIT_REFUSED;
    default:
        return EXIT_REFUSED;
    }
}
} // namespace

TCDaemonAccess::TCDaemonAccess(std::optional<std::chrono::milliseconds> timeout)
    : m_bus((RequireFeatureKeys(), timeout))
{
    if (timeout)
    {
        setenv("CIAPI_CALL_TIMEOUT_MS", std::to_string(timeout->count()).c_str(), 1);
    }
}

void EndDaemonAccess() { TCCIService::Destroy(); }

void TCDaemonAccess::RequireThrough(const std::string& what, const json::TCInterfaceForm& interface)
{
    const TSCallOutcome outcome = LastCallOutcome();
    switch (outcome.outcome)
    {
    case CALL_OUTCOME_ANSWERED:
    case CALL_OUTCOME_SENT:
    case CALL_OUTCOME_NONE: // answered without asking the daemon, such as the end of what was never subscribed
        return;
    default:
        break;
    }
    const std::string owner = m_bus.OwnerOf(interface.ConnectionName()); // fails when the bus is the reason
    const EExit exit = ExitFor(outcome, !owner.empty() && owner == m_owner);
    throw TCFailure(exit, what + " did not get through: " + ReasonOf(outcome, exit));
}

void TCDaemonAccess::Require(const json::TCInterfaceForm& interface)
{
    m_owner = m_bus.OwnerOf(interface.ConnectionName());
    if (m_owner.empty() && m_wasThere)
    {
        throw TCFailure(EXIT_NO_DAEMON,
                        "the CI daemon is gone: nobody owns " + interface.ConnectionName() + " any more");
    }
    if (m_owner.empty())
    {
        throw TCFailure(EXIT_NO_DAEMON, "there is no CI daemon: nobody owns " + interface.ConnectionName() +
                                            " on the system bus" + (HostName().empty() ? "" : " of " + HostName()) +
                                            Hint());
    }
    m_wasThere = true;
    m_BeAdmitted();
}

void TCDaemonAccess::m_BeAdmitted()
{
    if (!m_isAdmitted)
    {
        m_bus.RequireApplicationName();
        m_isAdmitted = true;
    }
}

TJson TCDaemonAccess::Call(const json::TCOperationForm& operation, const TJson& arguments)
{
    operation.Check(arguments);
    const json::TCInterfaceForm& interface = *json::FindInterface(operation.InterfaceName());
    if (operation.IsLocal())
    {
        m_BeAdmitted(); // the library connects for it all the same
        return operation.Invoke(InstanceOf(interface), arguments);
    }
    Require(interface);
    TJson answer = operation.Invoke(InstanceOf(interface), arguments);
    RequireThrough(operation.FullName(), interface);
    return answer;
}

TJson TCDaemonAccess::Call(const char* interface, const char* operation, const TJson& arguments)
{
    return Call(*json::FindInterface(interface)->Find(operation), arguments);
}

std::map<unsigned char, ECamStatus> TCDaemonAccess::SlotStatuses()
{
    std::map<unsigned char, ECamStatus> slots;
    TJson answer = Call("ICIGeneral", "GetCiSlotStatus", {{"selection", 0}});
    const json::TCJsonPath path("statuses");
    for (const auto& entry : answer["outputs"]["statuses"].items())
    {
        slots[static_cast<unsigned char>(std::stoul(entry.key()))] = json::FromJson<ECamStatus>(entry.value(), path);
    }
    return slots;
}

bool IsYes(const TJson& answer) { return !json::IsRefusal(answer["result"]); }
} // namespace CIM::cictl
