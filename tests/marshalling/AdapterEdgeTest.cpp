#include "AssertionCapture.h"
#include "TreeBytes.h"

#include "marshalling/MarshalableContainers.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace std::string_literals;

namespace
{

using TStrings = std::vector<std::string>;
template <class T>
using TVector = CIM::TCMarshalableOneDimensionContainer<std::vector<T>, T>;

std::string Leaf(const TCTreeNode* node) { return {static_cast<const char*>(node->GetData()), node->GetByteSize()}; }

void AddLeaves(TCTreeBranch& branch, const TStrings& leaves)
{
    for (const std::string& leaf : leaves)
    {
        branch.AddNode(branch.NewLeaf(0, leaf.size(), leaf.data()));
    }
}

} // namespace

TEST(Adapters, PlainSequencesTravelAsOneLeaf)
{
    TCTreeBranchList tree(0);
    std::vector<unsigned char> bytes(300, 0x47);
    std::list<unsigned short> codes{1, 2, 3};
    std::vector<TVSHandle> handles{{PROFILE_SUB, 7}};
    handles[0].filler = 0xdead;
    std::map<unsigned char, CIM::TCodeList> lists{{5, {0x0102, 0x0304}}};
    TVector<unsigned char>(&bytes).ClassToTree(tree);
    CIM::TCMarshalableOneDimensionContainer<CIM::TCodeList, unsigned short>(&codes).ClassToTree(tree);
    TVector<TVSHandle>(&handles).ClassToTree(tree);
    CIM::TCMarshalableMapContainer<decltype(lists), CIM::TCodeList>(&lists).ClassToTree(tree);

    ASSERT_EQ(tree.GetNodeCount(), 5U);
    const TCTreeNode* node = tree.GetFirstNode();
    EXPECT_EQ(Leaf(node), std::string(300, 0x47));
    node = node->GetNextNode();
    EXPECT_EQ(Leaf(node), "\1\0\2\0\3\0"s);
    node = node->GetNextNode();
    EXPECT_EQ(Leaf(node), "\1\0\0\0\7\0\0\0"s);
    node = node->GetNextNode();
    EXPECT_EQ(Leaf(node), "\5"s);
    const TCTreeBranch* list = node->GetNextNode()->AsBranch();
    ASSERT_TRUE(list && list->GetNodeCount() == 1);
    EXPECT_EQ(Leaf(list->GetFirstNode()), "\2\1\4\3"s);
}

TEST(Adapters, PackedElementsAreTakenWholeFromTheFirstLeafOnly)
{
    const struct
    {
        const char* what;
        TStrings leaves;
        std::vector<unsigned short> read;
    } cases[] = {
        {"an odd byte at the end", {"\1\0\2\0\3"s}, {1, 2}},
        {"less than one element", {"\1"s}, {}},
        {"an empty leaf", {""}, {}},
        {"a second leaf", {"\1\0"s, "\2\0"s}, {1}},
    };
    for (const auto& row : cases)
    {
        TCTreeBranchList tree(0);
        AddLeaves(tree, row.leaves);
        std::vector<unsigned short> read{9, 9};
        EXPECT_TRUE(TVector<unsigned short>(&read).TreeToClass(tree)) << row.what;
        EXPECT_EQ(read, row.read) << row.what;
    }
    TCTreeBranchList tree(0);
    tree.AddNode(tree.NewBranch(0));
    std::vector<unsigned short> read{9, 9};
    EXPECT_TRUE(TVector<unsigned short>(&read).TreeToClass(tree)) << "a branch holds no bytes";
    EXPECT_TRUE(read.empty());
}

TEST(Adapters, ElementsOfAnotherSizeAreCutOrFilledWithZeros)
{
    TCTreeBranchList tree(0);
    AddLeaves(tree, {"\1\0\0\0"s, "\2"s, "\3\0\0\0\xff"s, ""});
    TSParsed parsed(Stored(tree)); // a step past the last leaf is a step past the message
    std::set<EAntennaMode> modes;
    CIM::TCMarshalableSetContainer<decltype(modes), EAntennaMode>(&modes).TreeToClass(*parsed.tree);
    EXPECT_EQ(modes, (std::set<EAntennaMode>{EAntennaMode(0), EAntennaMode(1), EAntennaMode(2), EAntennaMode(3)}));
}

TEST(Adapters, OfEqualKeysTheFirstWinsAndAKeyWithoutValueIsReported)
{
    using TMap = std::map<unsigned char, unsigned char>;
    const struct
    {
        TStrings leaves;
        bool isSound;
        TMap read;
    } cases[] = {
        {{"\1", "\x0a", "\2", "\x0b"}, true, {{1, 10}, {2, 11}}},
        {{"\2", "\x0b", "\1", "\x0a"}, true, {{1, 10}, {2, 11}}},
        {{"\1", "\x0a", "\1", "\x0b"}, true, {{1, 10}}},
        {{"\1", "\x0a", "\2"}, false, {{1, 10}}},
        {{"\1"}, false, {}},
    };
    for (const auto& row : cases)
    {
        TCTreeBranchList tree(0);
        AddLeaves(tree, row.leaves);
        TMap read{{99, 99}};
        TakeAssertions();
        EXPECT_EQ((CIM::TCMarshalableMapContainer<TMap, unsigned char>(&read).TreeToClass(tree)), row.isSound);
        EXPECT_EQ(read, row.read);
        EXPECT_EQ(TakeAssertions(), row.isSound ? TStrings{} : TStrings{"0@MarshalableMapContainer.h:264"});
    }
    TCTreeBranchList tree(0);
    TSTvMode mode(ANTENNA_MODE_CABLE, SERVICE_MODE_GENERIC);
    for (int twin = 0; twin < 2; ++twin)
    {
        TCTreeBranch* branch = tree.NewBranch(0);
        mode.ClassToTree(*branch);
        tree.AddNode(branch);
    }
    std::set<TSTvMode> modes;
    CIM::TCMarshalableSetContainer<decltype(modes), TSTvMode>(&modes).TreeToClass(tree);
    EXPECT_EQ(modes, std::set<TSTvMode>{mode});
}

TEST(Adapters, EmptyStringsLeaveTheOldContent)
{
    const struct
    {
        const char* what;
        std::uint32_t length;
        TStrings characters; // none or one
        std::string read;
        bool isSound;
    } cases[] = {
        {"whole", 3, {"xyz"}, "xyz", true},
        {"length 0", 0, {}, "abc", true},
        {"length 0 with a leaf", 0, {"xyz"}, "abc", true},
        {"length too large", 0xffffffff, {"xyz"}, "xyz", true},
        {"length too small", 2, {"xyz"}, "xy", true},
        {"no characters", 3, {}, "abc", true},
    };
    for (const auto& row : cases)
    {
        TCTreeBranchList tree(0);
        tree.AddNode(tree.NewLeaf(0, sizeof(row.length), &row.length));
        for (const std::string& characters : row.characters)
        {
            tree.AddNode(tree.NewLeaf(1, characters.size(), characters.data()));
        }
        std::string read = "abc";
        EXPECT_EQ(CIM::TCMarshalableString(&read).TreeToClass(tree), row.isSound) << row.what;
        EXPECT_EQ(read, row.read) << row.what;
    }

    // A branch in the place of the characters holds none: both kinds of strings are then empty.
    const std::uint32_t three = 3;
    TCTreeBranchList narrowBranch(0);
    narrowBranch.AddNode(narrowBranch.NewLeaf(0, sizeof(three), &three));
    narrowBranch.AddNode(narrowBranch.NewBranch(1));
    TCTreeBranchList wideBranch(0);
    wideBranch.AddNode(wideBranch.NewBranch(0));
    std::string narrow = "abc";
    std::basic_string<unsigned short> wide{1, 2, 3};
    EXPECT_TRUE(CIM::TCMarshalableString(&narrow).TreeToClass(narrowBranch));
    EXPECT_TRUE(CIM::TCMarshalableWString(&wide).TreeToClass(wideBranch));
    EXPECT_EQ(narrow, "");
    EXPECT_TRUE(wide.empty());

    TCTreeBranchList narrowTree(0);
    TCTreeBranchList wideTree(0);
    EXPECT_TRUE(CIM::TCMarshalableString(&narrow).ClassToTree(narrowTree));
    EXPECT_TRUE(CIM::TCMarshalableWString(&wide).ClassToTree(wideTree));
    ASSERT_EQ(narrowTree.GetNodeCount(), 1U);
    EXPECT_EQ(Leaf(narrowTree.GetFirstNode()), "\0\0\0\0"s);
    EXPECT_EQ(wideTree.GetNodeCount(), 0U);
    wide = {1, 2, 3};
    EXPECT_TRUE(CIM::TCMarshalableWString(&wide).TreeToClass(wideTree));
    EXPECT_EQ(wide.size(), 3U);
    EXPECT_TRUE(CIM::TCMarshalableWString(&wide).ClassToTree(wideTree));
    ASSERT_EQ(wideTree.GetNodeCount(), 1U);
    EXPECT_EQ(Leaf(wideTree.GetFirstNode()), "\1\0\2\0\3\0"s);
    wide.clear();
    EXPECT_TRUE(CIM::TCMarshalableWString(&wide).TreeToClass(wideTree));
    EXPECT_EQ(wide, (std::basic_string<unsigned short>{1, 2, 3}));

    unsigned long size = 77;
    narrow = "four";
    EXPECT_TRUE(CIM::TCMarshalableString(&narrow).GetSizeOfMarshalled(size));
    EXPECT_EQ(size, 4U);
    EXPECT_TRUE(CIM::TCMarshalableWString(&wide).GetSizeOfMarshalled(size));
    EXPECT_EQ(size, 6U);
}

TEST(Adapters, StringsWithoutTargetAreReported)
{
    TCTreeBranchList tree(0);
    unsigned long size = 77;
    CIM::TCMarshalableString narrow(nullptr);
    CIM::TCMarshalableWString wide(nullptr);
    TakeAssertions();
    EXPECT_FALSE(narrow.GetSizeOfMarshalled(size) || wide.GetSizeOfMarshalled(size));
    EXPECT_EQ(size, 77U);
    EXPECT_EQ(TakeAssertions(), TStrings{});
    EXPECT_FALSE(narrow.ClassToTree(tree) || narrow.TreeToClass(tree) || wide.ClassToTree(tree) ||
                 wide.TreeToClass(tree));
    EXPECT_EQ(TakeAssertions(), (TStrings{"m_data@MarshalableString.h:72", "m_data@MarshalableString.h:93",
                                          "m_data@MarshalableWString.h:73", "m_data@MarshalableWString.h:93"}));
}

TEST(Adapters, ContainersInContainersNeedABranch)
{
    TCTreeBranchList tree(0);
    AddLeaves(tree, {"\1", "\2\0"s});
    std::map<unsigned char, CIM::TCodeList> lists;
    TakeAssertions();
    EXPECT_TRUE((CIM::TCMarshalableMapContainer<decltype(lists), CIM::TCodeList>(&lists).TreeToClass(tree)));
    EXPECT_EQ(lists, (decltype(lists){{1, {}}}));
    const TStrings assertions = TakeAssertions();
    ASSERT_EQ(assertions.size(), 1U);
    EXPECT_EQ(assertions[0].rfind("node.GetNodeType() == TREE_NODE_BRANCH_MAP|| node.GetNodeType() == "
                                  "TREE_NODE_BRANCH_LIST@MarshalableNodeCreator.h:",
                                  0),
              0U);
}

// Creators that a caller hands over: owned, copied deep, and asked whether elements are containers.
TEST(Adapters, GivenCreatorsAreOwnedAndForked)
{
    using TNames = std::map<unsigned char, CIM::TModeNames>;
    TNames names{{1, {{ANTENNA_MODE_CABLE, {65}}}}};
    const auto given = std::make_unique<CIM::TModeNamesNodeCreator>(new DefaultNodeCreator, new STDWStringNodeCreator);
    EXPECT_EQ(given->NodeCreatorType(), 8);
    EXPECT_EQ(CIM::TCodeListNodeCreator().NodeCreatorType(), 7);
    CIM::TCMarshalableMapContainer<TNames, CIM::TModeNames> adapter(&names, new DefaultNodeCreator, given->Fork());
    TCTreeBranchList tree(0);
    ASSERT_TRUE(adapter.ClassToTree(tree));
    const TNames written = names;
    ASSERT_TRUE(adapter.TreeToClass(tree));
    EXPECT_EQ(names, written);

    CIM::TModeNames inner{{ANTENNA_MODE_CABLE, {65}}};
    given->ClearSubContainers(&inner);
    EXPECT_TRUE(inner.empty());
    CIM::TCodeList codes{1, 2};
    CIM::TCodeListNodeCreator(new DefaultNodeCreator).ClearSubContainers(&codes);
    EXPECT_TRUE(codes.empty());
    const TCTreeBranch* none = given->MakeNewNode(tree, nullptr, 0, 5, MARSHALABLE_STORAGE_BRANCH)->AsBranch();
    ASSERT_NE(none, nullptr);
    EXPECT_EQ(none->GetNodeCount(), 0U);
    EXPECT_TRUE(given->PutNodeDataTo(nullptr, 0, 0, *tree.GetFirstNode()));

    std::vector<unsigned char> bytes{1, 2};
    {
        CIM::TCMarshalableOneDimensionContainer<decltype(bytes), unsigned char> clearing(&bytes, nullptr, true);
    }
    EXPECT_TRUE(bytes.empty());
}
