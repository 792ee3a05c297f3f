#include "support/PrivateBus.h"
#include "support/ScriptedDaemon.h"
#include "support/Shell.h"

#include <ciapi/CINames.h>
#include <ciapi/CISignalDataType.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

// How an application ends, in the ways of Application.cpp, beside a daemon that answers or hangs.

namespace CIM
{
namespace
{
using TMessage = TCScriptedDaemon::TMessage;

constexpr std::chrono::seconds BOUND{20};
constexpr int TIMEOUT_MS = 1500; // of a call
constexpr int UNSUBSCRIBE = 1;   // its method identifier

struct TSWay
{
    const char* name;
    int runs;
    bool isDaemonHung;
    int mostMs;
    int leastUnsubscribed = 3; ///< when the daemon is hung

    bool HasChildren() const { return std::string_view(name).starts_with("children"); }
    friend std::ostream& operator<<(std::ostream& stream, const TSWay& way) { return stream << way.name; }
};

// libdbus reads the address of the system bus once per process.
TCPrivateBus& Bus()
{
    static TCPrivateBus bus;
    return bus;
}

class Ending : public testing::TestWithParam<TSWay>
{
protected:
    Ending()
    {
        Bus();
        m_keys.emplace("CIAPI_CALL_TIMEOUT_MS", std::to_string(TIMEOUT_MS));
        m_file.emplace("TVPLATFORM_SYSTEM_INFO", m_folder.File("system-info.conf"));
        privatebus::WriteFeatureKeys(m_folder.File("system-info.conf"), privatebus::DefaultFeatureKeys(1));
    }
    ~Ending() override { privatebus::TCBusFolder::Remove(m_folder.Path().c_str()); }

    privatebus::TCBusFolder m_folder = privatebus::TCBusFolder::Make("ciapi-ending");
    std::optional<TCEnvironmentVariable> m_keys;
    std::optional<TCEnvironmentVariable> m_file;
};

std::vector<std::string> DaemonNames()
{
    return {CI_GENERAL_CONNECTION_NAME, CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME, CI_DEBUG_CONNECTION_NAME,
            CI_PVR_CIP_CONNECTION_NAME};
}
} // namespace

TEST_P(Ending, IsCleanAndInTime)
{
    const TSWay& way = GetParam();
    std::atomic<bool> isHung{false};
    std::atomic<int> unsubscribed{0};
    TCScriptedDaemon* self = nullptr;
    TCScriptedDaemon daemon(
        DaemonNames(),
        [&](const TMessage& request) -> TMessage
        {
            dbus_int32_t header = 0;
            dbus_message_get_args(request.get(), nullptr, DBUS_TYPE_INT32, &header, DBUS_TYPE_INVALID);
            const bool isSubscriber = CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME == dbus_message_get_interface(request.get());
            const bool isEnd = isSubscriber && (header & 0xffff) == UNSUBSCRIBE;
            unsubscribed += isEnd ? 1 : 0;
            isHung = isHung || (isEnd && way.isDaemonHung);
            if (isSubscriber && !isEnd)
            {
                self->Send(TCScriptedDaemon::Signal("Signal", std::to_string(SIGNAL_CI_CA_REPLY), "0",
                                                    std::string("payload!\0\0\0\0\0\0\0\0", 16)));
            }
            return isHung ? nullptr : TCScriptedDaemon::Reply(request, 1, "");
        });
    self = &daemon;
    const char* const wanted = std::getenv("CIAPI_ENDING_RUNS"); // more of them, by hand
    const int runs = wanted != nullptr ? std::atoi(wanted) : way.runs;
    for (int run = 0; run < runs; ++run)
    {
        isHung = false;
        unsubscribed = 0;
        const auto begin = std::chrono::steady_clock::now();
        // What a thread of the parent had on its stack is a leak in a child that does not have the thread.
        const char* const environment = way.HasChildren() ? "ASAN_OPTIONS=detect_leaks=0 " : "";
        const TSOutput output =
            Shell(std::string(environment) + "timeout -s KILL 60 " + ENDING_APPLICATION + " " + way.name);
        const auto elapsed = std::chrono::steady_clock::now() - begin;
        ASSERT_EQ(output.status, 0) << "run " << run << "\n" << output.text;
        EXPECT_LT(elapsed, std::chrono::milliseconds(way.mostMs)) << output.text;
        if (way.isDaemonHung)
        {
            EXPECT_GE(elapsed, std::chrono::milliseconds(TIMEOUT_MS)) << "nobody waited";
            while (unsubscribed < way.leastUnsubscribed && std::chrono::steady_clock::now() < begin + BOUND)
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            EXPECT_GE(unsubscribed, way.leastUnsubscribed) << "each subscription has its word to the daemon";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Ways, Ending,
    testing::Values(TSWay{"exit-while-threads-call", 20, false, 20000}, TSWay{"children-that-exit", 1, false, 20000},
                    TSWay{"children-that-call", 1, false, 20000}, TSWay{"children-that-destroy", 1, false, 20000},
                    TSWay{"destroy", 1, true, 2 * TIMEOUT_MS}, TSWay{"exit", 1, true, 2 * TIMEOUT_MS},
                    TSWay{"exit-while-subscribing", 1, true, 3 * TIMEOUT_MS, 1},
                    TSWay{"exit-in-callback", 1, false, 20000}, TSWay{"exit-in-callback-of-a-thread", 1, false, 20000},
                    TSWay{"exit-beside-callback", 1, false, 20000}),
    [](const auto& info)
    {
        std::string name = info.param.name;
        std::replace(name.begin(), name.end(), '-', '_');
        return name + (info.param.isDaemonHung ? "_hung" : "");
    });
} // namespace CIM
