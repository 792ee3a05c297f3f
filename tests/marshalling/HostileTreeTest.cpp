#include "AllocationCount.h"
#include "TreeBytes.h"

#include "marshalling/MarshalableContainers.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

using namespace std::string_literals;

namespace
{

std::string Header(char type, std::uint16_t tag, std::uint32_t size)
{
    std::string header(8, '\0');
    header[0] = type;
    std::memcpy(&header[2], &tag, sizeof(tag));
    std::memcpy(&header[4], &size, sizeof(size));
    return header;
}

std::string Tree(const std::string& content)
{
    return "\1\0\0\0"s + Header(TREE_NODE_BRANCH_LIST, 0, static_cast<std::uint32_t>(content.size())) + content;
}

std::string Nested(unsigned branches)
{
    std::string content;
    for (unsigned level = 0; level < branches; ++level)
    {
        content = Header(TREE_NODE_BRANCH_LIST, 0, static_cast<std::uint32_t>(content.size())) + content;
    }
    return Tree(content);
}

// Reads a tree's nodes with everything that a message can meet.
void ReadWithEverything(TCTreeBranch& branch)
{
    std::vector<TVSHandle> handles;
    std::list<std::string> texts;
    std::set<TSTvMode> modes;
    std::map<unsigned char, CIM::TCodeList> codes;
    std::map<unsigned char, CIM::TModeNames> names;
    std::map<TSTvMode, std::basic_string<unsigned short>> labels;
    std::string narrow = "old";
    std::basic_string<unsigned short> wide;
    const auto read = [&](TCTreeBranch& part)
    {
        CIM::TCMarshalableOneDimensionContainer<decltype(handles), TVSHandle>(&handles).TreeToClass(part);
        CIM::TCMarshalableOneDimensionContainer<decltype(texts), std::string>(&texts).TreeToClass(part);
        CIM::TCMarshalableSetContainer<decltype(modes), TSTvMode>(&modes).TreeToClass(part);
        CIM::TCMarshalableMapContainer<decltype(codes), CIM::TCodeList>(&codes).TreeToClass(part);
        CIM::TCMarshalableMapContainer<decltype(names), CIM::TModeNames>(&names).TreeToClass(part);
        CIM::TCMarshalableMapContainer<decltype(labels), std::basic_string<unsigned short>>(&labels).TreeToClass(part);
        CIM::TCMarshalableString(&narrow).TreeToClass(part);
        CIM::TCMarshalableWString(&wide).TreeToClass(part);
    };
    read(branch);
    for (TCTreeNode* node = branch.GetFirstNode(); node; node = node->GetNextNode())
    {
        if (TCTreeBranch* inner = node->AsBranch())
        {
            ReadWithEverything(*inner);
        }
    }
}

std::string RealTree()
{
    TCTreeBranchList tree(9);
    std::map<unsigned char, CIM::TModeNames> names{
        {1, {{ANTENNA_MODE_CABLE, {65, 66}}, {ANTENNA_MODE_SATELLITE, {67}}}}};
    std::map<unsigned char, CIM::TCodeList> codes{{1, {0x500, 0x600}}, {2, {}}};
    std::string text = "text";
    const auto add = [&](unsigned tag, TCMarshalable& object)
    {
        TCTreeBranch* branch = tree.NewBranch(tag);
        object.ClassToTree(*branch);
        tree.AddNode(branch);
    };
    CIM::TCMarshalableMapContainer<decltype(names), CIM::TModeNames> namesAdapter(&names);
    CIM::TCMarshalableMapContainer<decltype(codes), CIM::TCodeList> codesAdapter(&codes);
    CIM::TCMarshalableString textAdapter(&text);
    add(0, namesAdapter);
    add(1, codesAdapter);
    add(2, textAdapter);
    tree.AddNode(tree.NewLeaf(3, 4, "abcd"));
    return Stored(tree);
}

} // namespace

TEST(HostileTree, EachMalformedPayloadIsRefused)
{
    const struct
    {
        const char* what;
        std::string bytes;
        bool isTree;
    } cases[] = {
        {"nothing", "", false},
        {"a part of the version", "\1\0\0"s, false},
        {"no root", "\1\0\0\0"s, false},
        {"an empty tree", Tree(""), true},
        {"version 0", "\0"s + Tree("").substr(1), false},
        {"version 2", "\2"s + Tree("").substr(1), false},
        {"a byte behind the version", "\1\0\0\1"s + Tree("").substr(4), false},
        {"a root that is a leaf", "\1\0\0\0"s + Header(TREE_NODE_LEAF, 0, 0), false},
        {"a root that is a map", "\1\0\0\0"s + Header(TREE_NODE_BRANCH_MAP, 0, 0), false},
        {"a byte behind the root", Tree("") + "x", false},
        {"a second root", Tree("") + Header(TREE_NODE_BRANCH_LIST, 0, 0), false},
        {"a root larger than the bytes", "\1\0\0\0"s + Header(TREE_NODE_BRANCH_LIST, 0, 1), false},
        {"a root of 4 GiB", "\1\0\0\0"s + Header(TREE_NODE_BRANCH_LIST, 0, 0xffffffff), false},
        {"a child of 4 GiB", Tree(Header(TREE_NODE_LEAF, 0, 0xffffffff)), false},
        {"a child whose size and header wrap", Tree(Header(TREE_NODE_LEAF, 0, 0xfffffff8)), false},
        {"a child one byte too long", Tree(Header(TREE_NODE_LEAF, 0, 3) + "ab"), false},
        {"a child that ends at the end", Tree(Header(TREE_NODE_LEAF, 0, 2) + "ab"), true},
        {"a child that reaches into its branch's neighbour",
         Tree(Header(TREE_NODE_BRANCH_LIST, 0, 8) + Header(TREE_NODE_LEAF, 0, 1) + Header(TREE_NODE_LEAF, 1, 0)),
         false},
        {"a part of a header", Tree(Header(TREE_NODE_LEAF, 0, 0).substr(1)), false},
        {"a part of a header inside a branch, with bytes behind",
         Tree(Header(TREE_NODE_BRANCH_LIST, 0, 7) + Header(TREE_NODE_LEAF, 0, 0)), false},
        {"type 0", Tree(Header(0, 0, 0)), false},
        {"type 4", Tree(Header(4, 0, 0)), false},
        {"type 255", Tree(Header('\xff', 0, 0)), false},
        {"a reserved byte", Tree("\1\1\0\0\0\0\0\0"s), false},
        {"depth 16", Nested(15), true},
        {"depth 17", Nested(16), false},
        {"depth 1000", Nested(1000), false},
    };
    for (const auto& row : cases)
    {
        TSParsed parsed(row.bytes);
        EXPECT_EQ(parsed.tree->IsValid(), row.isTree) << row.what;
        if (row.isTree)
        {
            EXPECT_EQ(Stored(*parsed.tree), row.bytes) << row.what;
        }
        else
        {
            EXPECT_EQ(parsed.tree->GetFirstNode(), nullptr) << row.what;
        }
    }
    EXPECT_FALSE(TCTreeBranchList(static_cast<TCMessageBuffer*>(nullptr)).IsValid());
}

TEST(HostileTree, TooDeepATreeIsNotStored)
{
    TCTreeBranchList tree(0);
    TCTreeBranch* branch = &tree;
    for (unsigned depth = 1; depth <= TREE_MAXIMUM_DEPTH; ++depth)
    {
        EXPECT_NE(Stored(tree), "not stored") << depth;
        TCTreeBranch* child = branch->NewBranch(0);
        branch->AddNode(child);
        branch = child;
    }
    TCMessageBuffer buffer;
    EXPECT_FALSE(tree.StoreInBuffer(buffer));
    EXPECT_EQ(buffer.GetUnreadSize(), 0U);
    EXPECT_EQ(tree.GetNodeSize(), 0U);
}

// Under the address sanitizer this fails at the first byte read past the payload.
TEST(HostileTree, TruncationsAndCorruptionsAreSurvived)
{
    const std::string whole = RealTree();
    {
        TSParsed parsed(whole);
        ASSERT_TRUE(parsed.tree->IsValid());
        ReadWithEverything(*parsed.tree);
    }
    for (std::size_t length = 0; length < whole.size(); ++length)
    {
        EXPECT_FALSE(TSParsed(whole.substr(0, length)).tree->IsValid()) << length;
    }
    std::size_t stillTrees = 0;
    for (std::size_t position = 0; position < whole.size(); ++position)
    {
        for (const int change : {0x01, 0x02, 0x04, 0x10, 0x80, 0xff})
        {
            std::string bytes = whole;
            bytes[position] = static_cast<char>(bytes[position] ^ change);
            TSParsed parsed(bytes);
            if (parsed.tree->IsValid())
            {
                ++stillTrees;
                ReadWithEverything(*parsed.tree);
                EXPECT_EQ(Stored(*parsed.tree), bytes);
            }
        }
    }
    EXPECT_GT(stillTrees, whole.size()); // tags and contents are free
}

TEST(HostileTree, MemoryIsBoundedByFiveTimesThePayload)
{
    constexpr std::size_t NODES = 100000;
    for (const char type : {TREE_NODE_LEAF, TREE_NODE_BRANCH_LIST})
    {
        std::string content;
        for (std::size_t node = 0; node < NODES; ++node)
        {
            content += Header(type, 0, 0);
        }
        const std::string bytes = Tree(content);
        TCMessageBuffer buffer;
        buffer.PushBorrowed(bytes.size(), bytes.data());
        {
            const TCAllocationCount count;
            const TCTreeBranchList tree(&buffer);
            EXPECT_TRUE(tree.IsValid());
            EXPECT_EQ(count.Count(), 1U);
            EXPECT_LE(count.Bytes(), 5 * bytes.size());
        }
        // Malformed at its very end: nothing is allocated for what came before.
        const std::string broken = bytes.substr(0, bytes.size() - 1);
        TCMessageBuffer brokenBuffer;
        brokenBuffer.PushBorrowed(broken.size(), broken.data());
        const TCAllocationCount count;
        EXPECT_FALSE(TCTreeBranchList(&brokenBuffer).IsValid());
        EXPECT_EQ(count.Count(), 0U);
    }
}
