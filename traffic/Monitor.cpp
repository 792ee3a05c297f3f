#include "Monitor.h"

#include "protocol/Envelope.h"
#include "json/OperationForm.h"

#include <ciapi/CINames.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace CIM::traffic
{
TCMessagePtr MakeMonitorRequest(const std::vector<std::string>& more)
{
    // Also calls that name no interface, and calls of other members and objects: somebody may have got them wrong.
    std::vector<std::string> rules = {std::string("type='method_call',member='") + protocol::CALL_MEMBER + "'",
                                      "type='signal',interface='" + CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME + "'",
                                      "type='method_return'", "type='error'"};
    for (const json::TCInterfaceForm& interface : json::Interfaces())
    {
        rules.push_back("type='method_call',interface='" + interface.ConnectionName() + "'");
    }
    rules.insert(rules.end(), more.begin(), more.end());
    std::vector<const char*> texts;
    std::transform(rules.begin(), rules.end(), std::back_inserter(texts),
                   [](const std::string& rule) { return rule.c_str(); });
    const char* const* const array = texts.data();
    const dbus_uint32_t flags = 0;
    TCMessagePtr request(
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_MONITORING, "BecomeMonitor"));
    const bool isComplete = request && dbus_message_append_args(request.get(), DBUS_TYPE_ARRAY, DBUS_TYPE_STRING,
                                                                &array, static_cast<int>(texts.size()),
                                                                DBUS_TYPE_UINT32, &flags, DBUS_TYPE_INVALID);
    return isComplete ? std::move(request) : nullptr;
}
} // namespace CIM::traffic
