#include "support/FakeClock.h"
#include "support/InChild.h"
#include "support/LogCapture.h"
#include "support/PrivateBus.h"
#include "support/ScriptedDaemon.h"

#include <ciapi/CINames.h>
#include <ciapi/CIService.h>

#include <tvplatform/SystemInfo.h>

#include <glib.h>
#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

// The facade and what decides between proxy and null implementation. A process has one facade and reads its feature
// keys once: each case has a process of its own.

namespace CIM
{
namespace
{
constexpr std::chrono::seconds BOUND{20};

// The set's feature keys, and who read which.
struct SSystemInformation
{
    std::mutex mutex;
    std::map<std::string, int> keys;
    std::map<std::string, int> reads;

    int Read(const char* key, int& value)
    {
        const std::lock_guard lock(mutex);
        ++reads[key];
        const auto found = keys.find(key);
        if (found == keys.end())
        {
            return -2;
        }
        value = found->second;
        return 0;
    }
};

SSystemInformation& Information()
{
    static SSystemInformation* const information = new SSystemInformation;
    return *information;
}

void SetKeys(std::map<std::string, int> keys)
{
    Information().keys = std::move(keys);
    TCLogCapture::Clear();
}

int FirstCallback(ECISignalType, EProfile, unsigned short, TSSignalData, void*) { return 0; }
int SecondCallback(ECISignalType, EProfile, unsigned short, TSSignalData, void*) { return 0; }

// Every instance, in the order in which Destroy deletes them.
std::vector<void*> AllInstances()
{
    return {TCCIService::CIGeneralInstance(),
            TCCIService::CIAppMMIInstance(),
            TCCIService::CIOperatorProfileInstance(),
            TCCIService::PvrCipInstance(),
            TCCIService::CIDebugInstance(),
            TCCIService::CIAuxiliaryFileSystemInstance(),
            TCCIService::CISignalSubscriberInstance(&FirstCallback),
            TCCIService::CICAMPlayerInstance(),
            TCCIService::CISampleDecryptionInstance()};
}

// Which functions logged, in order, as far as a name contains the piece.
std::vector<std::string> Functions(const std::string& piece)
{
    std::vector<std::string> functions;
    for (const SLogLine& line : TCLogCapture::Lines())
    {
        const auto begin = line.text.find(": ") + 2;
        const std::string function = line.text.substr(begin, line.text.find('(') - begin);
        if (function.find(piece) != std::string::npos)
        {
            functions.push_back(function);
        }
    }
    return functions;
}

TEST(Capability, MissingCountIsTriedThirtyTimesOnceAndMeansNoCi)
{
    InChild(
        []
        {
            SetKeys({{CI_FMS_SUPPORT, 1}, {CI_FMS_SUPPORT_CERTIFICATION, 1}});
            EXPECT_FALSE(TCCIService::IsCIOperable());
            EXPECT_FALSE(TCCIService::IsCIOperable());
            EXPECT_EQ(TCFakeClock::Sleeps(), 30u);
            EXPECT_EQ(TCFakeClock::Milliseconds(), 30000u);
            const auto lines = TCLogCapture::Lines();
            ASSERT_EQ(lines.size(), 30u);
            for (std::size_t attempt = 0; attempt < lines.size(); ++attempt)
            {
                EXPECT_EQ(lines[attempt].buffer, 0);
                EXPECT_EQ(lines[attempt].priority, 4);
                EXPECT_THAT(lines[attempt].text,
                            testing::EndsWith("] Get com.kelvora/featureconf/product.num_of_ci failed: error[-2] "
                                              "which try[" +
                                              std::to_string(attempt) + "]"));
            }
            EXPECT_EQ(Information().reads.size(), 1u) << "the region is not read on a set without slots";
        });
}

TEST(Capability, CountThatAppearsIsReadOnceByHoweverManyThreads)
{
    InChild(
        []
        {
            SetKeys({});
            TCFakeClock::OnSleep(
                [](unsigned int)
                {
                    if (TCFakeClock::Sleeps() == 3)
                    {
                        const std::lock_guard lock(Information().mutex);
                        Information().keys[CI_FMS_NUM_OF_CI] = 0;
                    }
                });
            std::mutex mutex;
            std::set<ICIGeneral*> instances;
            std::vector<std::thread> threads;
            for (int i = 0; i < 8; ++i)
            {
                threads.emplace_back(
                    [&]
                    {
                        ICIGeneral* const instance = TCCIService::CIGeneralInstance();
                        const std::lock_guard lock(mutex);
                        instances.insert(instance);
                    });
            }
            for (std::thread& thread : threads)
            {
                thread.join();
            }
            EXPECT_EQ(TCFakeClock::Sleeps(), 3u);
            EXPECT_EQ(Information().reads, (std::map<std::string, int>{{CI_FMS_NUM_OF_CI, 4}}));
            EXPECT_EQ(TCLogCapture::Count("Number of CI is 0"), 1u);
            ASSERT_EQ(instances.size(), 1u);
            EXPECT_EQ((*instances.begin())->IsCiSupported(), 0);
        });
}

TEST(Capability, RegionNeedsSupportAndCertification)
{
    const struct
    {
        std::optional<bool> support;
        std::optional<bool> certification;
        bool alternating; // only one of them can be read at a time
        bool operable;
        unsigned long sleeps;
        const char* lastLine;
    } cases[] = {
        {true, true, false, true, 0, "] CI operable[true] - Cert[true]"},
        {true, false, false, false, 0, "] CI operable[true] - Cert[false]"},
        {false, true, false, false, 0, "] CI operable[false] - Cert[true]"},
        {true, {}, false, false, 30, "] Get isCISupportedByRegion failed: error[0] which try[29]"},
        {{}, true, false, false, 30, "] Get isCISupportedByRegion failed: error[-2] which try[29]"},
        {true, true, true, true, 30, "] Get isCISupportedByRegion failed: error[-2] which try[29]"},
    };
    for (const auto& row : cases)
    {
        SCOPED_TRACE(row.lastLine);
        InChild(
            [&row]
            {
                std::map<std::string, int> both{{CI_FMS_NUM_OF_CI, 1}};
                if (row.support)
                {
                    both[CI_FMS_SUPPORT] = *row.support;
                }
                if (row.certification)
                {
                    both[CI_FMS_SUPPORT_CERTIFICATION] = *row.certification;
                }
                SetKeys(both);
                if (row.alternating)
                {
                    Information().keys.erase(CI_FMS_SUPPORT_CERTIFICATION);
                    TCFakeClock::OnSleep(
                        [both](unsigned int)
                        {
                            Information().keys = both;
                            Information().keys.erase(TCFakeClock::Sleeps() % 2 ? CI_FMS_SUPPORT
                                                                               : CI_FMS_SUPPORT_CERTIFICATION);
                        });
                }
                EXPECT_EQ(TCCIService::IsCIOperable(), row.operable);
                EXPECT_EQ(TCFakeClock::Sleeps(), row.sleeps);
                EXPECT_THAT(TCLogCapture::Lines().back().text, testing::EndsWith(row.lastLine));
                const int tries = row.sleeps == 0 ? 1 : 30;
                EXPECT_EQ(Information().reads[CI_FMS_SUPPORT], tries);
                EXPECT_EQ(Information().reads[CI_FMS_SUPPORT_CERTIFICATION], tries);
                EXPECT_EQ(TCCIService::IsCIOperable(), row.operable) << "from the cache";
                EXPECT_EQ(TCFakeClock::Sleeps(), row.sleeps);
                EXPECT_THAT(TCLogCapture::Lines().back().text,
                            testing::AllOf(testing::HasSubstr(": IsCISupportedByRegion("), testing::EndsWith("] ")));
            });
    }
}

class Facade : public testing::Test
{
protected:
    // A set with CI whose daemon never appears: the proxies stop waiting for it, on the fake clock.
    void SetUp() override { SetKeys({{CI_FMS_NUM_OF_CI, 1}, {CI_FMS_SUPPORT, 1}, {CI_FMS_SUPPORT_CERTIFICATION, 1}}); }

    TCPrivateBus m_bus;
};

TEST_F(Facade, HandsOutProxiesUntilDestroyed)
{
    InChild(
        []
        {
            const auto instances = AllInstances();
            EXPECT_THAT(instances, testing::Each(testing::NotNull()));
            EXPECT_EQ(TCCIService::CIGeneralInstance()->IsCiSupported(), 1);
            EXPECT_EQ(TCLogCapture::Count(": SetCallback("), 2u) << "one call, which writes two lines";
            EXPECT_EQ(TCCIService::CISignalSubscriberInstance(&SecondCallback), instances[6]);
            EXPECT_EQ(TCLogCapture::Count(": SetCallback("), 2u) << "the first caller wins";
            EXPECT_EQ(AllInstances(), instances);

            TCLogCapture::Clear();
            TCCIService::Destroy();
            EXPECT_THAT(Functions("~TC"),
                        testing::ElementsAre("~TCCIGeneralProxy", "~TCCIGeneralProxyNO_CI", "~TCCIAppMMIProxy",
                                             "~TCCIAppMMIProxyNO_CI", "~TCCIOperatorProfileProxy",
                                             "~TCCIOperatorProfileProxyNO_CI", "~TCPvrCipProxy", "~TCPvrCipProxyNO_CI",
                                             "~TCCIDebugProxy", "~TCCIDebugProxyNO_CI", "~TCCIAuxiliaryFileSystemProxy",
                                             "~TCCIAuxiliaryFileSystemProxyNO_CI", "~TCCISignalSubscriberProxy",
                                             "~TCCISignalSubscriberProxyNO_CI", "~TCCICAMPlayerProxy",
                                             "~TCCICAMPlayerProxyNO_CI", "~TCCISampleDecryptionProxy",
                                             "~TCCISampleDecryptionProxyNO_CI", "~TCCIMIPCConnection"));
            const auto lines = TCLogCapture::Lines();
            for (const auto& [index, priority] : {std::pair{0, 4}, std::pair{1, 3}})
            {
                EXPECT_EQ(lines[index].buffer, 2);
                EXPECT_EQ(lines[index].priority, priority);
                EXPECT_THAT(lines[index].text,
                            testing::MatchesRegex("CIService.cpp: Destroy\\(.*\\) > \\[CIM_MAJOR\\] pid.* prog.*\\] "));
            }
            EXPECT_THAT(AllInstances(), testing::Each(testing::IsNull()));
            EXPECT_TRUE(TCCIService::IsCIOperable()) << "the capability is still known";
            TCCIService::Destroy();
        });
}

// A callback that is running holds up the subscriber's end: whoever calls Destroy meanwhile waits for that, too.
struct SHold
{
    std::promise<void> entered;
    std::promise<void> released;
};

SHold& Hold()
{
    static SHold* const hold = new SHold;
    return *hold;
}

int HoldingCallback(ECISignalType, EProfile, unsigned short, TSSignalData, void*)
{
    Hold().entered.set_value();
    EXPECT_EQ(Hold().released.get_future().wait_for(BOUND), std::future_status::ready);
    return 0;
}

TEST_F(Facade, EveryDestroyReturnsWhenEverythingHasEnded)
{
    InChild(
        []
        {
            TCCIService::CISignalSubscriberInstance(&HoldingCallback)
                ->Subscribe(SIGNAL_CI_CA_REPLY, nullptr, PROFILE_MAIN, 1, 0);
            AllInstances();
            GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
            std::thread receiver([loop] { g_main_loop_run(loop); });
            TCScriptedDaemon sender({}, nullptr);
            sender.Send(TCScriptedDaemon::Signal("Signal", std::to_string(SIGNAL_CI_CA_REPLY), "1",
                                                 std::string("payload!\0\0\0\0\1\0\0\0", 16)));
            EXPECT_EQ(Hold().entered.get_future().wait_for(BOUND), std::future_status::ready);

            TCLogCapture::Clear();
            std::thread first(TCCIService::Destroy);
            EXPECT_TRUE(TCLogCapture::WaitFor(": ~TCCISignalSubscriberProxy(", BOUND));
            auto second = std::async(std::launch::async,
                                     []
                                     {
                                         TCCIService::Destroy();
                                         return Functions("~TCCIMIPCConnection").size();
                                     });
            EXPECT_EQ(second.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
            EXPECT_THAT(Functions("~TCCIMIPCConnection"), testing::IsEmpty());
            Hold().released.set_value();
            EXPECT_EQ(second.get(), 1u) << "it returned before the connection was closed";
            first.join();
            EXPECT_THAT(AllInstances(), testing::Each(testing::IsNull()));
            g_main_loop_quit(loop);
            receiver.join();
        });
}

TEST_F(Facade, ProcessThatNeverDestroysEndsCleanlyWhileItsMainLoopRuns)
{
    const auto body = []
    {
        AllInstances();
        std::thread([] { g_main_loop_run(g_main_loop_new(nullptr, FALSE)); }).detach();
        TCCIService::CISignalSubscriberInstance(nullptr)->Subscribe(SIGNAL_CI_CA_REPLY, nullptr, PROFILE_MAIN, 1, 0);
        TCLogCapture::EchoToStandardError(true);
        std::exit(0);
    };
    EXPECT_EXIT(body(), testing::ExitedWithCode(0), "~TCCISampleDecryptionProxyNO_CI(.|\n)*~TCCIMIPCConnection");
}
} // namespace
} // namespace CIM

extern "C" int system_info_get_custom_int(const char* key, int* value) { return CIM::Information().Read(key, *value); }

extern "C" int system_info_get_custom_bool(const char* key, bool* value)
{
    int number = *value;
    const int error = CIM::Information().Read(key, number);
    *value = number != 0;
    return error;
}
