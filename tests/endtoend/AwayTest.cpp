#include "endtoend/Simulator.h"
#include "no_ci/NullAnswers.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <future>
#include <set>

// Signals, and a daemon that goes away.

namespace CIM
{
namespace
{
struct TSReceived
{
    ECISignalType type;
    EProfile profile;
    unsigned short handle;
    TSSignalData data;
    void* userData;
};
std::vector<TSReceived> g_received;

int Receive(ECISignalType type, EProfile profile, unsigned short handle, TSSignalData data, void* userData)
{
    g_received.push_back({type, profile, handle, data, userData});
    return 0;
}

/// Lets signals be delivered until there are so many of them.
bool Received(std::size_t count)
{
    return WaitFor(
        [count]
        {
            while (g_main_context_iteration(nullptr, FALSE))
            {
            }
            return g_received.size() >= count;
        });
}

/// Operations whose sample call is one-way: handed to the bus, which is all that it waits for.
const std::set<std::string> ONE_WAY = {"EnterMenu",
                                       "HdsDisplayStatusChanged",
                                       "AnswerMmiEnquiry",
                                       "AnswerMmiMenu",
                                       "CloseMmi",
                                       "VerifyCamPin",
                                       "SetCamPin",
                                       "SendCamUpgradeReply",
                                       "SendCaPmt",
                                       "SetRecordingEsPids",
                                       "RemoveOperatorProfile",
                                       "SetOperatorProfileInstallationState"};

std::size_t CheckNullAnswers(const std::vector<SAnswer>& answers)
{
    std::size_t count = 0;
    for (const SAnswer& row : answers)
    {
        const std::string operation = row.operation;
        if (operation == "RequestFile") // waits for the daemon instead
        {
            continue;
        }
        const bool isOne = operation == "IsCiSupported" || ONE_WAY.count(operation) > 0;
        EXPECT_EQ(row.answer(), isOne ? "1" : row.expected) << operation;
        ++count;
    }
    return count;
}
} // namespace

TEST(SignalsEndToEnd, ASubscriptionBringsItsSignalsAndNoOthers)
{
    TCSimulator simulator;
    ICISignalSubscriber* const ci = TCCIService::CISignalSubscriberInstance(&Receive);
    int one = 1;
    int two = 2;
    EXPECT_EQ(ci->Subscribe(SIGNAL_CI_RECORD_STOP_REQUEST, &one, PROFILE_MAIN, 7, 0), 1);
    EXPECT_EQ(ci->Subscribe(SIGNAL_CI_PLAYBACK_STOP_REQUEST, &two, PROFILE_SUB, 8, 0), 1);
    simulator.Control("stop-recording", R"({"profile": 0, "handle": 9})");
    simulator.Control("stop-recording", R"({"profile": 0, "handle": 7, "reason": 3})");
    simulator.Control("stop-playback", R"({"profile": 1, "handle": 8, "reason": 4})");
    ASSERT_TRUE(Received(2));
    EXPECT_EQ(g_received[0].type, SIGNAL_CI_RECORD_STOP_REQUEST);
    EXPECT_EQ(g_received[0].profile, PROFILE_MAIN);
    EXPECT_EQ(g_received[0].handle, 7);
    EXPECT_EQ(g_received[0].userData, &one);
    EXPECT_EQ(g_received[1].type, SIGNAL_CI_PLAYBACK_STOP_REQUEST);
    EXPECT_EQ(g_received[1].userData, &two);
    EXPECT_EQ(ci->Unsubscribe(SIGNAL_CI_RECORD_STOP_REQUEST, PROFILE_MAIN, 7, 0), 1);
    simulator.Control("stop-recording", R"({"profile": 0, "handle": 7})");
    simulator.Control("stop-playback", R"({"profile": 1, "handle": 8})");
    ASSERT_TRUE(Received(3));
    EXPECT_EQ(g_received[2].type, SIGNAL_CI_PLAYBACK_STOP_REQUEST) << "the other is no longer wanted";
    TCCIService::Destroy();
    EXPECT_EQ(simulator.State().find("SIGNAL_CI_PLAYBACK_STOP_REQUEST"), std::string::npos);
}

TEST(AwayEndToEnd, WithoutTheDaemonEveryOperationGivesItsNullAnswer)
{
    TCSimulator simulator;
    ICIGeneral* const general = TCCIService::CIGeneralInstance();
    ICIAppMMI* const appMmi = TCCIService::CIAppMMIInstance();
    ICIAuxiliaryFileSystem* const fileSystem = TCCIService::CIAuxiliaryFileSystemInstance();
    ICICAMPlayer* const player = TCCIService::CICAMPlayerInstance();
    ICIDebug* const debug = TCCIService::CIDebugInstance();
    ICIOperatorProfile* const profiles = TCCIService::CIOperatorProfileInstance();
    ICISampleDecryption* const decryption = TCCIService::CISampleDecryptionInstance();
    ICISignalSubscriber* const subscriber = TCCIService::CISignalSubscriberInstance(&Receive);
    IPvrCip* const pvr = TCCIService::PvrCipInstance();
    unsigned char count = 0;
    EXPECT_EQ(debug->GetSlotsCount(count), 1) << "it is there";
    simulator.Quit();
    EXPECT_EQ(CheckNullAnswers(Answers(general)) + CheckNullAnswers(Answers(appMmi)) +
                  CheckNullAnswers(Answers(fileSystem)) + CheckNullAnswers(Answers(player)) +
                  CheckNullAnswers(Answers(debug)) + CheckNullAnswers(Answers(profiles)) +
                  CheckNullAnswers(Answers(decryption)) + CheckNullAnswers(Answers(subscriber)) +
                  CheckNullAnswers(Answers(pvr)),
              123u);
    EXPECT_EQ(general->EnterMenu(0, false), 0);
    EXPECT_EQ(general->HdsDisplayStatusChanged(0, true, false), 0);
    EXPECT_EQ(general->AnswerMmiEnquiry(0, MMI_ANSWER_ID_ANSWER, {}, true, false), 0);
    EXPECT_EQ(general->AnswerMmiMenu(0, 1, true, false), 0);
    EXPECT_EQ(general->CloseMmi(0, true, false), 0);
    EXPECT_EQ(general->VerifyCamPin(0, {}, false), 0);
    EXPECT_EQ(general->SetCamPin(0, {}, false), 0);
    EXPECT_EQ(general->SendCamUpgradeReply(0, CAM_UPGRADE_ANSWER_YES, false), 0);
    EXPECT_EQ(general->SendCaPmt(0, {}, {}, ECAPMTCMD_QUERY, false), 0);
    EXPECT_EQ(pvr->SetRecordingEsPids({}, {}, false), 0);
    EXPECT_EQ(profiles->RemoveOperatorProfile({}, false), 0);
    EXPECT_EQ(profiles->SetOperatorProfileInstallationState(0, OP_INSTALLATION_INACTIVE, false), 0);
}

TEST(AwayEndToEnd, AFileRequestWaitsForTheDaemonsReturn)
{
    TCSimulator simulator;
    ICIAuxiliaryFileSystem* const ci = TCCIService::CIAuxiliaryFileSystemInstance();
    simulator.Restart(700);
    ASSERT_TRUE(WaitFor([&] { return !simulator.IsThere(); }));
    auto answer = std::async(std::launch::async, [&] { return ci->RequestFile(7, 9, APP_REQUEST_FILE, {}); });
    std::vector<TCCiAuxiliaryFileSystemDTO> systems(1);
    EXPECT_EQ(ci->GetAllAvailableFileSystems(systems), 0) << "the others do not wait";
    EXPECT_EQ(systems.size(), 1u);
    EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    EXPECT_FALSE(simulator.IsThere());
    ASSERT_EQ(answer.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    // That nothing is registered under these numbers is the daemon's answer: it was asked, and once.
    EXPECT_EQ(answer.get(), 0);
    const std::string journal = simulator.Journal();
    const std::string entry = R"("operation":"RequestFile")";
    const auto first = journal.find(entry);
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(journal.find(entry, first + 1), std::string::npos);
}
} // namespace CIM
