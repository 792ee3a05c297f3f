#include "protocol/SignalSubscriber.h"
#include "protocol/Skeleton.h"
#include "proxy/CISignalSubscriberProxy.h"
#include "proxy/SignalData.h"
#include "support/FakeConnection.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <unistd.h>

namespace CIM
{
namespace
{
struct SReceived
{
    ECISignalType type;
    EProfile profile;
    unsigned short handle;
    std::string data;
    void* userData;
};
std::vector<SReceived> g_received;
std::function<void()> g_inCallback;

int Receive(ECISignalType type, EProfile profile, unsigned short handle, TSSignalData data, void* userData)
{
    g_received.push_back({type, profile, handle, std::string(reinterpret_cast<const char*>(&data), 8), userData});
    if (g_inCallback)
    {
        g_inCallback();
    }
    return 0;
}
int NeverCalled(ECISignalType, EProfile, unsigned short, TSSignalData, void*)
{
    ADD_FAILURE() << "the second callback was called";
    return 0;
}

/// What the daemon is told, as text.
class TCSubscriptions : public TCCISignalSubscriberProxyNO_CI
{
public:
    int Subscribe(ECISignalType type, void*, EProfile profile, unsigned short handle, long processId) override
    {
        EXPECT_EQ(processId, GetPid());
        told.push_back("+" + std::to_string(type) + " " + std::to_string(profile) + ":" + std::to_string(handle));
        return 11;
    }
    int Unsubscribe(ECISignalType type, EProfile profile, unsigned short handle, long processId) override
    {
        EXPECT_EQ(processId, GetPid());
        told.push_back("-" + std::to_string(type) + " " + std::to_string(profile) + ":" + std::to_string(handle));
        return 12;
    }
    std::vector<std::string> told;
};

/// A payload as the daemon makes it: data, profile, handle number, filler.
std::string Payload(std::string_view data, std::int32_t profile, std::uint16_t handle, std::string_view tail)
{
    std::string payload(data);
    payload.append(reinterpret_cast<const char*>(&profile), sizeof(profile));
    payload.append(reinterpret_cast<const char*>(&handle), sizeof(handle));
    return payload.append(tail);
}
} // namespace

class SubscriberTest : public testing::Test
{
protected:
    SubscriberTest()
    {
        g_received.clear();
        g_inCallback = nullptr;
        m_helper->connection->answer = [this](const TCFakeConnection::SCall& call, std::string& reply)
        {
            TCMessageBuffer request;
            TCMessageBuffer answer;
            request.PushConcatenated(static_cast<int>(call.payload.size()), call.payload.data());
            EXPECT_EQ(m_skeleton.Handle(call.methodId, false, request, answer), protocol::EHandled::ANSWERED);
            reply.assign(answer.GetAsCStr(0), answer.GetUnreadSize());
            return m_daemonAnswers;
        };
        m_proxy.emplace(m_helper);
        TCLogCapture::Clear();
    }

    /// As the connection does when a signal comes in.
    void Raise(int type, const std::string& payload)
    {
        TCMessageBuffer buffer;
        buffer.PushConcatenated(static_cast<int>(payload.size()), payload.data());
        ASSERT_NE(m_helper->connection->callback, nullptr);
        m_helper->connection->callback(type, buffer);
    }

    static constexpr ECISignalType READY = SIGNAL_CI_CAM_READY_STATUS_CHANGED;
    static constexpr EProfile MINUS = static_cast<EProfile>(-1);

    boost::shared_ptr<TCFakeHelper> m_helper = boost::make_shared<TCFakeHelper>();
    TCSubscriptions m_daemon;
    protocol::TSkeleton<ICISignalSubscriber> m_skeleton{m_daemon};
    bool m_daemonAnswers = true;
    std::optional<TCCISignalSubscriberProxy> m_proxy;
};

TEST_F(SubscriberTest, KeepsOneSubscriptionForEachKey)
{
    int first = 0;
    int second = 0;
    EXPECT_EQ(m_proxy->Subscribe(READY, &first, PROFILE_MAIN, 1, 99), 11);
    EXPECT_EQ(m_proxy->Subscribe(READY, &second, PROFILE_MAIN, 1, 99), 0);
    EXPECT_EQ(TCLogCapture::Count("Signal was already subscribed [20]SIGNAL_CI_CAM_READY_STATUS_CHANGED"), 2u);
    EXPECT_EQ(m_proxy->Subscribe(READY, &second, PROFILE_MAIN, 2, 99), 11);
    EXPECT_EQ(m_proxy->Subscribe(READY, &second, MINUS, 1, 99), 11);
    m_proxy->SetCallback(Receive);
    m_proxy->SetCallback(NeverCalled);
    EXPECT_EQ(TCLogCapture::Count("m_callback was already set, don't overwrite it."), 1u);

    Raise(READY, Payload("12345678", 0, 1, "??and more"));
    Raise(READY, Payload("abcdefgh", -1, 1, std::string(2, '\0')));
    Raise(READY, Payload("abcdefgh", 7, 7, "xx")); // nobody subscribed to this: delivered all the same
    Raise(READY, Payload("abcdefgh", 0, 1, "x"));  // 15 bytes
    ASSERT_EQ(g_received.size(), 3u);
    EXPECT_EQ(g_received[0].userData, &first);
    EXPECT_EQ(g_received[0].data, "12345678");
    EXPECT_EQ(g_received[0].handle, 1);
    EXPECT_EQ(g_received[1].profile, MINUS);
    EXPECT_EQ(g_received[1].userData, &second);
    EXPECT_EQ(g_received[2].userData, nullptr);
    EXPECT_EQ(TCLogCapture::Count("Received signal data length is invalid: 15"), 2u);

    EXPECT_EQ(m_proxy->Unsubscribe(READY, PROFILE_MAIN, 2, 0), 12);
    EXPECT_EQ(m_proxy->Unsubscribe(READY, PROFILE_MAIN, 2, 0), 0);
    EXPECT_EQ(TCLogCapture::Count("Signal not exists in subscribtion list."), 2u);

    // What is left ends with the proxy, in the order of the keys.
    m_proxy.reset();
    EXPECT_EQ(m_daemon.told,
              (std::vector<std::string>{"+20 0:1", "+20 0:2", "+20 -1:1", "-20 0:2", "-20 -1:1", "-20 0:1"}));
    EXPECT_EQ(m_helper->connection->rules, (std::vector<std::string>{"+0 20 0:1", "+0 20 0:2", "+0 20 -1:1",
                                                                     "-0 20 0:2", "-0 20 -1:1", "-0 20 0:1"}));
    EXPECT_EQ(m_helper->connection->callback, nullptr);
}

TEST_F(SubscriberTest, FailuresLeaveWhatTheyMustLeave)
{
    m_helper->connection->acceptsRules = false;
    EXPECT_EQ(m_proxy->Subscribe(READY, nullptr, PROFILE_MAIN, 1, 0), 0); // refused by the bus: stays subscribed
    EXPECT_EQ(m_proxy->Subscribe(READY, nullptr, PROFILE_MAIN, 1, 0), 0);
    EXPECT_EQ(TCLogCapture::Count("AddMatchRule FALSE "), 2u);
    EXPECT_EQ(TCLogCapture::Count("Signal was already subscribed"), 2u);
    EXPECT_EQ(m_proxy->Unsubscribe(READY, PROFILE_MAIN, 1, 0), 0); // the entry goes, the daemon is not told
    EXPECT_EQ(TCLogCapture::Count("RemoveMatchRule FALSE!"), 2u);
    EXPECT_EQ(m_proxy->Unsubscribe(READY, PROFILE_MAIN, 1, 0), 0);
    EXPECT_EQ(TCLogCapture::Count("Signal not exists in subscribtion list."), 2u);
    EXPECT_TRUE(m_daemon.told.empty());

    m_helper->connection->acceptsRules = true;
    m_daemonAnswers = false;
    EXPECT_EQ(m_proxy->Subscribe(READY, nullptr, PROFILE_MAIN, 1, 0), 0);
    m_daemonAnswers = true;
    EXPECT_EQ(m_proxy->Unsubscribe(READY, PROFILE_MAIN, 1, 0), 12); // it was subscribed nevertheless
}

TEST_F(SubscriberTest, KeysAreOrderedByTypeThenProfileThenHandle)
{
    const TSSignalKey keys[] = {{static_cast<ECISignalType>(5), PROFILE_MAIN, 9},
                                {static_cast<ECISignalType>(5), PROFILE_SUB, 0},
                                {static_cast<ECISignalType>(5), PROFILE_SUB, 65535},
                                {static_cast<ECISignalType>(6), MINUS, 0}};
    for (std::size_t i = 0; i < std::size(keys); ++i)
    {
        for (std::size_t j = 0; j < std::size(keys); ++j)
        {
            EXPECT_EQ(keys[i] < keys[j], i < j) << i << " " << j;
        }
    }
}

// A callback may subscribe and unsubscribe, and may throw: every lock is free afterwards.
TEST_F(SubscriberTest, CallbacksMayActAndThrow)
{
    m_proxy->SetCallback(Receive);
    EXPECT_EQ(m_proxy->Subscribe(READY, nullptr, PROFILE_MAIN, 1, 0), 11);
    g_inCallback = [this]
    {
        EXPECT_EQ(m_proxy->Unsubscribe(READY, PROFILE_MAIN, 1, 0), 12);
        EXPECT_EQ(m_proxy->Subscribe(READY, nullptr, PROFILE_MAIN, 2, 0), 11);
        throw std::runtime_error("from the application");
    };
    EXPECT_THROW(Raise(READY, Payload("12345678", 0, 1, "  ")), std::runtime_error);
    g_inCallback = nullptr;
    std::thread other([this] { EXPECT_EQ(m_proxy->Unsubscribe(READY, PROFILE_MAIN, 2, 0), 12); });
    other.join();
    Raise(READY, Payload("12345678", 0, 1, "  "));
    EXPECT_EQ(g_received.size(), 2u);
}

// The newest subscriber receives; the end of an older one takes nothing from it.
TEST_F(SubscriberTest, TheNewestReceives)
{
    m_proxy->SetCallback(NeverCalled);
    {
        TCCISignalSubscriberProxy second(m_helper);
        second.SetCallback(Receive);
        Raise(READY, Payload("12345678", 0, 1, "  "));
        m_proxy.reset();
        Raise(READY, Payload("12345678", 0, 1, "  "));
    }
    EXPECT_EQ(g_received.size(), 2u);
    EXPECT_EQ(m_helper->connection->callback, nullptr);
    TCMessageBuffer late;
    OnSignal(READY, late); // a signal after everything: dropped
}
} // namespace CIM
