// An application that subscribes through the library, with signals raised by the simulator, by gdbus and by busctl.
// To be run as: ci-daemon-sim run -- signals_test PATH-TO-ci-daemon-sim

#include <ciapi/CIService.h>

#include <glib.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace CIM
{
namespace
{
std::string g_simulator;

struct SReceived
{
    EProfile profile;
    unsigned short handle;
    TSSignalData data;
    void* userData;
};
std::vector<SReceived> g_received;
std::function<void()> g_inCallback;

int Receive(ECISignalType, EProfile profile, unsigned short handle, TSSignalData data, void* userData)
{
    g_received.push_back({profile, handle, data, userData});
    if (g_inCallback)
    {
        g_inCallback();
    }
    return 0;
}

/// Runs the main loop until so many signals are there. \return false when the time is over without them
bool WaitForSignals(std::size_t count, int seconds)
{
    const gint64 end = g_get_monotonic_time() + seconds * G_USEC_PER_SEC;
    const guint tick = g_timeout_add(
        50, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    while (g_received.size() < count && g_get_monotonic_time() < end)
    {
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(tick);
    return g_received.size() >= count;
}

void Shell(const std::string& command) { ASSERT_EQ(std::system((command + " >/dev/null").c_str()), 0) << command; }

std::uint32_t Value(const TSSignalData& data)
{
    std::uint32_t value;
    std::memcpy(&value, data.bytes + 4, sizeof value);
    return value;
}
} // namespace

/// A client in Python that emits what it is told, and stays on the bus.
class TCForeignClient
{
public:
    TCForeignClient()
        : m_input(popen("/usr/bin/python3 -c '"
                        "import sys, dbus, dbus.lowlevel\n"
                        "bus = dbus.SystemBus()\n"
                        "for line in sys.stdin:\n"
                        "    pipeline, data = line.split()\n"
                        "    signal = dbus.lowlevel.SignalMessage(\"/com/kelvora/ciapi/SignalObject\",\n"
                        "                                         \"com.kelvora.ciapi.SignalIFace\", \"Signal\")\n"
                        "    payload = bytes(int(byte) for byte in data.split(\",\"))\n"
                        "    signal.append(\"59\", pipeline, len(payload), payload, signature=\"ssiay\")\n"
                        "    bus.send_message(signal)\n"
                        "    bus.flush()\n'",
                        "w"))
    {
    }
    ~TCForeignClient() { pclose(m_input); }
    TCForeignClient(const TCForeignClient&) = delete;
    TCForeignClient& operator=(const TCForeignClient&) = delete;

    void Emit(const char* pipeline, const char* data) const
    {
        std::fprintf(m_input, "%s %s\n", pipeline, data);
        std::fflush(m_input);
    }

private:
    FILE* m_input;
};

class SignalsTest : public testing::Test
{
protected:
    SignalsTest() { g_received.clear(); }
    ICISignalSubscriber& m_signals = *TCCIService::CISignalSubscriberInstance(Receive);
};

// The documented layout, from clients that nobody here wrote; what is about another pipeline does not arrive.
TEST_F(SignalsTest, ArriveFromForeignClients)
{
    int mark = 0;
    ASSERT_EQ(m_signals.Subscribe(SIGNAL_CI_CAM_MODE_CHANGED, &mark, PROFILE_SUB, 2, 0), 1);
    // Clients that leave at once, as busctl and gdbus do, are gone before the bus can tell whose they were.
    const TCForeignClient client;
    client.Emit("65539", "1,2,3,4,5,6,7,8,1,0,0,0,2,0,0,0"); // profile 1, handle 3: the bus keeps it back
    client.Emit("65538", "1,2,3,4,5,6,7,8,1,0,0,0,2,0,0,0");
    client.Emit("65538", "9,9,9,9,9,9,9,9,1,0,0,0,2,0,0,0");
    ASSERT_TRUE(WaitForSignals(2, 20));
    EXPECT_EQ(g_received.size(), 2u);
    EXPECT_EQ(std::memcmp(g_received[0].data.bytes, "\1\2\3\4\5\6\7\10", 8), 0);
    EXPECT_EQ(g_received[1].data.bytes[0], 9);
    EXPECT_EQ(g_received[1].profile, PROFILE_SUB);
    EXPECT_EQ(g_received[1].handle, 2);
    EXPECT_EQ(g_received[1].userData, &mark);
    EXPECT_EQ(m_signals.Unsubscribe(SIGNAL_CI_CAM_MODE_CHANGED, PROFILE_SUB, 2, 0), 1);
}

TEST_F(SignalsTest, AHundredThousandArriveCompleteAndInOrder)
{
    constexpr std::size_t COUNT = 100000;
    ASSERT_EQ(m_signals.Subscribe(SIGNAL_CI_TTX_STATUS_CHANGE, nullptr, PROFILE_MAIN, 5, 0), 1);
    Shell("\"" + g_simulator + "\" ctl AddFault '{\"kind\": \"storm\", \"signal\": \"SIGNAL_CI_TTX_STATUS_CHANGE\", " +
          "\"profile\": 0, \"handle\": 5, \"count\": " + std::to_string(COUNT) + "}'");
    const gint64 start = g_get_monotonic_time();
    ASSERT_TRUE(WaitForSignals(COUNT, 120)) << g_received.size();
    std::printf("%.0f signals a second\n", COUNT * 1e6 / static_cast<double>(g_get_monotonic_time() - start));
    ASSERT_EQ(g_received.size(), COUNT);
    const std::uint32_t first = Value(g_received[0].data);
    for (std::size_t i = 0; i < COUNT; ++i)
    {
        ASSERT_EQ(Value(g_received[i].data), first + i);
    }
    EXPECT_EQ(m_signals.Unsubscribe(SIGNAL_CI_TTX_STATUS_CHANGE, PROFILE_MAIN, 5, 0), 1);
}

// The end, while signals pour in on the main loop's thread and the callback asks the facade for an instance: neither
// waits for the other.
TEST_F(SignalsTest, DestroyWhileTheCallbackAsksTheFacade)
{
    ASSERT_EQ(m_signals.Subscribe(SIGNAL_CI_TTX_STATUS_CHANGE, nullptr, PROFILE_MAIN, 6, 0), 1);
    g_inCallback = [] { TCCIService::CIGeneralInstance(); };
    std::atomic<bool> isOver{false};
    std::thread loop(
        [&]
        {
            while (!isOver)
            {
                g_main_context_iteration(nullptr, TRUE);
            }
        });
    Shell("\"" + g_simulator + "\" ctl AddFault '{\"kind\": \"storm\", \"signal\": \"SIGNAL_CI_TTX_STATUS_CHANGE\", " +
          "\"profile\": 0, \"handle\": 6, \"count\": 20000}'");
    std::future<void> end = std::async(std::launch::async, [] { TCCIService::Destroy(); });
    const bool ended = end.wait_for(std::chrono::seconds(60)) == std::future_status::ready;
    EXPECT_TRUE(ended);
    if (!ended)
    {
        std::abort(); // what is stuck cannot be joined
    }
    EXPECT_EQ(TCCIService::CIGeneralInstance(), nullptr);
    isOver = true;
    g_main_context_wakeup(nullptr);
    loop.join();
}
} // namespace CIM

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: signals_test PATH-TO-ci-daemon-sim\n");
        return 2;
    }
    CIM::g_simulator = argv[1];
    const int status = RUN_ALL_TESTS();
    CIM::TCCIService::Destroy();
    return status;
}
