#include "AllocationCount.h"
#include "TreeBytes.h"

#include "marshalling/MarshalableContainers.h"

#include <tvplatform/MarshallingHelper.h>

#include <gtest/gtest.h>

#include <vector>

using namespace std::string_literals;
using TBytes = CIM::TCMarshalableOneDimensionContainer<std::vector<unsigned char>, unsigned char>;

// Typed by hand from docs/protocol.md, a line for each piece; the numbers are those of a little-endian machine.
TEST(Tree, BytesOfACall)
{
    unsigned char slot = 0x2a;
    int number = -2;
    TSTvMode mode(ANTENNA_MODE_CABLE, SERVICE_MODE_OPERATOR);
    std::vector<unsigned char> bytes{0xca, 0xfe, 0x01};
    std::vector<unsigned char> nothing;
    std::basic_string<unsigned short> wide{0x0041, 0x20ac};
    std::string narrow = "ci";
    TBytes bytesAdapter(&bytes);
    TBytes nothingAdapter(&nothing);
    CIM::TCMarshalableWString wideAdapter(&wide);
    CIM::TCMarshalableString narrowAdapter(&narrow);

    TCMarshallingHelperProxy frame;
    int result = -1;
    frame.PushValue(MARSHALLING_DIRECTION_OUT, 4, &result);
    frame.PushValue(MARSHALLING_DIRECTION_IN, 1, &slot);
    frame.PushValue(MARSHALLING_DIRECTION_IN_OUT, 4, &number);
    frame.PushMarshalableClass(MARSHALLING_DIRECTION_IN, &mode);
    frame.PushMarshalableClass(MARSHALLING_DIRECTION_IN, &bytesAdapter);
    frame.PushMarshalableClass(MARSHALLING_DIRECTION_IN, &nothingAdapter);
    frame.PushMarshalableClass(MARSHALLING_DIRECTION_IN, &wideAdapter);
    frame.PushMarshalableClass(MARSHALLING_DIRECTION_IN, &narrowAdapter);
    TCTreeBranchList tree(0x0107);
    ASSERT_TRUE(frame.ClassToTree(tree));

    // clang-format off
    const std::string expected =
        "\1\0\0\0"s                                             // version
        "\2\0\x07\x01\x82\0\0\0"s                              // root: list, method 0x107, 130 bytes
        "\1\0\1\0\1\0\0\0" "\x2a"s                            // slot
        "\1\0\2\0\4\0\0\0" "\xfe\xff\xff\xff"s                // number
        "\3\0\3\0\x18\0\0\0"s                                 // mode: a map of two fields
            "\1\0\0\0\4\0\0\0" "\1\0\0\0"s
            "\1\0\1\0\4\0\0\0" "\1\0\0\0"s
        "\2\0\4\0\x0b\0\0\0"s                                 // bytes: a list of one leaf
            "\1\0\0\0\3\0\0\0" "\xca\xfe\1"s
        "\2\0\5\0\0\0\0\0"s                                   // no bytes: no leaf
        "\3\0\6\0\x0c\0\0\0"s                                 // wide string
            "\1\0\0\0\4\0\0\0" "\x41\0\xac\x20"s
        "\3\0\7\0\x16\0\0\0"s                                 // narrow string: its length, its characters
            "\1\0\0\0\4\0\0\0" "\2\0\0\0"s
            "\1\0\1\0\2\0\0\0" "ci"s;
    // clang-format on
    EXPECT_EQ(Stored(tree), expected);
    EXPECT_EQ(tree.GetNodeSize(), expected.size());

    TSParsed parsed(expected);
    ASSERT_TRUE(parsed.tree->IsValid());
    EXPECT_EQ(parsed.tree->GetTag(), 0x0107U);
    EXPECT_EQ(Stored(*parsed.tree), expected);
}

TEST(Tree, ASmallCallAllocatesNothing)
{
    unsigned char slot = 1;
    int result = -1;
    long long number = 7;
    TVSHandle handle(PROFILE_SUB, 3);
    std::vector<unsigned char> bytes(100, 0x47);
    const TCAllocationCount count;
    {
        TBytes adapter(&bytes);
        TCMarshallingHelperProxy frame;
        frame.PushValue(MARSHALLING_DIRECTION_OUT, 4, &result);
        frame.PushValue(MARSHALLING_DIRECTION_IN, 1, &slot);
        frame.PushValue(MARSHALLING_DIRECTION_IN, 8, &number);
        frame.PushValue(MARSHALLING_DIRECTION_IN_OUT, 8, &handle);
        frame.PushMarshalableClass(MARSHALLING_DIRECTION_IN, &adapter);
        TCTreeBranchList tree(12);
        tree.SetDataLifetime(TREE_DATA_OUTLIVES_BUFFER);
        TCMessageBuffer buffer;
        const bool isStored = frame.ClassToTree(tree) && tree.StoreInBuffer(buffer);
        TCTreeBranchList reply(&buffer);
        ASSERT_TRUE(isStored && reply.IsValid() && frame.TreeToClass(reply));
    }
    EXPECT_EQ(count.Count(), 0U);
}

TEST(Tree, LeavesCopyUnlessTheDataAreSaidToLive)
{
    std::vector<unsigned char> bytes(TREE_LARGE_LEAF, 0x11);
    TBytes adapter(&bytes);
    for (const ETreeData lifetime : {TREE_DATA_COPIED, TREE_DATA_OUTLIVES_TREE, TREE_DATA_OUTLIVES_BUFFER})
    {
        TCTreeBranchList tree(0);
        tree.SetDataLifetime(lifetime);
        ASSERT_TRUE(adapter.ClassToTree(tree));
        EXPECT_EQ(tree.GetFirstNode()->GetData() == bytes.data(), lifetime != TREE_DATA_COPIED);

        TCMessageBuffer buffer;
        ASSERT_TRUE(tree.StoreInBuffer(buffer));
        std::size_t length = 0;
        EXPECT_EQ(buffer.GetPiece(buffer.GetPieceCount() - 1, length) == reinterpret_cast<char*>(bytes.data()),
                  lifetime == TREE_DATA_OUTLIVES_BUFFER);
        EXPECT_EQ(buffer.GetUnreadSize(), tree.GetNodeSize());
        TCTreeBranchList read(&buffer);
        ASSERT_TRUE(read.IsValid());
        std::vector<unsigned char> back;
        ASSERT_TRUE(TBytes(&back).TreeToClass(read));
        EXPECT_EQ(back, bytes);
    }

    // A leaf that stands alone keeps what it was given, and so does the tree that takes it.
    int value = 5;
    TCTreeBranchList tree(0);
    {
        TCTreeLeafVar leaf(3, sizeof(value), &value);
        value = 6;
        ASSERT_TRUE(tree.AddNode(&leaf));
        leaf.SetTag(4);
        ASSERT_TRUE(tree.AddNode(&leaf));
    }
    EXPECT_EQ(*static_cast<const int*>(tree.FindNode(3)->GetData()), 5);
    EXPECT_EQ(tree.GetNodeCount(), 2U);
    EXPECT_FALSE(tree.AddNode(nullptr));
}

TEST(Tree, SixteenMebibytesAreCopiedOnceEachWay)
{
    std::vector<unsigned char> bytes(std::size_t{16} << 20);
    for (std::size_t index = 0; index < bytes.size(); ++index)
    {
        bytes[index] = static_cast<unsigned char>(index * 7 >> 3);
    }
    TBytes adapter(&bytes);
    TCTreeBranchList tree(0);
    tree.SetDataLifetime(TREE_DATA_OUTLIVES_BUFFER);
    TCMessageBuffer buffer;
    const TCAllocationCount sending;
    ASSERT_TRUE(adapter.ClassToTree(tree));
    buffer.Reserve(tree.GetNodeSize());
    ASSERT_TRUE(tree.StoreInBuffer(buffer));
    EXPECT_LT(sending.Bytes(), 4096U);

    const std::string received(buffer.GetAsCStr(0), buffer.GetUnreadSize());
    TCMessageBuffer reply;
    reply.PushBorrowed(received.size(), received.data());
    std::vector<unsigned char> back;
    const TCAllocationCount receiving;
    TCTreeBranchList read(&reply);
    ASSERT_TRUE(read.IsValid() && TBytes(&back).TreeToClass(read));
    EXPECT_LE(receiving.Bytes(), bytes.size() + 4096);
    EXPECT_TRUE(back == bytes);
}

// Parts of one tree put into another are copied, whatever they are and wherever they were.
TEST(Tree, NodesOfOtherTreesAreCopied)
{
    TCTreeBranchList target(1);
    {
        TCTreeBranchList source(2);
        TCTreeBranch* branch = source.NewBranch(5, TREE_NODE_BRANCH_MAP);
        branch->AddNode(branch->NewLeaf(0, 11, "hello world"));
        ASSERT_TRUE(source.AddNode(branch));
        ASSERT_TRUE(target.AddNode(branch));
        ASSERT_TRUE(target.AddNode(&source));
        ASSERT_TRUE(source.AddNode(branch)); // a child already: a copy of it
        EXPECT_EQ(source.GetNodeCount(), 2U);
    }
    EXPECT_EQ(Stored(target), "\1\0\0\0"
                              "\2\0\1\0\x3e\0\0\0"
                              "\3\0\5\0\x13\0\0\0\1\0\0\0\x0b\0\0\0hello world"
                              "\2\0\2\0\x1b\0\0\0\3\0\5\0\x13\0\0\0\1\0\0\0\x0b\0\0\0hello world"s);
}

TEST(Tree, ObjectsStoreAndLoadOneBehindTheOther)
{
    TSTvMode first(ANTENNA_MODE_SATELLITE, SERVICE_MODE_GENERIC);
    TSTvMode second(ANTENNA_MODE_TERRESTRIAL, SERVICE_MODE_OPERATOR);
    TCMessageBuffer buffer;
    ASSERT_TRUE(first.Store(buffer) && second.Store(buffer));
    unsigned long size = 0;
    EXPECT_TRUE(first.GetSizeOfMarshalled(size));
    EXPECT_EQ(size, 24U);
    TSTvMode readFirst;
    TSTvMode readSecond;
    EXPECT_TRUE(readFirst.Load(buffer) && readSecond.Load(buffer));
    EXPECT_EQ(readFirst, first);
    EXPECT_EQ(readSecond, second);
    EXPECT_FALSE(readFirst.Load(buffer));
    EXPECT_EQ(readFirst, first);
}
