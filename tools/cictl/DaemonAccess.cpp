#include "cictl/DaemonAccess.h"

#include "cictl/Verb.h"

#include "protocol/Interfaces.h"

#include <ciapi/CICallOutcome.h>
#include <ciapi/CINames.h>
#include <ciapi/CIService.h>

#include <tvplatform/SystemInfo.h>

#include <string_view>
#include <tuple>
#include <utility>

namespace CIM::cictl
{
namespace
{
constexpr const char* HINT = " (to try without a TV: ci-daemon-sim run -- cictl ...)";

// The library reads these keys patiently, because at the set's start they may come late; by hand nobody waits so long.
void RequireFeatureKeys()
{
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
            throw TCFailure(EXIT_NO_DAEMON, "the feature key " + key + " cannot be read, so it is not known whether " +
                                                "this set has CI" + HINT);
        }
        if (slots <= 0)
        {
            break; // decided
        }
    }
    if (!TCCIService::IsCIOperable())
    {
        throw TCFailure(EXIT_NO_DAEMON, slots <= 0 ? "this set has no CI slot (" + CI_FMS_NUM_OF_CI + ")"
                                                   : "CI is not enabled or not certified on this set (" +
                                                         CI_FMS_SUPPORT + ", " + CI_FMS_SUPPORT_CERTIFICATION + ")");
    }
}

ICISignalSubscriber* SubscriberInstance()
{
    return TCCIService::CISignalSubscriberInstance(nullptr); // a single call hears no signals; TCSignals does
}

/// The facade's instance of an interface, as Invoke takes it. Connects when it is the first.
void* InstanceOf(const json::TCInterfaceForm& interface)
{
    static constexpr std::tuple instances{
        &TCCIService::CIGeneralInstance,
        &TCCIService::CIAppMMIInstance,
        &TCCIService::CIOperatorProfileInstance,
        &TCCIService::PvrCipInstance,
        &TCCIService::CIDebugInstance,
        &TCCIService::CIAuxiliaryFileSystemInstance,
        &TCCIService::CICAMPlayerInstance,
        &TCCIService::CISampleDecryptionInstance,
        &SubscriberInstance,
    };
    void* instance = nullptr;
    protocol::ForEachInterface(
        [&]<class Interface>(protocol::TType<Interface>)
        {
            if (interface.Name() == protocol::NameOf<Interface>())
            {
                instance = std::get<Interface* (*)()>(instances)();
            }
        });
    return instance;
}

/// Why a call failed. What D-Bus says of these errors is meant for programmers.
std::string ReasonOf(const TSCallOutcome& outcome)
{
    constexpr std::pair<std::string_view, const char*> words[] = {
        {DBUS_ERROR_SERVICE_UNKNOWN, "the CI daemon is gone"},
        {DBUS_ERROR_NAME_HAS_NO_OWNER, "the CI daemon is gone"},
        {DBUS_ERROR_NO_REPLY, "the CI daemon did not answer in time, or went away before it answered"},
        {DBUS_ERROR_ACCESS_DENIED, "the bus does not allow this to this user"},
    };
    for (const auto& [error, text] : words)
    {
        if (outcome.errorName == error)
        {
            return std::string(text) + " (" + outcome.errorName + ")";
        }
    }
    return ToString(outcome);
}
} // namespace

void RequireThrough(const std::string& what)
{
    const TSCallOutcome outcome = LastCallOutcome();
    switch (outcome.outcome)
    {
    case CALL_OUTCOME_ANSWERED:
    case CALL_OUTCOME_SENT:
    case CALL_OUTCOME_NONE: // answered without asking the daemon, such as the end of what was never subscribed
        break;
    default:
        throw TCFailure(EXIT_NO_DAEMON, what + " did not get through: " + ReasonOf(outcome));
    }
}

TCDaemonAccess::TCDaemonAccess() : m_bus((RequireFeatureKeys(), TCBus())) {}

TCDaemonAccess::~TCDaemonAccess() { TCCIService::Destroy(); }

void TCDaemonAccess::Require(const json::TCInterfaceForm& interface)
{
    if (m_bus.OwnerOf(interface.ConnectionName()).empty())
    {
        throw TCFailure(EXIT_NO_DAEMON, "there is no CI daemon: nobody owns " + interface.ConnectionName() +
                                            " on the system bus" + HINT);
    }
}

TJson TCDaemonAccess::Call(const json::TCOperationForm& operation, const TJson& arguments)
{
    operation.Check(arguments);
    const json::TCInterfaceForm& interface = *json::FindInterface(operation.InterfaceName());
    if (operation.IsLocal())
    {
        return operation.Invoke(InstanceOf(interface), arguments);
    }
    Require(interface);
    TJson answer = operation.Invoke(InstanceOf(interface), arguments);
    RequireThrough(operation.FullName());
    return answer;
}

TJson TCDaemonAccess::Call(const char* interface, const char* operation, const TJson& arguments)
{
    return Call(*json::FindInterface(interface)->Find(operation), arguments);
}

bool IsYes(const json::TCOperationForm& operation, const TJson& answer)
{
    const bool isPlayerHandle = operation.ResultType().text == "uint16";
    return isPlayerHandle ? answer["result"] != 0xFFFF : IsYes(answer);
}

bool IsYes(const TJson& answer)
{
    const TJson& result = answer["result"];
    return result.is_boolean() ? result.get<bool>() : result != 0 && result != -1;
}
} // namespace CIM::cictl
