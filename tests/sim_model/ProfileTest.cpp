#include "Recorder.h"

#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace CIM::sim
{
TEST(SimProfiles, AProfilesLife)
{
    TCRecorder recorder;
    MakeReady(recorder);
    ICIOperatorProfile& profiles = recorder.model.Of<ICIOperatorProfile>();
    const TSTvMode mode(ANTENNA_MODE_SATELLITE, SERVICE_MODE_OPERATOR);
    std::list<TSCIOperatorProfileData> list;
    std::map<TSTvMode, std::basic_string<unsigned short>> names;
    std::map<TSTvMode, unsigned char> slots;
    std::basic_string<unsigned short> label;
    EOperatorProfileInstallationOrigin origin{};
    EOperatorProfileStartInstallationStatus status{};
    EXPECT_EQ(profiles.GetNotInstalledOperatorProfiles(list), 1);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(Utf8(list.front().profileName), "Kelvora Sat");
    EXPECT_EQ(profiles.UpdateOperatorProfile(0), 0) << "not installed";

    const auto start = [&](EOperatorProfileInstallationOrigin who, unsigned char slot)
    {
        EXPECT_EQ(profiles.StartOperatorProfileInstallation(who, slot, status), 1);
        return status;
    };
    EXPECT_EQ(start(OP_INSTALLATION_ACTIVATED_PNP, 1), OP_START_INSTALLATION_NO_CAM);
    EXPECT_EQ(start(OP_INSTALLATION_INACTIVE, 0), OP_START_INSTALLATION_REFUSED);
    EXPECT_EQ(start(OP_INSTALLATION_ACTIVATED_PNP, 0), OP_START_INSTALLATION_STARTED);
    EXPECT_EQ(start(OP_INSTALLATION_ACTIVATED_PNP, 0), OP_START_INSTALLATION_ALREADY_RUNNING);
    EXPECT_EQ(profiles.SetOperatorProfileInstallationState(0, OP_INSTALLATION_INACTIVE, false), 1) << "cancels";
    EXPECT_EQ(profiles.StartOperatorProfileInstallation(PROFILE_MAIN, OP_INSTALLATION_ACTIVATED_AUTO_TUNE, 0, mode), 1);
    profiles.GetOperatorProfileInstallationState(0, origin);
    EXPECT_EQ(origin, OP_INSTALLATION_ACTIVATED_AUTO_TUNE);
    recorder.Advance(3'000);
    profiles.GetOperatorProfileInstallationState(0, origin);
    EXPECT_EQ(origin, OP_INSTALLATION_INACTIVE);
    profiles.GetOperatorProfileInstallationOrigin(0, origin);
    EXPECT_EQ(origin, OP_INSTALLATION_ACTIVATED_AUTO_TUNE);
    EXPECT_EQ(start(OP_INSTALLATION_ACTIVATED_PNP, 0), OP_START_INSTALLATION_NO_OPERATOR_PROFILE);

    EXPECT_EQ(profiles.GetInstalledOperatorProfiles(names), 1);
    EXPECT_EQ(Utf8(names.at(mode)), "Kelvora Sat");
    EXPECT_EQ(profiles.GetInstalledOperatorProfileModesPerServiceMode(SERVICE_MODE_GENERIC, names), 1);
    EXPECT_THAT(names, IsEmpty());
    EXPECT_EQ(profiles.GetInstalledOperatorProfileModesCiSlots(slots), 1);
    EXPECT_EQ(slots.at(mode), 0);
    EXPECT_EQ(profiles.GetOperatorProfileContentLabel(mode, 0, 2, label), 1);
    EXPECT_EQ(Utf8(label), "Children");
    EXPECT_EQ(profiles.GetOperatorProfileContentLabel(mode, 0, 3, label), 0);
    EXPECT_EQ(profiles.UpdateOperatorProfile(0), 1);
    EXPECT_EQ(recorder.model.Of<ICIDebug>().OPRegisterSchedule(10), 1);
    recorder.Advance(10'000);
    ASSERT_TRUE(recorder.Do("remove"));
    profiles.GetInstalledOperatorProfiles(list);
    EXPECT_EQ(list.size(), 1u) << "stays when its CAM goes";
    EXPECT_EQ(profiles.RemoveOperatorProfile(mode, false), 1);
    EXPECT_EQ(profiles.RemoveOperatorProfile(mode, false), 0);
    std::vector<std::string> statuses;
    for (const std::string& line : recorder.Take())
    {
        const std::size_t at = line.find(" OPERATOR_PROFILE_STATUS_CHANGE slot 0 code ");
        if (at != std::string::npos)
        {
            statuses.push_back(line.substr(0, at) + ":" + line.substr(at + 44, 1));
        }
    }
    EXPECT_THAT(statuses, ElementsAre("1500:2", "4500:1", "4500:3", "6500:4", "14500:7"))
        << "failed by cancelling, installed, update ready, updated, refresh wanted";
}

TEST(SimFileSystems, RequestsAreAnsweredInOrder)
{
    TCRecorder recorder;
    MakeReady(recorder);
    ICIAuxiliaryFileSystem& files = recorder.model.Of<ICIAuxiliaryFileSystem>();
    unsigned char application = 0;
    EXPECT_EQ(files.RegisterApplication(9, application), 0);
    ASSERT_EQ(files.RegisterApplication(1, application), 1);
    const auto bytes = [](std::string_view text) { return TBytes(text.begin(), text.end()); };
    EXPECT_EQ(files.RequestFile(1, 77, APP_REQUEST_FILE, {}), 0) << "not registered";
    for (const char* name : {"index.html", "../index.html", "", "big.bin"})
    {
        EXPECT_EQ(files.RequestFile(1, application, APP_REQUEST_FILE, bytes(name)), 1);
    }
    TCCiFileAckDTO ack;
    EXPECT_EQ(files.GetFileAcknowledge(1, ack), 0) << "not yet";
    recorder.Advance(50);
    const std::pair<const char*, std::size_t> expected[] = {
        {"index.html", 10}, {"../index.html", 0}, {"", 0}, {"big.bin", 5 * 1'024 * 1'024}};
    for (const auto& [name, size] : expected)
    {
        ASSERT_EQ(files.GetFileAcknowledge(1, ack), 1);
        EXPECT_EQ(ack.firstData, bytes(name));
        EXPECT_EQ(ack.firstFlag, size > 0) << name;
        EXPECT_EQ(ack.secondData.size(), size) << name;
    }
    for (std::size_t at = 0; at < ack.secondData.size(); ++at)
    {
        ASSERT_EQ(ack.secondData[at], at % 256) << at;
    }
    EXPECT_EQ(files.GetFileAcknowledge(1, ack), 0);
    EXPECT_EQ(files.RequestFile(1, application, static_cast<EFileRequestType>(9), {}), 1);
    recorder.Advance(50);
    ASSERT_EQ(files.GetFileAcknowledge(1, ack), 1);
    EXPECT_FALSE(ack.secondFlag) << "no such request type";
    EXPECT_EQ(files.UnregisterApplication(application, 1), 1);
    EXPECT_EQ(files.UnregisterApplication(application, 1), 0);
}

TEST(SimAppMmi, ASessionFromStartToAbort)
{
    TCRecorder recorder;
    MakeReady(recorder);
    ICIAppMMI& app = recorder.model.Of<ICIAppMMI>();
    TBytes first;
    TBytes second;
    TVSHandle pipeline;
    bool flag = false;
    bool served = false;
    int value = -1;
    ASSERT_TRUE(recorder.Do("start-app", {{"domain", "D"}, {"object", "O"}, {"profile", 1}, {"handle", 6}}));
    EXPECT_THAT(recorder.Take(), ElementsAre("1500 APP_MMI_START_APP slot 0 code 0 id 1 value 1 at 1/6",
                                             "1500 APPMMI_MESSAGE slot 0 code 0 id 1 value 1 at 1/6"));
    EXPECT_EQ(app.GetStartAppData(1, 1, first, second, pipeline, flag), 1);
    EXPECT_EQ(first, TBytes{'D'});
    EXPECT_EQ(second, TBytes{'O'});
    EXPECT_EQ(pipeline, TVSHandle(PROFILE_SUB, 6));
    EXPECT_EQ(app.SendFileRequest(1, {}, APP_REQUEST_FILE), 0) << "not acknowledged yet";
    EXPECT_EQ(app.SendRequestStartAck(1, 1), 1);
    EXPECT_EQ(app.SendRequestStartAck(1, 1), 0);
    const std::string name = "start.xml";
    EXPECT_EQ(app.SendFileRequest(1, TBytes(name.begin(), name.end()), APP_REQUEST_FILE), 1);
    recorder.Advance(30);
    EXPECT_EQ(app.GetFileAckData(2, flag, served, value, first, second), 1);
    EXPECT_TRUE(flag);
    EXPECT_EQ(second, (TBytes{'<', 'a', '/', '>'}));
    EXPECT_EQ(app.GetAbortRequestData(2, first), 0) << "that is no abort request";
    ASSERT_TRUE(recorder.Do("abort-app", {{"data", "0102"}}));
    EXPECT_EQ(app.GetAbortRequestData(3, first), 1);
    EXPECT_EQ(first, (TBytes{1, 2}));
    EXPECT_EQ(app.SendAppAbortRequest(1, {7}), 1) << "both ask at once";
    EXPECT_EQ(app.SendAppAbortAck(1, {}), 0) << "the session is over";
    recorder.Advance(30);
    EXPECT_EQ(app.GetAbortAckData(4, first), 1);
    EXPECT_EQ(first, TBytes{7});
}
} // namespace CIM::sim
