#include "TreeBytes.h"

#include "marshalling/MarshalableContainers.h"

#include <tvplatform/MarshallingHelper.h>

#include <gtest/gtest.h>

#include <functional>
#include <tuple>

namespace
{

// The arguments of one call as each side has them.
struct TSSide
{
    int result = -1;
    unsigned char in = 0;
    unsigned short inOut = 0;
    long long out = 0;
    TSTvMode inMode;
    TSTvMode outMode;
    std::string text;
    CIM::TCMarshalableString textAdapter{&text};

    using TValues = std::tuple<int, unsigned char, unsigned short, long long, TSTvMode, TSTvMode, std::string>;
    void Set(const TValues& values) { std::tie(result, in, inOut, out, inMode, outMode, text) = values; }
    TValues Get() const { return {result, in, inOut, out, inMode, outMode, text}; }

    void Push(TCMarshallingHelper& frame)
    {
        frame.PushValue(MARSHALLING_DIRECTION_OUT, 4, &result);
        frame.PushValue(MARSHALLING_DIRECTION_IN, 1, &in);
        frame.PushValue(MARSHALLING_DIRECTION_IN_OUT, 2, &inOut);
        frame.PushValue(MARSHALLING_DIRECTION_OUT, 8, &out);
        frame.PushMarshalableClass(MARSHALLING_DIRECTION_IN, &inMode);
        frame.PushMarshalableClass(MARSHALLING_DIRECTION_OUT, &outMode);
        frame.PushMarshalableClass(MARSHALLING_DIRECTION_IN_OUT, &textAdapter);
    }
};

} // namespace

TEST(MarshallingHelper, EachArgumentTravelsItsWay)
{
    const TSTvMode cable(ANTENNA_MODE_CABLE, SERVICE_MODE_GENERIC);
    const TSTvMode satellite(ANTENNA_MODE_SATELLITE, SERVICE_MODE_NONE);
    const TSTvMode none(ANTENNA_MODE_NONE, SERVICE_MODE_OPERATOR);
    TSSide caller;
    caller.Set({-1, 3, 500, 77, cable, satellite, "question"});
    TCMarshallingHelperProxy proxy;
    caller.Push(proxy);
    TCTreeBranchList request(1);
    ASSERT_TRUE(proxy.ClassToTree(request));

    TSSide daemon;
    daemon.out = 5;
    TCMarshallingHelperStub stub;
    daemon.Push(stub);
    TSParsed received(Stored(request));
    ASSERT_TRUE(stub.TreeToClass(*received.tree));
    EXPECT_EQ(daemon.Get(), TSSide::TValues(-1, 3, 500, 5, cable, TSTvMode(), "question"));

    daemon.Set({1, 9, 501, 6, satellite, none, "answer"});
    TCTreeBranchList reply(1);
    ASSERT_TRUE(stub.ClassToTree(reply));
    TSParsed answered(Stored(reply));
    ASSERT_TRUE(proxy.TreeToClass(*answered.tree));
    EXPECT_EQ(caller.Get(), TSSide::TValues(1, 3, 501, 6, cable, none, "answer"));
}

// What a reply lacks or has in a wrong form keeps its value, alone.
TEST(MarshallingHelper, EachArgumentOfAReplyStandsForItself)
{
    const struct
    {
        const char* what;
        std::function<void(TCTreeBranch&)> build;
        bool isSound;
        int result;
        unsigned short inOut;
    } cases[] = {
        {"all missing", [](TCTreeBranch&) {}, true, -1, 7},
        {"one missing", [](TCTreeBranch& b) { b.AddNode(b.NewLeaf(2, 2, "\1\1")); }, true, -1, 0x0101},
        {"in another order",
         [](TCTreeBranch& b) { b.AddNode(b.NewLeaf(2, 2, "\1\1")), b.AddNode(b.NewLeaf(0, 4, "\2\0\0\0")); }, true, 2,
         0x0101},
        {"too short", [](TCTreeBranch& b) { b.AddNode(b.NewLeaf(0, 3, "abc")), b.AddNode(b.NewLeaf(2, 2, "\1\1")); },
         false, -1, 0x0101},
        {"too long", [](TCTreeBranch& b) { b.AddNode(b.NewLeaf(0, 5, "abcde")); }, false, -1, 7},
        {"a branch for a value", [](TCTreeBranch& b) { b.AddNode(b.NewBranch(0)); }, false, -1, 7},
        {"a leaf for an object",
         [](TCTreeBranch& b) { b.AddNode(b.NewLeaf(5, 1, "a")), b.AddNode(b.NewLeaf(2, 2, "\1\1")); }, false, -1,
         0x0101},
        {"an input in the reply", [](TCTreeBranch& b) { b.AddNode(b.NewLeaf(1, 1, "\5")); }, true, -1, 7},
        {"an unknown tag", [](TCTreeBranch& b) { b.AddNode(b.NewLeaf(77, 1, "\5")); }, true, -1, 7},
        {"a tag twice", [](TCTreeBranch& b) { b.AddNode(b.NewLeaf(2, 2, "\1\1")), b.AddNode(b.NewLeaf(2, 2, "\2\2")); },
         true, -1, 0x0101},
    };
    for (const auto& row : cases)
    {
        TSSide caller;
        caller.in = 3;
        caller.inOut = 7;
        TCMarshallingHelperProxy proxy;
        caller.Push(proxy);
        TCTreeBranchList reply(1);
        row.build(reply);
        EXPECT_EQ(proxy.TreeToClass(reply), row.isSound) << row.what;
        EXPECT_EQ(caller.result, row.result) << row.what;
        EXPECT_EQ(caller.inOut, row.inOut) << row.what;
        EXPECT_EQ(caller.in, 3) << row.what;
        EXPECT_EQ(caller.outMode, TSTvMode()) << row.what;
    }
}

TEST(MarshallingHelper, ARequestThatLacksAnArgumentIsRefused)
{
    TSSide daemon;
    TCMarshallingHelperStub stub;
    daemon.Push(stub);
    TCTreeBranchList request(1);
    request.AddNode(request.NewLeaf(1, 1, "\5"));
    EXPECT_FALSE(stub.TreeToClass(request));
}

TEST(MarshallingHelper, WrongPushesFailAndManyPushesDoNot)
{
    int value = 1;
    const auto writes = [](const std::function<void(TCMarshallingHelper&)>& push)
    {
        TCMarshallingHelperProxy frame;
        push(frame);
        TCTreeBranchList tree(0);
        return frame.ClassToTree(tree);
    };
    EXPECT_FALSE(writes([&](auto& frame) { frame.PushValue(MARSHALLING_DIRECTION_IN, 3, &value); }));
    EXPECT_FALSE(writes([&](auto& frame) { frame.PushValue(MARSHALLING_DIRECTION_IN, 0, &value); }));
    EXPECT_FALSE(writes([&](auto& frame) { frame.PushValue(MARSHALLING_DIRECTION_OUT, 4, nullptr); }));
    EXPECT_FALSE(writes([&](auto& frame) { frame.PushMarshalableClass(MARSHALLING_DIRECTION_IN, nullptr); }));

    int values[40];
    TCMarshallingHelperProxy frame;
    for (int index = 0; index < 40; ++index)
    {
        values[index] = index;
        frame.PushValue(MARSHALLING_DIRECTION_IN_OUT, 4, &values[index]);
    }
    TCTreeBranchList tree(0);
    ASSERT_TRUE(frame.ClassToTree(tree));
    std::fill(std::begin(values), std::end(values), -1);
    ASSERT_TRUE(frame.TreeToClass(tree));
    for (int index = 0; index < 40; ++index)
    {
        EXPECT_EQ(values[index], index);
    }
}
