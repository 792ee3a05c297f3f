#include "TreeByteForm.h"

#include <tvplatform/MessageBuffer.h>
#include <tvplatform/Tree.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace
{

void CopyOrZero(void* to, const void* from, std::size_t size)
{
    if (size == 0)
    {
        return;
    }
    if (from)
    {
        std::memcpy(to, from, size);
    }
    else
    {
        std::memset(to, 0, size);
    }
}

} // namespace

// Memory of a tree

TCTreeMemory::~TCTreeMemory()
{
    while (m_blocks)
    {
        ::operator delete(std::exchange(m_blocks, m_blocks->previous));
    }
}

void TCTreeMemory::AddBlock(std::size_t bytes)
{
    auto* block = static_cast<TSBlock*>(::operator new(sizeof(TSBlock) + bytes));
    block->previous = m_blocks;
    m_blocks = block;
    m_free = reinterpret_cast<char*>(block + 1);
    m_left = bytes;
}

void TCTreeMemory::Grow(std::size_t bytes)
{
    AddBlock(std::max(bytes, m_nextBlock));
    m_nextBlock = std::min<std::size_t>(m_nextBlock * 2, std::size_t{1} << 20);
}

void TCTreeMemory::Reserve(std::size_t bytes)
{
    if (bytes > m_left)
    {
        AddBlock(bytes);
    }
}

// Nodes

const void* TCTreeNode::GetData() const
{
    if (!IsLeaf())
    {
        return nullptr;
    }
    return (m_flags & FLAG_INLINE) ? m_content.bytes : m_content.data;
}

TCTreeBranch* TCTreeNode::AsBranch() { return IsLeaf() ? nullptr : static_cast<TCTreeBranch*>(this); }

const TCTreeBranch* TCTreeNode::AsBranch() const { return IsLeaf() ? nullptr : static_cast<const TCTreeBranch*>(this); }

TCTreeLeafVar::TCTreeLeafVar(unsigned tag, unsigned long byteSize, const void* data)
    : TCTreeNode(nullptr, TREE_NODE_LEAF, tag)
{
    if (byteSize > std::numeric_limits<std::uint32_t>::max())
    {
        return;
    }
    m_bytes.reset(new char[byteSize]);
    CopyOrZero(m_bytes.get(), data, byteSize);
    m_content.data = m_bytes.get();
    m_size = static_cast<std::uint32_t>(byteSize);
}

// Branches

TCTreeNode* TCTreeBranch::NewLeafToFill(unsigned tag, std::size_t size, char*& bytes)
{
    if (size > std::numeric_limits<std::uint32_t>::max())
    {
        return nullptr;
    }
    auto* leaf = ::new (m_memory->Allocate(sizeof(TCTreeNode))) TCTreeNode(m_memory, TREE_NODE_LEAF, tag);
    leaf->m_size = static_cast<std::uint32_t>(size);
    if (size <= sizeof(leaf->m_content.bytes))
    {
        leaf->m_flags |= FLAG_INLINE;
        bytes = reinterpret_cast<char*>(leaf->m_content.bytes);
    }
    else
    {
        bytes = static_cast<char*>(m_memory->Allocate(size));
        leaf->m_content.data = bytes;
    }
    return leaf;
}

TCTreeNode* TCTreeBranch::NewLeaf(unsigned tag, std::size_t size, const void* data)
{
    char* bytes = nullptr;
    TCTreeNode* leaf = NewLeafToFill(tag, size, bytes);
    if (leaf)
    {
        CopyOrZero(bytes, data, size);
    }
    return leaf;
}

TCTreeNode* TCTreeBranch::NewReferringLeaf(unsigned tag, std::size_t size, const void* data)
{
    if (size < TREE_LARGE_LEAF || size > std::numeric_limits<std::uint32_t>::max() || !data ||
        m_memory->data == TREE_DATA_COPIED)
    {
        return NewLeaf(tag, size, data);
    }
    auto* leaf = ::new (m_memory->Allocate(sizeof(TCTreeNode))) TCTreeNode(m_memory, TREE_NODE_LEAF, tag);
    leaf->m_size = static_cast<std::uint32_t>(size);
    leaf->m_content.data = data;
    if (m_memory->data == TREE_DATA_OUTLIVES_BUFFER)
    {
        leaf->m_flags |= FLAG_LENT;
        m_memory->lendsToBuffers = true;
    }
    return leaf;
}

TCTreeBranch* TCTreeBranch::NewBranch(unsigned tag, ETreeNodeType type)
{
    return ::new (m_memory->Allocate(sizeof(TCTreeBranch)))
        TCTreeBranch(m_memory, type == TREE_NODE_BRANCH_MAP ? type : TREE_NODE_BRANCH_LIST, tag);
}

TCTreeNode* TCTreeBranch::Copy(const TCTreeNode& node)
{
    const TCTreeBranch* branch = node.AsBranch();
    if (!branch)
    {
        return NewLeaf(node.m_tag, node.m_size, node.GetData());
    }
    TCTreeBranch* copy = NewBranch(node.m_tag, node.m_type);
    for (const TCTreeNode* child = branch->GetFirstNode(); child; child = child->m_next)
    {
        copy->AddNode(copy->Copy(*child));
    }
    return copy;
}

bool TCTreeBranch::AddNode(TCTreeNode* node)
{
    if (!node || node == this)
    {
        return false;
    }
    if (node->m_memory != m_memory || (node->m_flags & (FLAG_ATTACHED | FLAG_ROOT)))
    {
        node = Copy(*node);
    }
    node->m_flags |= FLAG_ATTACHED;
    (m_lastChild ? m_lastChild->m_next : m_content.firstChild) = node;
    m_lastChild = node;
    m_memory->sizesKnown = false;
    return true;
}

std::size_t TCTreeBranch::GetNodeCount() const
{
    std::size_t count = 0;
    for (const TCTreeNode* child = GetFirstNode(); child; child = child->m_next)
    {
        ++count;
    }
    return count;
}

TCTreeNode* TCTreeBranch::FindNode(unsigned tag)
{
    TCTreeNode* child = GetFirstNode();
    while (child && child->m_tag != tag)
    {
        child = child->m_next;
    }
    return child;
}

void TCTreeBranch::MarkAsMap()
{
    if (!(m_flags & FLAG_ROOT))
    {
        m_type = TREE_NODE_BRANCH_MAP;
    }
}

// The root

TCTreeBranchList::TCTreeBranchList(unsigned tag) : TCTreeBranch(&m_ownMemory, TREE_NODE_BRANCH_LIST, tag)
{
    m_flags = FLAG_ROOT;
}

TCTreeBranchList::TCTreeBranchList(const TCMessageBuffer* buffer) : TCTreeBranchList(0U)
{
    std::size_t taken = 0;
    m_isValid = buffer && ReadFront(*buffer, taken);
    if (m_isValid && taken != buffer->GetUnreadSize())
    {
        m_content.firstChild = m_lastChild = nullptr;
        m_ownMemory.sizesKnown = false;
        m_isValid = false;
    }
}

TCTreeBranchList::~TCTreeBranchList() = default;

bool TCTreeBranchList::ReadFront(const TCMessageBuffer& buffer, std::size_t& taken)
{
    m_content.firstChild = m_lastChild = nullptr;
    m_ownMemory.sizesKnown = false;
    const char* bytes = buffer.GetAsCStr(0);
    m_isValid = bytes && TCTreeReader::Read(*this, bytes, buffer.GetUnreadSize(), taken);
    return m_isValid;
}

unsigned long TCTreeBranchList::GetNodeSize()
{
    if (!m_ownMemory.sizesKnown)
    {
        if (TCTreeWriter::Measure(*this, 1) == 0)
        {
            return 0;
        }
        m_ownMemory.sizesKnown = true;
    }
    return TREE_FORM_PREFIX + sizeof(TSTreeNodeHeader) + m_size;
}

bool TCTreeBranchList::StoreInBuffer(TCMessageBuffer& buffer)
{
    const unsigned long size = GetNodeSize();
    if (size == 0)
    {
        return false;
    }
    constexpr char PREFIX[TREE_FORM_PREFIX] = {TREE_FORM_VERSION, 0, 0, 0};
    if (m_ownMemory.lendsToBuffers)
    {
        buffer.PushConcatenated(sizeof(PREFIX), PREFIX);
        TCTreeWriter::Push(*this, buffer);
        return true;
    }
    char* out = buffer.Append(size);
    std::memcpy(out, PREFIX, sizeof(PREFIX));
    TCTreeWriter::Write(*this, out + sizeof(PREFIX));
    return true;
}
