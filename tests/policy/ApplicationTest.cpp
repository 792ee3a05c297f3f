#include "bus/Arguments.h"
#include "policy/PolicyBus.h"
#include "privatebus/Process.h"
#include "protocol/Envelope.h"
#include "support/InChild.h"
#include "support/ScriptedDaemon.h"
#include "support/Users.h"

#include <ciapi/CINames.h>
#include <ciapi/CIService.h>

#include <glib.h>

#include <cstring>
#include <sys/prctl.h>

// An application as it is, the library in it, and a daemon, each a process of the user whom the policy means.

namespace CIM
{
namespace
{
using namespace std::string_literals;

constexpr unsigned BOUND_SECONDS = 40;

/// Answers a subscription, and announces it at once: to everybody, then to the receiver name of who asked.
void PlayDaemon()
{
    TCScriptedDaemon daemon(
        {CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME},
        [&](const TCScriptedDaemon::TMessage& call)
        {
            protocol::SCallEnvelope envelope;
            ReadArguments(call.get(), envelope);
            const auto signal = TCScriptedDaemon::Signal("Signal", "20", "3", "12345678\0\0\0\0\3\0\0\0"s);
            daemon.Send(signal);
            const TCScriptedDaemon::TMessage directed(dbus_message_copy(signal.get()), dbus_message_unref);
            std::string number = dbus_message_get_sender(call.get()); // ":1.7"
            number.replace(0, 3, ".u1.u");
            dbus_message_set_destination(directed.get(),
                                         ("com.kelvora.sub.p" + std::to_string(envelope.processId) + number).c_str());
            daemon.Send(directed);
            // An argument tree with the result 1.
            return TCScriptedDaemon::Reply(call, 1, "\1\0\0\0\2\0\0\0\x0c\0\0\0\1\0\0\0\4\0\0\0\1\0\0\0"s);
        });
    pause(); // until it is killed, or the alarm
}

int g_signals = 0;

void PlayApplication()
{
    ICISignalSubscriber* const subscriber = TCCIService::CISignalSubscriberInstance(
        [](ECISignalType type, EProfile, unsigned short handle, TSSignalData data, void*)
        {
            EXPECT_EQ(type, SIGNAL_CI_CAM_READY_STATUS_CHANGED);
            EXPECT_EQ(handle, 3);
            EXPECT_EQ(std::memcmp(data.bytes, "12345678", 8), 0);
            ++g_signals;
            return 0;
        });
    ASSERT_EQ(subscriber->Subscribe(SIGNAL_CI_CAM_READY_STATUS_CHANGED, nullptr, PROFILE_MAIN, 3, 0), 1);
    while (g_signals < 2) // the alarm is the bound
    {
        g_main_context_iteration(nullptr, TRUE);
    }
    TCCIService::Destroy();
}

class BusPolicyApplication : public testing::TestWithParam<EBusProgram>
{
};
} // namespace

TEST_P(BusPolicyApplication, SubscribesAndHears)
{
    if (const std::string reason = WhyNotHere(GetParam()); !reason.empty())
    {
        GTEST_SKIP() << reason;
    }
    const TCPolicyBus bus(GetParam(), DEBIAN_BASE, POLICY_FOLDER);
    privatebus::WriteFeatureKeys(bus.Folder().FeatureKeyFile(), privatebus::DefaultFeatureKeys(1));
    setenv("DBUS_SYSTEM_BUS_ADDRESS", bus.Address().c_str(), 1);
    setenv("TVPLATFORM_SYSTEM_INFO", bus.Folder().FeatureKeyFile().c_str(), 1);
    InChild(
        []
        {
            alarm(BOUND_SECONDS);
            const pid_t parent = getpid();
            const pid_t daemon = fork();
            ASSERT_NE(daemon, -1);
            if (daemon == 0)
            {
                ASSERT_NO_THROW(BecomeForEver(USER_GAMES));
                prctl(PR_SET_PDEATHSIG, SIGKILL); // a change of user forgets it
                alarm(BOUND_SECONDS);
                ASSERT_EQ(getppid(), parent);
                ASSERT_NO_THROW(PlayDaemon());
            }
            // Root, who may end the daemon, waits for the application, which waits for the daemon's name.
            InChild(
                []
                {
                    ASSERT_NO_THROW(BecomeForEver(USER_DAEMON_IN_VIDEO));
                    alarm(BOUND_SECONDS);
                    PlayApplication();
                });
            EXPECT_TRUE(privatebus::SendSignal(daemon, SIGKILL));
            EXPECT_EQ(privatebus::WaitForEnd(daemon), 128 + SIGKILL) << "it had ended before";
        });
}

INSTANTIATE_TEST_SUITE_P(On, BusPolicyApplication, testing::Values(EBusProgram::DBUS_DAEMON, EBusProgram::DBUS_BROKER),
                         [](const auto& info)
                         { return info.param == EBusProgram::DBUS_DAEMON ? "dbus_daemon" : "dbus_broker"; });
} // namespace CIM
