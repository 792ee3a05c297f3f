#pragma once

#include "tools/CommandRun.h"

#include "support/PrivateBus.h"
#include "support/ScriptedDaemon.h"
#include "support/TestEnvironment.h"
#include "json/OperationForm.h"

#include <functional>
#include <string>
#include <vector>

namespace CIM
{
inline constexpr const char* CICTL = CICTL_PATH;

inline const std::string COUNT = "com.kelvora/featureconf/product.num_of_ci";
inline const std::string SUPPORT = "com.kelvora/featureconf/broadcasting.ci.support";
inline const std::string CERTIFICATION = "com.kelvora/featureconf/broadcasting.certification.ci";

inline TSRun Cictl(std::vector<std::string> arguments, const std::string& input = {})
{
    arguments.insert(arguments.begin(), CICTL);
    return RunCommand(arguments, input);
}

/// The bus names of the daemon.
inline std::vector<std::string> AllNames()
{
    std::vector<std::string> names;
    for (const json::TCInterfaceForm& interface : json::Interfaces())
    {
        names.push_back(interface.ConnectionName());
    }
    return names;
}

/// A set with CI, its bus, and a daemon that answers by a function of the test.
class TCPlayedDaemon
{
public:
    using TAnswer =
        std::function<TCScriptedDaemon::TMessage(const TCScriptedDaemon::TMessage&, const std::string& name)>;
    explicit TCPlayedDaemon(TAnswer answer)
        : m_daemon(AllNames(), [answer](const auto& request) { return answer(request, NameOf(request.get())); })
    {
        m_marker.Create();
    }
    TCScriptedDaemon& operator*() { return m_daemon; }

    static const json::TCOperationForm& Operation(DBusMessage* request)
    {
        dbus_int32_t word = 0;
        dbus_message_get_args(request, nullptr, DBUS_TYPE_INT32, &word, DBUS_TYPE_INVALID);
        return *json::FindInterface(dbus_message_get_interface(request))->Find(static_cast<short>(word & 0xFFFF));
    }
    static std::string NameOf(DBusMessage* request) { return Operation(request).Name(); }
    static TCScriptedDaemon::TMessage Answer(const TCScriptedDaemon::TMessage& request, const char* reply)
    {
        return TCScriptedDaemon::Reply(request, 1, Operation(request.get()).ReplyFromJson(json::TJson::parse(reply)));
    }

private:
    // libdbus reads the address once in a process, so that all cases of this process share one bus.
    static TCPrivateBus& Bus()
    {
        static TCPrivateBus bus;
        return bus;
    }

    TCPrivateBus& m_bus = Bus();
    TCFeatureKeys m_keys{{COUNT, "2"}, {SUPPORT, "true"}, {CERTIFICATION, "true"}};
    TCTempMarker m_marker;
    TCScriptedDaemon m_daemon;
};
} // namespace CIM
