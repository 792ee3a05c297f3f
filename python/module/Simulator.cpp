#include "Simulator.h"

#include "bus/Handles.h"
#include "privatebus/Keeper.h"
#include "simulator/daemon/Verbs.h"

#include <ciapi/CINames.h>

#include <memory>
#include <mutex>
#include <stdexcept>

namespace CIM::python
{
namespace
{
constexpr int SLOTS = 2;

/// The one bus of the process: the library connects once. Never destroyed: a process that does not come to EndBus takes
/// its keeper along all the same.
struct TSBus
{
    privatebus::TCBusFolder folder = privatebus::TCBusFolder::Make("ciapi-python");
    privatebus::TCKeeper keeper;
};
TSBus* theBus = nullptr;
std::mutex theBusMutex;

const privatebus::TCBusFolder& Bus()
{
    const std::lock_guard lock(theBusMutex);
    if (theBus == nullptr)
    {
        auto bus = std::make_unique<TSBus>();
        privatebus::TSKeeperOptions options;
        options.name = "ciapi-python-bus";
        options.isOrphan = true;
        bus->keeper.Start(bus->folder, options);
        theBus = bus.release();
    }
    return theBus->folder;
}
} // namespace

std::map<std::string, std::string> StartBus()
{
    const privatebus::TCBusFolder& folder = Bus();
    return {{"DBUS_SYSTEM_BUS_ADDRESS", folder.Address()},
            {"TVPLATFORM_SYSTEM_INFO", folder.FeatureKeyFile()},
            {"CIAPI_DAEMON_READY_FILE", folder.MarkerFile()}};
}

void EndBus()
{
    if (theBus != nullptr)
    {
        theBus->keeper.LetGo();
    }
}

void WriteKeys(const std::map<std::string, std::string>& different)
{
    auto keys = privatebus::DefaultFeatureKeys(SLOTS);
    const std::string prefix = CI_FMS_SUPPORT.substr(0, CI_FMS_SUPPORT.rfind('/') + 1);
    for (const auto& [name, value] : different)
    {
        keys[name.find('/') == std::string::npos ? prefix + name : name] = value;
    }
    privatebus::WriteFeatureKeys(Bus().FeatureKeyFile(), keys);
}

std::string Ask(const std::string& verb, const std::vector<std::string>& arguments)
{
    TCDBusError error;
    if (!dbus_validate_member(verb.c_str(), nullptr))
    {
        throw std::invalid_argument("there is no verb " + verb);
    }
    const TCMessagePtr call(
        dbus_message_new_method_call(sim::CONTROL_NAME, sim::CONTROL_OBJECT, sim::CONTROL_INTERFACE, verb.c_str()));
    if (call == nullptr)
    {
        throw std::bad_alloc();
    }
    DBusMessageIter iterator;
    dbus_message_iter_init_append(call.get(), &iterator);
    for (const std::string& argument : arguments)
    {
        if (argument.find('\0') != std::string::npos || !dbus_validate_utf8(argument.c_str(), nullptr))
        {
            throw std::invalid_argument("a text with characters that cannot be sent");
        }
        const char* const text = argument.c_str();
        dbus_message_iter_append_basic(&iterator, DBUS_TYPE_STRING, &text);
    }
    dbus_message_set_auto_start(call.get(), FALSE);
    const TCConnectionPtr connection = OpenBusAt(Bus().Address().c_str(), error);
    if (connection == nullptr)
    {
        throw std::runtime_error(std::string("no bus: ") + error.Text());
    }
    const TCMessagePtr reply(dbus_connection_send_with_reply_and_block(connection.get(), call.get(), -1, error.Get()));
    if (reply == nullptr)
    {
        const std::string name = error.Name();
        if (name == DBUS_ERROR_INVALID_ARGS || name == DBUS_ERROR_UNKNOWN_METHOD || name == sim::CONTROL_REFUSED)
        {
            throw std::invalid_argument(error.Text());
        }
        throw std::runtime_error(std::string("no simulator answers: ") + error.Text());
    }
    const char* text = "";
    if (!dbus_message_get_args(reply.get(), nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID))
    {
        text = "";
    }
    return text;
}
} // namespace CIM::python
