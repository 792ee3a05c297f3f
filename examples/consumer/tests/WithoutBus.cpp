#include "CamBanner.h"

#include <ciapi-testing/Fakes.h>

#include <gtest/gtest.h>

// The banner alone, against fakes.

using CIM::ICIGeneral;
using CIM::test::TCFakeGeneral;
using CIM::test::TCFakeSignalSubscriber;

namespace
{
TEST(BannerWithoutBus, SaysThatNobodyAnswers)
{
    TCFakeGeneral general;
    TCFakeSignalSubscriber subscriber;
    EXPECT_EQ(TCCamBanner(general, subscriber).Text(), "CI is not available\n");
}

TEST(BannerWithoutBus, FollowsASignalOfItsSlots)
{
    CIM::ECamStatus status = CIM::CAM_STATUS_NO_CAM;
    TCFakeGeneral general;
    general.On(&ICIGeneral::GetCiSlotStatus,
               [&](auto& statuses, unsigned)
               {
                   statuses[1] = status;
                   return 1;
               });
    general.On(&ICIGeneral::GetApplicationInfo,
               [](unsigned char, auto&, CIM::TCIText& menu, CIM::TCIText&)
               {
                   menu = CIM::TCIText::FromUtf8("Pay TV");
                   return 1;
               });
    TCFakeSignalSubscriber subscriber;
    subscriber.SetCallback(TCCamBanner::OnSignal);
    const TCCamBanner banner(general, subscriber);
    EXPECT_EQ(banner.Text(), "Slot 1: no CAM\n");

    status = CIM::CAM_STATUS_READY;
    EXPECT_TRUE(subscriber.Raise(CIM::SIGNAL_CI_CAM_READY_STATUS_CHANGED, PROFILE_MAIN, 1));
    EXPECT_EQ(banner.Text(), "Slot 1: Pay TV\n");
    EXPECT_FALSE(subscriber.Raise(CIM::SIGNAL_CI_SAS_STATUS_CHANGE, PROFILE_MAIN, 1)) << "not the banner's affair";
}
} // namespace
