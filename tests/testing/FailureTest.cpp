#include <ciapi-testing/Daemon.h>

#include <ciapi/CIService.h>

#include <gtest/gtest.h>

#include <unistd.h>

namespace CIM::test
{
namespace
{
constexpr int NO_ANSWER = 0; // what the library makes of a call that fails

int Ask() { return TCCIService::CIGeneralInstance()->IsCamPinNeeded(); }

bool IsMarkerThere() { return access(getenv("CIAPI_DAEMON_READY_FILE"), F_OK) == 0; }

TEST(TestDaemonFailures, MeetTheCallsThatTheyAreFor)
{
    struct TSCase
    {
        const char* what;
        TCFailure failure;
        std::vector<int> results; ///< of one call after the other
        int leastMs = 0;          ///< that the calls take
    };
    constexpr int ANSWER = 6;
    const TSCase cases[] = {
        {"error", TCFailure::Error("com.example.Error.No", "no"), {NO_ANSWER, NO_ANSWER}},
        {"not handled", TCFailure::Status(0), {NO_ANSWER, NO_ANSWER}},
        {"once", TCFailure::Error().Times(1), {NO_ANSWER, ANSWER}},
        {"the second", TCFailure::Error().Nth(2), {ANSWER, NO_ANSWER, ANSWER}},
        {"late", TCFailure::Late(75), {ANSWER, ANSWER}, 150},
        {"a hostile payload", TCFailure::FromJson(R"({"kind": "no-arguments"})"), {NO_ANSWER}},
    };
    TCDaemon daemon;
    daemon.On(&ICIGeneral::IsCamPinNeeded, [] { return ANSWER; });
    for (const TSCase& tested : cases)
    {
        SCOPED_TRACE(tested.what);
        daemon.Fail(&ICIGeneral::IsCamPinNeeded, tested.failure);
        const auto begin = std::chrono::steady_clock::now();
        for (const int result : tested.results)
        {
            EXPECT_EQ(Ask(), result);
        }
        EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(tested.leastMs));
        daemon.Reset(&ICIGeneral::IsCamPinNeeded);
        daemon.On(&ICIGeneral::IsCamPinNeeded, [] { return ANSWER; });
        EXPECT_EQ(Ask(), ANSWER);
    }
    EXPECT_EQ(daemon.Calls(&ICIGeneral::IsCamPinNeeded).front().fault, "error");
    EXPECT_THROW(daemon.Fail(&ICIGeneral::EnterMenu, TCFailure::FromJson(R"({"kind": "odd"})")), std::invalid_argument);
    EXPECT_THROW(TCFailure::FromJson("{"), std::invalid_argument);
}

TEST(TestDaemonFailures, DaemonGoesAndComesBack)
{
    TCDaemon daemon;
    daemon.On(&ICIGeneral::IsCamPinNeeded, [] { return 6; });
    EXPECT_EQ(Ask(), 6);

    daemon.Vanish();
    EXPECT_EQ(Ask(), NO_ANSWER);
    EXPECT_FALSE(IsMarkerThere());
    daemon.Return();
    EXPECT_EQ(Ask(), 6) << "answers are kept";
    EXPECT_TRUE(IsMarkerThere());

    daemon.Fail(&ICIGeneral::IsCamPinNeeded, TCFailure::Crash().Times(1));
    EXPECT_EQ(Ask(), NO_ANSWER);
    EXPECT_FALSE(IsMarkerThere());
    daemon.Return();
    daemon.Return();
    EXPECT_EQ(Ask(), 6);
}
} // namespace
} // namespace CIM::test
