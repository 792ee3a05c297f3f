#include "bus/Arguments.h"
#include "no_ci/CISignalSubscriberProxyNO_CI.h"
#include "policy/PolicyBus.h"
#include "policy/Users.h"
#include "privatebus/Process.h"
#include "protocol/SignalSubscriber.h"
#include "protocol/Skeleton.h"
#include "support/ScriptedDaemon.h"

#include <ciapi/CINames.h>
#include <ciapi/CIService.h>

#include <glib.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <sys/prctl.h>
#include <unistd.h>

// An application as it is, the library in it, and a daemon, each a process of the user whom the policy means.

namespace CIM
{
namespace
{
constexpr unsigned BOUND_SECONDS = 40;

/// A piece of a test in a process of another user, which ends with the test.
class TCProcessAs
{
public:
    TCProcessAs(const TSUser& user, const std::function<void()>& body)
    {
        std::fflush(nullptr);
        const pid_t maker = getpid();
        m_process = fork();
        if (m_process == 0)
        {
            try
            {
                BecomeForEver(user);
                prctl(PR_SET_PDEATHSIG, SIGKILL); // a change of user forgets it
                alarm(BOUND_SECONDS);
                if (getppid() == maker)
                {
                    body();
                }
            }
            catch (const std::exception& error)
            {
                ADD_FAILURE() << user.name << ": " << error.what();
            }
            std::fflush(nullptr);
            std::_Exit(testing::Test::HasFailure() ? 1 : 0);
        }
    }
    ~TCProcessAs()
    {
        if (privatebus::SendSignal(m_process, SIGKILL))
        {
            privatebus::WaitForEnd(m_process);
        }
    }
    TCProcessAs(const TCProcessAs&) = delete;
    TCProcessAs& operator=(const TCProcessAs&) = delete;

    int WaitForEnd() { return privatebus::WaitForEnd(std::exchange(m_process, -1)); }

private:
    pid_t m_process = -1;
};

class TCSubscriber : public TCCISignalSubscriberProxyNO_CI
{
public:
    int Subscribe(ECISignalType, void*, EProfile, unsigned short, long) override { return 1; }
};

/// Answers a subscription, and announces it at once: to everybody, then to the receiver name of who asked.
void PlayDaemon(int ready, int over)
{
    TCSubscriber subscriber;
    protocol::TSkeleton<ICISignalSubscriber> skeleton(subscriber);
    std::unique_ptr<TCScriptedDaemon> daemon;
    const auto answer = [&](const TCScriptedDaemon::TMessage& call)
    {
        protocol::SCallEnvelope envelope;
        ReadArguments(call.get(), envelope);
        TCMessageBuffer request;
        TCMessageBuffer reply;
        request.PushConcatenated(envelope.payload.length, envelope.payload.data);
        skeleton.Handle(protocol::MethodIdOf(envelope.header), false, request, reply);

        const std::string payload("12345678\0\0\0\0\3\0\0\0", 16);
        const auto signal = TCScriptedDaemon::Signal("Signal", "20", "3", payload);
        daemon->Send(signal);
        const TCScriptedDaemon::TMessage directed(dbus_message_copy(signal.get()), dbus_message_unref);
        std::string number = dbus_message_get_sender(call.get()); // ":1.7"
        number.replace(0, 3, ".u1.u");
        dbus_message_set_destination(directed.get(),
                                     ("com.kelvora.sub.p" + std::to_string(envelope.processId) + number).c_str());
        daemon->Send(directed);
        return TCScriptedDaemon::Reply(call, protocol::STATUS_HANDLED, {reply.GetAsCStr(0), reply.GetUnreadSize()});
    };
    daemon = std::make_unique<TCScriptedDaemon>(std::vector<std::string>{CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME}, answer);
    char byte = 'r';
    ASSERT_EQ(write(ready, &byte, 1), 1);
    ASSERT_EQ(read(over, &byte, 1), 0);
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

void SubscribeAndHear(EBusProgram program)
{
    if (const std::string reason = WhyNotHere(program); !reason.empty())
    {
        GTEST_SKIP() << reason;
    }
    const TCPolicyBus bus(program, EBase::DEBIAN, POLICY_FOLDER);
    privatebus::WriteFeatureKeys(bus.Folder().FeatureKeyFile(), privatebus::DefaultFeatureKeys(1));
    setenv("DBUS_SYSTEM_BUS_ADDRESS", bus.Address().c_str(), 1);
    setenv("TVPLATFORM_SYSTEM_INFO", bus.Folder().FeatureKeyFile().c_str(), 1);

    int ready[2];
    int over[2];
    ASSERT_EQ(pipe(ready) | pipe(over), 0);
    TCProcessAs daemon(DAEMON,
                       [&]
                       {
                           close(over[1]);
                           PlayDaemon(ready[1], over[0]);
                       });
    close(ready[1]);
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1) << "no daemon";
    {
        TCProcessAs application(APPLICATION, PlayApplication);
        EXPECT_EQ(application.WaitForEnd(), 0);
    }
    close(over[1]);
    EXPECT_EQ(daemon.WaitForEnd(), 0);
}
} // namespace

TEST(BusPolicyApplication, SubscribesAndHearsOnDBusDaemon) { SubscribeAndHear(EBusProgram::DBUS_DAEMON); }
TEST(BusPolicyApplication, SubscribesAndHearsOnDBusBroker) { SubscribeAndHear(EBusProgram::DBUS_BROKER); }
} // namespace CIM
