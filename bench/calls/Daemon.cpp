#include "calls/Daemon.h"

#include "support/ScriptedDaemon.h"

#include <ciapi/CINames.h>

#include <cstring>
#include <unistd.h>

namespace CIM::bench
{
namespace
{
TCScriptedDaemon::TMessage Answer(TCScriptedDaemon& daemon, const TCScriptedDaemon::TMessage& request)
{
    DBusMessageIter iter;
    dbus_int32_t word = 0;
    dbus_message_iter_init(request.get(), &iter);
    dbus_message_iter_get_basic(&iter, &word);
    const std::string payload = TCScriptedDaemon::Payload(request.get());
    if ((word & 0xffff) == METHOD_RAISE) // the upper half has the call's flags
    {
        TSRaise wanted{};
        std::memcpy(&wanted, payload.data(), sizeof wanted);
        const std::string bytes(16, 'x');
        for (int number = 0; number < wanted.signals; ++number)
        {
            const int identifier = wanted.firstIdentifier + number % wanted.identifiers;
            daemon.Send(TCScriptedDaemon::Signal("Signal", std::to_string(identifier), SIGNAL_HANDLE, bytes));
        }
    }
    return TCScriptedDaemon::Reply(request, 1, payload);
}

int Serve(const std::function<void()>& ready)
{
    TCScriptedDaemon* self = nullptr;
    // The second name makes its owner the one whose signals count.
    TCScriptedDaemon daemon({INTERFACE, CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME},
                            [&self](const TCScriptedDaemon::TMessage& request) { return Answer(*self, request); });
    self = &daemon;
    ready();
    for (;;)
    {
        pause();
    }
}
} // namespace

TCBusAndDaemon::TCBusAndDaemon()
{
    const auto folder = privatebus::TCBusFolder::Make("ciapi-bench");
    folder.PutIntoEnvironment();
    privatebus::TSKeeperOptions options;
    options.companion = Serve;
    m_keeper.Start(folder, options);
}
} // namespace CIM::bench
