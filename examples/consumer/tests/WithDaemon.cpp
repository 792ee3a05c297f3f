#include "CamBanner.h"

#include <ciapi-testing/Daemon.h>

#include <ciapi/CIService.h>

#include <gtest/gtest.h>

// The banner with the real library, a real bus and the simulator's CAMs.

using CIM::ICIGeneral;
using CIM::test::RunUntil;
using CIM::test::TCDaemon;
using CIM::test::TCFailure;
using CIM::test::TSOptions;

namespace
{
class BannerWithDaemon : public testing::Test
{
protected:
    static TSOptions Options()
    {
        TSOptions options;
        options.set = R"({
            "slots": 1,
            "cams": [{"name": "pay", "menuString": "Pay TV", "readyMs": 1000}],
            "inserted": {"0": "pay"}
        })";
        options.isManualClock = true; // the CAM is ready when the test says so
        return options;
    }

    TCDaemon daemon{Options()}; // first: the library connects to its bus
    TCCamBanner banner{*CIM::TCCIService::CIGeneralInstance(),
                       *CIM::TCCIService::CISignalSubscriberInstance(TCCamBanner::OnSignal)};
};

TEST_F(BannerWithDaemon, ShowsACamThatComesAndGoes)
{
    EXPECT_EQ(banner.Text(), "Slot 0: no CAM\n");

    daemon.AdvanceClock(std::chrono::seconds(1));
    EXPECT_TRUE(RunUntil([&] { return banner.Text() == "Slot 0: Pay TV\n"; })) << banner.Text();

    daemon.RemoveCam(0);
    EXPECT_TRUE(RunUntil([&] { return banner.Text() == "Slot 0: no CAM\n"; })) << banner.Text();
}

TEST_F(BannerWithDaemon, LivesWithACamThatSaysNothing)
{
    daemon.Fail(&ICIGeneral::GetApplicationInfo, TCFailure::Error());
    daemon.AdvanceClock(std::chrono::seconds(1));
    EXPECT_TRUE(RunUntil([&] { return banner.Text() == "Slot 0: a CAM that says nothing about itself\n"; }))
        << banner.Text();
    EXPECT_EQ(daemon.Calls(&ICIGeneral::GetApplicationInfo).back().Argument("slot"), "0");
}

TEST_F(BannerWithDaemon, SurvivesTheDaemon)
{
    daemon.Vanish();
    TCCamBanner::OnSignal(CIM::SIGNAL_CI_CAM_READY_STATUS_CHANGED, PROFILE_MAIN, 0, {}, &banner);
    EXPECT_EQ(banner.Text(), "CI is not available\n");

    daemon.Return();
    daemon.AdvanceClock(std::chrono::seconds(1));
    EXPECT_TRUE(RunUntil([&] { return banner.Text() == "Slot 0: Pay TV\n"; })) << banner.Text();
}
} // namespace
