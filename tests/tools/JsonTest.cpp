#include "json/Harmless.h"
#include "json/OperationForm.h"
#include "json/ToJson.h"

#include "protocol/AuxiliaryFileSystem.h"
#include "protocol/Skeleton.h"
#include "support/SampleValues.h"

#include <tvplatform/MessageBuffer.h>

#include <gtest/gtest.h>

#include <functional>
#include <set>

namespace CIM::json
{
namespace
{
template <class Body>
void ForEveryOperation(Body body)
{
    for (const TCInterfaceForm& interface : Interfaces())
    {
        for (const TCOperationForm& operation : interface.Operations())
        {
            SCOPED_TRACE(operation.FullName());
            body(interface, operation);
        }
    }
}

std::string ErrorOf(const std::function<void()>& action)
{
    try
    {
        action();
    }
    catch (const TCJsonError& error)
    {
        return error.what();
    }
    return "no error";
}
} // namespace

TEST(Json, CarriesEveryOperationsRequestsAndReplies)
{
    std::size_t operations = 0;
    std::set<std::string> names;
    ForEveryOperation(
        [&](const TCInterfaceForm& interface, const TCOperationForm& operation)
        {
            ++operations;
            EXPECT_TRUE(names.insert(operation.FullName()).second);
            EXPECT_EQ(interface.Find(operation.Key()), &operation);
            EXPECT_EQ(interface.Find(operation.Id()), &operation);
            for (std::size_t n = 0; n < 14; ++n)
            {
                const TJson inputs = SampleArguments(operation, protocol::IsInput, n);
                const std::string request = operation.RequestFromJson(inputs);
                const TSDecoded decoded = operation.RequestToJson(request);
                EXPECT_EQ(decoded.error, "");
                EXPECT_EQ(decoded.json, inputs);

                const std::vector<TJson> results = SamplesOf(operation.ResultType());
                const TJson outcome = {{"result", results[n % results.size()]},
                                       {"outputs", SampleArguments(operation, protocol::IsOutput, n)}};
                const std::string reply = operation.ReplyFromJson(outcome);
                const TSDecoded answer = operation.ReplyToJson(reply);
                EXPECT_EQ(answer.error, "");
                EXPECT_EQ(answer.json, outcome);

                // Whatever is cut off or turned over is reported or decoded, and never read past.
                for (std::size_t size = 1; size < reply.size(); ++size)
                {
                    EXPECT_NE(operation.ReplyToJson(reply.substr(0, size)).error, "");
                }
                std::string damaged = request;
                for (char& byte : damaged)
                {
                    byte = static_cast<char>(~byte);
                    EXPECT_NO_THROW(operation.RequestToJson(damaged).json.dump());
                    byte = static_cast<char>(~byte);
                }
            }
        });
    EXPECT_EQ(operations, 123u) << "the rows of the nine tables (SetCallback has none)";
}

TEST(Json, RequestsAndRepliesAreThoseOfTheDaemonsSide)
{
    struct TSObject : ICIAuxiliaryFileSystem
    {
        int GetAllAvailableFileSystems(std::vector<TCCiAuxiliaryFileSystemDTO>&) override { return 0; }
        int RegisterApplication(unsigned short fileSystemId, unsigned char& applicationId) override
        {
            applicationId = static_cast<unsigned char>(fileSystemId >> 8);
            return 7;
        }
        int UnregisterApplication(unsigned char, unsigned short) override { return 0; }
        int RequestFile(unsigned short, unsigned char, EFileRequestType, std::vector<unsigned char> const&) override
        {
            return 0;
        }
        int GetFileAcknowledge(unsigned short, TCCiFileAckDTO&) override { return 0; }
    } object;
    const TCInterfaceForm& interface = *FindInterface("auxiliaryfilesystem");
    const TCOperationForm& operation = *interface.Find("RegisterApplication");
    const TJson expected = TJson::parse(R"({"result": 7, "outputs": {"applicationId": 254}})");
    const TJson arguments = {{"fileSystemId", 0xFE01}};
    EXPECT_EQ(operation.Invoke(static_cast<ICIAuxiliaryFileSystem*>(&object), arguments), expected);

    protocol::TSkeleton<ICIAuxiliaryFileSystem> skeleton(object);
    const std::string payload = operation.RequestFromJson(arguments);
    TCMessageBuffer request;
    request.PushConcatenated(static_cast<int>(payload.size()), payload.data());
    TCMessageBuffer reply;
    ASSERT_EQ(skeleton.Handle(operation.Id(), false, request, reply), protocol::EHandled::ANSWERED);
    const std::string answer(reply.GetAsCStr(0), reply.GetUnreadSize());
    EXPECT_EQ(operation.ReplyToJson(answer).error, "");
    EXPECT_EQ(operation.ReplyToJson(answer).json, expected);
    EXPECT_NE(interface.Find("RequestFile")->ReplyToJson(answer).error, "") << "another operation's reply";
}

TEST(Json, ReadsOtherSpellings)
{
    EXPECT_EQ(FromJson<TVSHandle>("PROFILE_SUB:0x10"), TVSHandle(PROFILE_SUB, 16));
    EXPECT_EQ(FromJson<TVSHandle>("-1:65535"), TVSHandle(PROFILE_NONE, 65535));
    EXPECT_EQ(FromJson<TSTvMode>("2/SERVICE_MODE_OPERATOR"), TSTvMode(ANTENNA_MODE_SATELLITE, SERVICE_MODE_OPERATOR));
    EXPECT_EQ(FromJson<ECamMode>("1"), CAM_MODE_CI_PLUS);
    EXPECT_EQ(FromJson<unsigned long long>("0xFFFFFFFFFFFFFFFF"), ~0ull);
    EXPECT_EQ(FromJson<long long>("-9223372036854775808"), std::numeric_limits<long long>::min());
    EXPECT_EQ(FromJson<std::vector<unsigned char>>("0x0A 0b:0C"), (std::vector<unsigned char>{10, 11, 12}));
    EXPECT_EQ(FromJson<TSPlaybackPosition>(TJson::object()).position, -1) << "what is not given is as in a new record";
    const TJson notUtf8 = TJson::parse(R"({"bytes": "2fff"})");
    EXPECT_EQ(ToJson(std::string("/\xff")), notUtf8);
    EXPECT_EQ(FromJson<std::string>(notUtf8), "/\xff");
    EXPECT_EQ(ToJson(TCIText()), "");
}

TEST(Json, SaysWhatIsWrongAndWhere)
{
    using TCProfiles = std::list<TSCIOperatorProfileData>;
    using TModes = std::map<unsigned char, ECamMode>;
    const auto read = [](auto value, const char* text)
    {
        const auto before = ToJson(value);
        const std::string error = ErrorOf([&] { FromJson(TJson::parse(text), value, TCJsonPath("argument")); });
        EXPECT_EQ(ToJson(value), before) << "changed in spite of an error";
        return error;
    };
    EXPECT_EQ(read(TCProfiles(), R"([{}, {"slotId": 256}])"), "argument[1].slotId: 256 is not within 0 to 255");
    EXPECT_EQ(read(TCProfiles(), R"([{"slot": 1}])"),
              "argument[0].slot: there is no such member in TSCIOperatorProfileData; there are antennaMode, "
              "serviceMode, slotId, profileName, supportedAntennaModes, profileType; did you mean slotId?");
    EXPECT_EQ(read(TCProfiles(), R"([{"supportedAntennaModes": [1, "ANTENNA_MODE_CABLE"]}])"),
              "argument[0].supportedAntennaModes[1]: this element is in the list already");
    EXPECT_EQ(read(TModes{{1, CAM_MODE_CI}}, R"({"1": 0, "0x1": 1})"), "argument.0x1: this key is in the map already");
    EXPECT_EQ(read(TModes(), R"({"1": "CAM_MODE"})"), "argument.1: \"CAM_MODE\" is no value of ECamMode; there are "
                                                      "CAM_MODE_CI, CAM_MODE_CI_PLUS; did you mean CAM_MODE_CI?");
    EXPECT_EQ(read(TModes(), "[]"), "argument: an object is needed, not a list");
    EXPECT_EQ(read(-5, "2147483648"), "argument: 2147483648 is not within -2147483648 to 2147483647");
    EXPECT_EQ(read(5u, "-1"), "argument: -1 is not within 0 to 4294967295");
    EXPECT_EQ(read(5ull, "18446744073709551616"), "argument: an integer is needed, not a fraction");
    EXPECT_EQ(read(5, R"("5 ")"), "argument: \"5 \" is no integer");
    EXPECT_EQ(read(true, "2"), "argument: true or false is needed, not 2");
    EXPECT_EQ(read(true, R"("2")"), "argument: true or false is needed, not \"2\"");
    EXPECT_EQ(read(TVSHandle(PROFILE_SUB, 3), R"("0:70000")"), "argument: 70000 is not within 0 to 65535");
    EXPECT_EQ(read(std::vector<unsigned char>{1}, R"("012")"),
              "argument: two hexadecimal digits are needed for byte 1");
    EXPECT_EQ(read(TCIText(), R"({"codeUnits": [65536]})"), "argument.codeUnits[0]: 65536 is not within 0 to 65535");
    EXPECT_EQ(read(TSSignalData(), R"("00")"), "argument: 8 bytes are needed, not 1");

    const TCOperationForm& answer = *FindInterface("ICIGeneral")->Find("GetMmiText");
    EXPECT_EQ(ErrorOf([&] { answer.Check(TJson::object()); }),
              "slot: this argument of ICIGeneral.GetMmiText is missing (uint8)");
    EXPECT_EQ(ErrorOf(
                  [&] {
                      answer.Check({{"slot", 0}, {"text", "x"}});
                  }),
              "text: this is an output of ICIGeneral.GetMmiText");
    EXPECT_EQ(ErrorOf(
                  [&] {
                      answer.Check({{"slots", 0}});
                  }),
              "slots: ICIGeneral.GetMmiText has no such argument; did you mean slot?");

    // What stands too much in a payload, by its argument.
    const TCInterfaceForm& general = *FindInterface("ICIGeneral");
    const std::string pin = general.Find("VerifyCamPin")->RequestFromJson({{"slot", 0}, {"pin", "31"}});
    EXPECT_EQ(answer.RequestToJson(pin).error,
              "the argument tree is that of method 24; the output text stands in the request");
    EXPECT_EQ(general.Find("EnterMenu")->RequestToJson(pin).error,
              "the argument tree is that of method 24; there is an argument 2, but EnterMenu has only 1");
    EXPECT_EQ(
        general.Find("GetMmiText")->ReplyToJson(pin).error,
        "the argument tree is that of method 24; the input slot stands in the reply; an argument is of another kind");
}

TEST(Texts, AreShortenedBetweenCharacters)
{
    for (const auto& [text, shortened] : {std::pair("", ""),
                                          {"abc", "abc"},
                                          {"abcd", "abc..."},
                                          {"\u00e4\u20ac\U0001F4FA", "\u00e4\u20ac\U0001F4FA"},
                                          {"\u00e4\u20ac\U0001F4FA\u00e4", "\u00e4\u20ac\U0001F4FA..."}})
    {
        EXPECT_EQ(Shortened(text, 3), shortened);
    }
}

TEST(Results, RefuseWhatWasAskedFor)
{
    const TCOperationForm& enter = *FindInterface("general")->Find("EnterMenu");
    const TCOperationForm& play = *FindInterface("camplayer")->Find("PlayRequest"); // gives a handle, which may be 0
    for (const auto& [operation, result, isRefusal] : {std::tuple(&enter, TJson(1), false),
                                                       {&enter, TJson(0), true},
                                                       {&enter, TJson(-1), true},
                                                       {&enter, TJson(true), false},
                                                       {&enter, TJson(false), true},
                                                       {&enter, TJson(), false},
                                                       {&play, TJson(0), false},
                                                       {&play, TJson(0xFFFF), true}})
    {
        EXPECT_EQ(operation->IsRefusal(result), isRefusal) << operation->Name() << ' ' << result;
    }
}
} // namespace CIM::json
