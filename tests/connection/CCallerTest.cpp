// A caller in C against a scripted daemon, linked with the library as it is shipped.

#include "connection/CCaller.h"
#include "support/PrivateBus.h"
#include "support/ScriptedDaemon.h"

#include <atomic>
#include <gtest/gtest.h>

namespace CIM
{
TEST(CCallerTest, CallsAndReceivesSignals)
{
    TCPrivateBus bus;
    std::atomic<int> oneWayCalls{0};
    TCScriptedDaemon daemon({"com.kelvora.ciapi.ICIGeneral"},
                            [&](const TCScriptedDaemon::TMessage& request) -> TCScriptedDaemon::TMessage
                            {
                                const std::string payload = TCScriptedDaemon::Payload(request.get());
                                if (!dbus_message_get_no_reply(request.get()))
                                {
                                    return TCScriptedDaemon::Reply(request, 1, payload);
                                }
                                ++oneWayCalls;
                                daemon.Send(TCScriptedDaemon::Signal("Signal", "20", "65538", payload));
                                return nullptr;
                            });
    EXPECT_EQ(RunCCaller(), 0) << "the line of CCaller.c";
    EXPECT_EQ(oneWayCalls, 1);
}
} // namespace CIM
