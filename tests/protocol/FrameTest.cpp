#include "protocol/General.h"
#include "protocol/Skeleton.h"
#include "proxy/CIAuxiliaryFileSystemProxy.h"
#include "proxy/CICAMPlayerProxy.h"
#include "proxy/CIDebugProxy.h"
#include "proxy/CIGeneralProxy.h"
#include "proxy/PvrCipProxy.h"
#include "support/FakeConnection.h"
#include "support/LogCapture.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fstream>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace CIM
{
namespace
{
std::string Bytes(std::initializer_list<int> values)
{
    std::string bytes;
    for (const int value : values)
    {
        bytes.push_back(static_cast<char>(value));
    }
    return bytes;
}

/// What a daemon would answer that answers with these payloads in turn, the last one for ever, whatever is asked.
void AnswerWith(TCFakeHelper& helper, std::vector<std::string> payloads)
{
    helper.connection->answer =
        [payloads, next = std::size_t(0)](const TCFakeConnection::SCall&, std::string& reply) mutable
    {
        reply = payloads[next];
        next = std::min(next + 1, payloads.size() - 1);
        return true;
    };
}

const std::string VERSION = Bytes({1, 0, 0, 0});
/// A list of method 16 that holds one argument as a leaf of four bytes: the result alone.
const std::string RESULT_ONLY = VERSION + Bytes({2, 0, 16, 0, 12, 0, 0, 0, 1, 0, 0, 0, 4, 0, 0, 0, 7, 0, 0, 0});
} // namespace

class FrameTest : public testing::Test
{
protected:
    FrameTest()
    {
        MarkReady();
        TCLogCapture::Clear();
    }

    void MarkReady() { std::ofstream(m_folder.File("ready")).put('\n'); }
    void SetKeys(const std::string& keys)
    {
        std::ofstream(m_folder.File("keys")) << "[com.kelvora/featureconf]\n" << keys;
    }

    TCTempFolder m_folder;
    TCEnvironmentVariable m_marker{"CIAPI_DAEMON_READY_FILE", m_folder.File("ready")};
    TCEnvironmentVariable m_keys{"TVPLATFORM_SYSTEM_INFO", m_folder.File("keys")};
    boost::shared_ptr<TCFakeHelper> m_helper = boost::make_shared<TCFakeHelper>();
};

// The golden bytes hold for every machine; what only some longs hold is not among them.
TEST_F(FrameTest, TheSmallestLongIsSentInEightBytes)
{
    TCPvrCipProxy proxy(m_helper);
    const long smallest = std::numeric_limits<long>::min();
    bool valid = false;
    proxy.CheckThumbnailValidation("", smallest, valid);
    ASSERT_EQ(m_helper->connection->calls.size(), 1u);
    const std::string expected = sizeof(long) == 8 ? Bytes({8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x80})
                                                   : Bytes({8, 0, 0, 0, 0, 0, 0, 0x80, 0xFF, 0xFF, 0xFF, 0xFF});
    const std::string& payload = m_helper->connection->calls[0].payload;
    ASSERT_GE(payload.size(), expected.size());
    EXPECT_EQ(payload.substr(payload.size() - expected.size()), expected);
}

// Whether a call may be made before the daemon is ready depends on the marker, the model type and the identifier.
TEST_F(FrameTest, CallsWaitForTheDaemonOnSomeModels)
{
    struct SCase
    {
        const char* what;
        bool marker;
        const char* keys;
        bool sent;
        const char* error;
    };
    const SCase cases[] = {
        {"ready", true, "tv_model_type=5\n", true, nullptr},
        {"not ready, late model", false, "tv_model_type=5\n", false,
         "Unable to handle IPC calls before CI_DAEMON creation for ZEP products! Return false"},
        {"not ready, other model", false, "tv_model_type=4\n", true, nullptr},
        {"not ready, unknown model", false, "", true,
         "Failed to get fms: com.kelvora/featureconf/tv_model_type. Proceed with the call, because we dont know if it "
         "is ZEP platform"},
    };
    TCCIGeneralProxy proxy(m_helper);
    for (const SCase& test : cases)
    {
        SCOPED_TRACE(test.what);
        std::filesystem::remove(m_folder.File("ready"));
        if (test.marker)
        {
            MarkReady();
        }
        SetKeys(test.keys);
        TCLogCapture::Clear();
        m_helper->connection->calls.clear();
        EXPECT_EQ(proxy.EnterMenu(0, true), test.sent ? 1 : 0);
        EXPECT_EQ(m_helper->connection->calls.size(), test.sent ? 1u : 0u);
        if (test.error != nullptr)
        {
            EXPECT_EQ(TCLogCapture::Count(test.error), 2u);
        }
        // Identifiers 7 and 8 are always sent.
        bool passed = true;
        m_helper->connection->calls.clear();
        proxy.CipTestStandard(passed);
        proxy.CipTestECP(passed);
        EXPECT_EQ(m_helper->connection->calls.size(), 2u);
    }
}

// A daemon that answers has answered, whatever it wrote: nobody asks again or answers in its place, and what cannot be
// read keeps its value.
TEST_F(FrameTest, OutputsSurviveEveryKindOfBadAnswer)
{
    TCCIGeneralProxy general(m_helper);
    TCCICAMPlayerProxy player(m_helper);
    TCCIAuxiliaryFileSystemProxy files(m_helper);
    std::string deep = VERSION;
    for (int level = 100; level > 0; --level)
    {
        deep += Bytes({2, 0, 0, 0, level * 8, 0, 0, 0});
    }
    constexpr const char* NO_TREE = "bytes is not an argument tree";
    constexpr const char* OTHER_KIND = "The answer holds an argument of another kind; it keeps its value";
    struct SCase
    {
        const char* what;
        std::string payload;
        int result;
        const char* error;
    };
    const SCase cases[] = {
        {"nothing", "", -1, nullptr},
        {"result only", RESULT_ONLY, 7, nullptr},
        {"cut", RESULT_ONLY.substr(0, RESULT_ONLY.size() - 1), -1, NO_TREE},
        {"another version", Bytes({2}) + RESULT_ONLY.substr(1), -1, NO_TREE},
        {"bytes left over", RESULT_ONLY + "x", -1, NO_TREE},
        {"deep", deep, -1, NO_TREE},
        {"a size beyond the end", VERSION + Bytes({2, 0, 16, 0, 255, 255, 255, 255}), -1, NO_TREE},
        {"a result of two bytes", VERSION + Bytes({2, 0, 16, 0, 10, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 7, 0}), -1,
         OTHER_KIND},
    };
    for (const SCase& test : cases)
    {
        SCOPED_TRACE(test.what);
        const auto expectOneCall = [&](auto operation)
        {
            AnswerWith(*m_helper, {test.payload, RESULT_ONLY}); // who asks again gets an answer
            m_helper->connection->calls.clear();
            TCLogCapture::Clear();
            operation();
            EXPECT_EQ(m_helper->connection->calls.size(), 1u);
            EXPECT_EQ(TCLogCapture::Count("CIM_MAJOR"), test.error != nullptr ? 2u : 0u);
            EXPECT_EQ(TCLogCapture::Count(test.error != nullptr ? test.error : "CIM_MAJOR"), test.error ? 2u : 0u);
        };
        TCIText title;
        title.text = {'t'};
        TCIText subtitle = title;
        TCIText bottomLine = title;
        std::vector<TCIText> choices(3, title);
        expectOneCall([&] { EXPECT_EQ(general.GetMmiMenu(0, title, subtitle, bottomLine, choices), test.result); });
        EXPECT_EQ(title.text, std::vector<unsigned short>{'t'});
        EXPECT_EQ(choices.size(), 3u);
        bool active = true; // the null answer takes it away
        expectOneCall([&] { EXPECT_EQ(general.IsHostControlActive(active), test.result); });
        EXPECT_TRUE(active);
        expectOneCall([&] { EXPECT_EQ(files.RequestFile(1, 2, APP_REQUEST_FILE, {}), test.result); });
        if (test.error == NO_TREE)
        {
            expectOneCall([&] { EXPECT_FALSE(player.StopPlayer(TSCICAMPlayerHandle(7))); });
            expectOneCall([&] { EXPECT_FALSE(player.PlayRequest(TSIPServiceLocationData("location")).IsValid()); });
        }
    }

    // What is right beside it is taken: the result 7, a flag of two bytes, a length of 9, no text.
    AnswerWith(*m_helper, {VERSION + Bytes({2, 0, 14, 0, 31, 0, 0, 0, 1, 0, 0, 0, 4, 0, 0, 0, 7, 0, 0, 0, //
                                            1, 0, 2,  0, 2,  0, 0, 0, 0, 0, 1, 0, 3, 0, 1, 0, 0, 0, 9})});
    TCLogCapture::Clear();
    bool blindAnswer = true;
    unsigned char answerLength = 1;
    TCIText text;
    text.text = {'t'};
    EXPECT_EQ(general.GetMmiEnquiry(0, blindAnswer, answerLength, text), 7);
    EXPECT_TRUE(blindAnswer);
    EXPECT_EQ(answerLength, 9);
    EXPECT_EQ(text.text, std::vector<unsigned short>{'t'});
    EXPECT_EQ(TCLogCapture::Count(OTHER_KIND), 2u);
}

// An application need not set a flag that only comes out; a bool that was never set may hold any byte, and must not be
// looked at. What is wrong here is seen by the undefined-behaviour sanitizer.
TEST_F(FrameTest, OutputFlagsMayHoldAnyByteBeforeTheCall)
{
    const auto withFlag = [](int byte)
    {
        return VERSION + Bytes({2, 0, 39, 0, 21, 0, 0, 0, 1,   0, 0, 0, 4, 0, 0, 0, 7, 0, 0, 0, //
                                1, 0, 1,  0, 1,  0, 0, 0, byte});
    };
    struct SCase
    {
        const char* what;
        std::optional<std::string> payload; // none: the call fails
        bool flag;
    };
    const SCase cases[] = {
        {"false", withFlag(0), false},  {"true", withFlag(1), true}, {"another true", withFlag(0x80), true},
        {"no flag", RESULT_ONLY, true}, {"no call", {}, false},
    };
    TCCIGeneralProxy proxy(m_helper);
    for (const SCase& test : cases)
    {
        SCOPED_TRACE(test.what);
        m_helper->connection->answer = nullptr;
        if (test.payload)
        {
            AnswerWith(*m_helper, {*test.payload});
        }
        const unsigned char unset = 0x55;
        unsigned char byte = 0;
        bool flag;
        std::memcpy(&flag, &unset, 1);
        EXPECT_EQ(proxy.IsHostControlActive(flag), test.payload ? 7 : 1);
        std::memcpy(&byte, &flag, 1);
        EXPECT_EQ(byte != 0, test.flag);
    }
}

TEST_F(FrameTest, AnEmptyHelperEndsTheProcess)
{
    const boost::shared_ptr<TIIPCHelper> none;
    std::string interfaceName = "a.b";
    EXPECT_EXIT(TCCIGeneralProxy{none}, testing::KilledBySignal(SIGABRT), "px != 0");
    EXPECT_EXIT(TCCIMarshallingHelperProxy(none).Run(interfaceName, "Name", 1, false), testing::KilledBySignal(SIGABRT),
                "px != 0");
}

TEST_F(FrameTest, FailedCallsGiveTheNullAnswer)
{
    TCCIGeneralProxy general(m_helper);
    TCCICAMPlayerProxy player(m_helper);
    TCCIDebugProxy debug(m_helper);
    bool flag = true;
    EXPECT_EQ(general.GetTuneBlockedByCi(TVSHandle(), STATE_CHANGE_SERVICE, 5, flag), 1);
    EXPECT_FALSE(flag);
    flag = true;
    EXPECT_EQ(general.IsCamVideoTranscodingAuto(flag), 0);
    EXPECT_TRUE(flag);
    EXPECT_EQ(debug.CILogToggle(flag), 0);
    EXPECT_FALSE(flag);
    EXPECT_FALSE(player.PlayRequest(TSIPServiceLocationData("location")).IsValid());
    EXPECT_EQ(TCLogCapture::Count("m_IPCHelper->GetIPCConnection()->Call false"), 8u);
    m_helper->connection->sendsOneWay = false;
    EXPECT_EQ(general.EnterMenu(0, true), 0);
    EXPECT_EQ(general.IsCiSupported(), 1);
    EXPECT_EQ(m_helper->connection->calls.size(), 5u);
}

TEST_F(FrameTest, StopPlayerDoesNotSayWhich)
{
    TCCICAMPlayerProxy player(m_helper);
    player.StopPlayer(TSCICAMPlayerHandle::Create());
    player.StopPlayer(TSCICAMPlayerHandle::Create());
    ASSERT_EQ(m_helper->connection->calls.size(), 2u);
    EXPECT_EQ(m_helper->connection->calls[0].payload, m_helper->connection->calls[1].payload);
}

// A file request repeats itself until it gets through. However long that takes, it must not use up the stack.
TEST_F(FrameTest, FileRequestsAreRepeatedUntilAnswered)
{
    TCCIAuxiliaryFileSystemProxy proxy(m_helper);
    constexpr int FAILURES = 200000;
    int attempts = 0;
    m_helper->connection->answer = [&](const TCFakeConnection::SCall& call, std::string& reply)
    {
        EXPECT_EQ(call.methodId, 3);
        m_helper->connection->calls.clear();
        TCLogCapture::Clear();
        if (++attempts <= FAILURES)
        {
            return false;
        }
        reply = Bytes({1, 0, 0, 0, 2, 0, 3, 0, 12, 0, 0, 0, 1, 0, 0, 0, 4, 0, 0, 0, 42, 0, 0, 0});
        return true;
    };
    EXPECT_EQ(proxy.RequestFile(1, 2, APP_REQUEST_FILE, {}), 42);
    EXPECT_EQ(attempts, FAILURES + 1);
}

// Whatever bytes a request is, the daemon side answers it or refuses it, and never calls with half of its arguments.
TEST_F(FrameTest, SkeletonRefusesRequestsThatAreNotTheOperations)
{
    TCCIGeneralProxy proxy(m_helper);
    TCCIGeneralProxyNO_CI object;
    protocol::TSkeleton<ICIGeneral> skeleton(object);
    int called = 0;
    EXPECT_FALSE(skeleton.On(&ICIGeneral::IsCiSupported, [] { return 1; }));
    ASSERT_TRUE(skeleton.On(&ICIGeneral::SendCaPmt,
                            [&](unsigned char slot, const TVSHandle& handle, const std::list<unsigned short>& values,
                                ECaPmtCmd command, bool oneWay)
                            {
                                ++called;
                                EXPECT_EQ(slot, 3);
                                EXPECT_EQ(handle, TVSHandle(PROFILE_SUB, 7));
                                EXPECT_EQ(values, (std::list<unsigned short>{1, 2, 3}));
                                EXPECT_EQ(command, ECAPMTCMD_QUERY);
                                return oneWay ? 5 : 6;
                            }));
    m_helper->connection->answer = [&](const TCFakeConnection::SCall& call, std::string& reply)
    {
        TCMessageBuffer request;
        TCMessageBuffer answer;
        request.PushConcatenated(static_cast<int>(call.payload.size()), call.payload.data());
        const bool answered = skeleton.Handle(call.methodId, false, request, answer) == protocol::EHandled::ANSWERED;
        if (answered)
        {
            reply.assign(answer.GetAsCStr(0), answer.GetUnreadSize());
        }
        return answered;
    };
    TVSHandle handle(PROFILE_SUB, 7);
    handle.filler = 0xBEEF; // travels as zero
    EXPECT_EQ(proxy.SendCaPmt(3, handle, {1, 2, 3}, ECAPMTCMD_QUERY, false), 6);
    EXPECT_EQ(called, 1);
    const std::string good = m_helper->connection->calls.at(0).payload;
    EXPECT_EQ(good.find("\xEF\xBE"), std::string::npos);

    const auto handle1 = [&](const std::string& bytes, short id)
    {
        TCMessageBuffer request;
        TCMessageBuffer answer;
        request.PushConcatenated(static_cast<int>(bytes.size()), bytes.data());
        return skeleton.Handle(id, true, request, answer);
    };
    for (std::size_t length = 0; length < good.size(); ++length)
    {
        EXPECT_EQ(handle1(good.substr(0, length), 27), protocol::EHandled::MALFORMED) << length;
    }
    EXPECT_EQ(handle1(good, 28), protocol::EHandled::MALFORMED);
    EXPECT_EQ(handle1(good, 1), protocol::EHandled::UNKNOWN_METHOD);
    EXPECT_EQ(handle1(good, 45), protocol::EHandled::UNKNOWN_METHOD);
    EXPECT_EQ(handle1(good, -1), protocol::EHandled::UNKNOWN_METHOD);
    EXPECT_EQ(called, 1);
    EXPECT_EQ(handle1(good, 27), protocol::EHandled::ANSWERED);
    EXPECT_EQ(called, 2);
}
} // namespace CIM
