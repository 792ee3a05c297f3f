#include <ciapi-testing/Fakes.h>

#include <gtest/gtest.h>

namespace CIM::test
{
namespace
{
TEST(Fakes, AnswerAsWithoutCIUntilTheTestSaysOtherwise)
{
    TCFakePvrCip fake;
    IPvrCip& pvr = fake;
    int allowed = 5;
    EXPECT_TRUE(pvr.IsSkippingForwardAllowed(1000, allowed));
    EXPECT_EQ(allowed, -1) << "the null answer of this operation";

    fake.On(&IPvrCip::IsSkippingForwardAllowed,
            [](int position, int& limit)
            {
                limit = position / 2;
                return false;
            });
    EXPECT_FALSE(pvr.IsSkippingForwardAllowed(1000, allowed));
    EXPECT_EQ(allowed, 500);
    bool isProtected = true;
    EXPECT_EQ(pvr.IsThisStreamCopyProtected({}, isProtected), 0);
    EXPECT_EQ(fake.CallCount(&IPvrCip::IsSkippingForwardAllowed), 2u);
    EXPECT_EQ(fake.Calls(), (std::vector<std::string>{"IsSkippingForwardAllowed", "IsSkippingForwardAllowed",
                                                      "IsThisStreamCopyProtected"}));
    fake.Reset(&IPvrCip::IsSkippingForwardAllowed);
    EXPECT_TRUE(pvr.IsSkippingForwardAllowed(1000, allowed));
}

TEST(Fakes, TellOverloadsApart)
{
    TCFakeSampleDecryption fake;
    fake.On(Overload<bool(TSDRMUuid const&)>(&ICISampleDecryption::IsDRMSupported),
            [](TSDRMUuid const&) { return true; });
    ICISampleDecryption& decryption = fake;
    EXPECT_TRUE(decryption.IsDRMSupported(TSDRMUuid()));
    EXPECT_FALSE(decryption.IsDRMSupported(TSDRMSystemId()));
}

/// The fakes that the other cases do not use can be made, and answer.
TEST(Fakes, AreThereForEveryInterface)
{
    EXPECT_EQ(TCFakeGeneral().IsCamPinNeeded(), 0);
    EXPECT_EQ(TCFakeAppMMI().SendRequestStartAck(1, 2), 0);
    EXPECT_EQ(TCFakeAuxiliaryFileSystem().UnregisterApplication(1, DOMAIN_IDS_CIMHEGP1), 0);
    EXPECT_FALSE(TCFakeCICAMPlayer().StopPlayer({}));
    EXPECT_EQ(TCFakeDebug().PrintStatus(), 0);
    EXPECT_EQ(TCFakeOperatorProfile().UpdateOperatorProfile(0), 0);
}

TEST(Fakes, SubscriberDeliversWhatIsSubscribed)
{
    static int s_heard = 0;
    TCFakeSignalSubscriber subscriber;
    subscriber.SetCallback(
        [](ECISignalType, EProfile, unsigned short handle, TSSignalData, void* userData)
        {
            s_heard += handle;
            return *static_cast<int*>(userData) = 1;
        });
    int touched = 0;
    EXPECT_EQ(subscriber.Subscribe(SIGNAL_CI_CA_REPLY, &touched, PROFILE_MAIN, 3, 0), 1);
    EXPECT_EQ(subscriber.Subscribe(SIGNAL_CI_CA_REPLY, nullptr, PROFILE_MAIN, 3, 0), 0) << "is subscribed already";
    EXPECT_TRUE(subscriber.Raise(SIGNAL_CI_CA_REPLY, PROFILE_MAIN, 3));
    EXPECT_FALSE(subscriber.Raise(SIGNAL_CI_CA_REPLY, PROFILE_SUB, 3));
    EXPECT_EQ(subscriber.Unsubscribe(SIGNAL_CI_CA_REPLY, PROFILE_MAIN, 3, 0), 1);
    EXPECT_FALSE(subscriber.Raise(SIGNAL_CI_CA_REPLY, PROFILE_MAIN, 3));
    EXPECT_EQ(s_heard, 3);
    EXPECT_EQ(touched, 1);
}
} // namespace
} // namespace CIM::test
