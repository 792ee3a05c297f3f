#include "TreeByteForm.h"

#include <tvplatform/MessageBuffer.h>

#include <cstring>
#include <limits>
#include <new>

namespace
{

/// What a node takes of its tree's memory, which is handed out in pieces of eight bytes: more than its size where
/// pointers have four.
template <class TNode>
constexpr std::size_t PLACE_OF = (sizeof(TNode) + 7) & ~std::size_t{7};

// Reads that went wrong once give nothing more; every size is compared with what is left.
class TCReader
{
public:
    TCReader(const char* bytes, std::size_t size) : m_position(bytes), m_left(size) {}

    const char* Take(std::size_t count)
    {
        if (m_failed || count > m_left)
        {
            m_failed = true;
            return nullptr;
        }
        const char* result = m_position;
        m_position += count;
        m_left -= count;
        return result;
    }

    // A node's header. The end of the branch around it is the limit, not the end of the bytes.
    bool TakeHeader(TSTreeNodeHeader& header, std::size_t limit)
    {
        const char* bytes = limit < sizeof(header) ? nullptr : Take(sizeof(header));
        if (!bytes)
        {
            return false;
        }
        std::memcpy(&header, bytes, sizeof(header));
        return header.type >= TREE_NODE_LEAF && header.type <= TREE_NODE_BRANCH_MAP && header.zero == 0 &&
               header.size <= limit - sizeof(header) && header.size <= m_left;
    }

    std::size_t Left() const { return m_left; }

private:
    const char* m_position;
    std::size_t m_left;
    bool m_failed = false;
};

// Walks the nodes below the root in their order, with the depth of the branch around each, 0 for the root: calls
// onLeaf(header, bytes, depth) and onBranch(header, depth). False at the first node that is malformed or too deep.
template <class TLeaf, class TBranch>
bool Walk(TCReader& reader, std::size_t contentSize, TLeaf onLeaf, TBranch onBranch)
{
    std::size_t rest[TREE_MAXIMUM_DEPTH]; // how many bytes the open branch of each depth still has
    unsigned depth = 0;
    rest[0] = contentSize;
    for (;;)
    {
        while (rest[depth] == 0)
        {
            if (depth == 0)
            {
                return true;
            }
            --depth;
        }
        TSTreeNodeHeader header;
        if (!reader.TakeHeader(header, rest[depth]))
        {
            return false;
        }
        rest[depth] -= sizeof(header) + header.size;
        if (depth + 1 == TREE_MAXIMUM_DEPTH)
        {
            return false;
        }
        if (header.type == TREE_NODE_LEAF)
        {
            onLeaf(header, reader.Take(header.size), depth);
            continue;
        }
        onBranch(header, depth);
        rest[++depth] = header.size;
    }
}

} // namespace

bool TCTreeReader::Read(TCTreeBranchList& root, const char* bytes, std::size_t size, std::size_t& taken)
{
    TCReader reader(bytes, size);
    const char* prefix = reader.Take(TREE_FORM_PREFIX);
    if (!prefix || prefix[0] != TREE_FORM_VERSION || prefix[1] != 0 || prefix[2] != 0 || prefix[3] != 0)
    {
        return false;
    }
    TSTreeNodeHeader rootHeader;
    if (!reader.TakeHeader(rootHeader, reader.Left()) || rootHeader.type != TREE_NODE_BRANCH_LIST)
    {
        return false;
    }

    // Checked and counted before the first node is made, so that a malformed tree costs no memory and a sound one is
    // one allocation at most.
    TCReader content = reader;
    std::size_t nodeBytes = 0;
    if (!Walk(
            content, rootHeader.size,
            [&](const TSTreeNodeHeader&, const char*, unsigned) { nodeBytes += PLACE_OF<TCTreeNode>; },
            [&](const TSTreeNodeHeader&, unsigned) { nodeBytes += PLACE_OF<TCTreeBranch>; }))
    {
        return false;
    }
    TCTreeMemory& memory = *root.m_memory;
    memory.Reserve(nodeBytes);

    TCTreeBranch* open[TREE_MAXIMUM_DEPTH] = {&root};
    const auto attach = [&](TCTreeNode* node, unsigned depth)
    {
        TCTreeBranch& parent = *open[depth];
        node->m_flags |= TCTreeNode::FLAG_ATTACHED;
        (parent.m_lastChild ? parent.m_lastChild->m_next : parent.m_content.firstChild) = node;
        parent.m_lastChild = node;
    };
    Walk(
        reader, rootHeader.size,
        [&](const TSTreeNodeHeader& header, const char* data, unsigned depth)
        {
            auto* leaf = ::new (memory.Allocate(sizeof(TCTreeNode))) TCTreeNode(&memory, TREE_NODE_LEAF, header.tag);
            leaf->m_content.data = data;
            leaf->m_size = header.size;
            attach(leaf, depth);
        },
        [&](const TSTreeNodeHeader& header, unsigned depth)
        {
            auto* branch = ::new (memory.Allocate(sizeof(TCTreeBranch)))
                TCTreeBranch(&memory, static_cast<ETreeNodeType>(header.type), header.tag);
            branch->m_size = header.size;
            attach(branch, depth);
            open[depth + 1] = branch;
        });
    root.SetTag(rootHeader.tag);
    root.m_size = rootHeader.size;
    memory.sizesKnown = true;
    taken = size - reader.Left();
    return true;
}

std::uint64_t TCTreeWriter::Measure(TCTreeNode& node, unsigned depth)
{
    if (depth > TREE_MAXIMUM_DEPTH)
    {
        return 0;
    }
    if (node.IsLeaf())
    {
        return sizeof(TSTreeNodeHeader) + std::uint64_t{node.m_size};
    }
    std::uint64_t content = 0;
    for (TCTreeNode* child = node.m_content.firstChild; child; child = child->m_next)
    {
        const std::uint64_t size = Measure(*child, depth + 1);
        content += size;
        if (size == 0 || content > std::numeric_limits<std::uint32_t>::max())
        {
            return 0;
        }
    }
    node.m_size = static_cast<std::uint32_t>(content);
    return sizeof(TSTreeNodeHeader) + content;
}

char* TCTreeWriter::Write(const TCTreeNode& node, char* out)
{
    const TSTreeNodeHeader header{node.m_type, 0, node.m_tag, node.m_size};
    std::memcpy(out, &header, sizeof(header));
    out += sizeof(header);
    if (!node.IsLeaf())
    {
        for (const TCTreeNode* child = node.m_content.firstChild; child; child = child->m_next)
        {
            out = Write(*child, out);
        }
        return out;
    }
    if (node.m_size != 0)
    {
        std::memcpy(out, node.GetData(), node.m_size);
    }
    return out + node.m_size;
}

void TCTreeWriter::Push(const TCTreeNode& node, TCMessageBuffer& buffer)
{
    if (node.IsLeaf() && !(node.m_flags & TCTreeNode::FLAG_LENT))
    {
        Write(node, buffer.Append(sizeof(TSTreeNodeHeader) + node.m_size));
        return;
    }
    const TSTreeNodeHeader header{node.m_type, 0, node.m_tag, node.m_size};
    std::memcpy(buffer.Append(sizeof(header)), &header, sizeof(header));
    if (node.IsLeaf())
    {
        buffer.PushBorrowed(node.m_size, node.m_content.data);
        return;
    }
    for (const TCTreeNode* child = node.m_content.firstChild; child; child = child->m_next)
    {
        Push(*child, buffer);
    }
}
