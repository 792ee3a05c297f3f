#pragma once

#include <tvplatform/Export.h>

#include <cstddef>
#include <cstdint>
#include <memory>

class TCMessageBuffer;
class TCTreeBranch;

/// What a node is. The values are those of the byte form.
enum ETreeNodeType : std::uint8_t
{
    TREE_NODE_LEAF = 1,        ///< bytes
    TREE_NODE_BRANCH_LIST = 2, ///< children told apart by their order
    TREE_NODE_BRANCH_MAP = 3,  ///< children told apart by their tags: the fields of an object
};

/// How long the caller's bytes that are given to a tree live.
enum ETreeData : std::uint8_t
{
    TREE_DATA_COPIED,          ///< not longer than the call that adds them: every leaf is a copy
    TREE_DATA_OUTLIVES_TREE,   ///< longer than the tree: large leaves refer to them
    TREE_DATA_OUTLIVES_BUFFER, ///< longer than each buffer that the tree is stored in, too: the buffer refers to them
};

/// Leaves from this many bytes on are worth referring to instead of copying.
inline constexpr std::size_t TREE_LARGE_LEAF = 4096;
/// The greatest depth of a tree; the root has depth 1.
inline constexpr unsigned TREE_MAXIMUM_DEPTH = 16;

/// Where the nodes and the copied leaves of one tree live, all released together. The first ones need no allocation.
class TVPLATFORM_EXPORT TCTreeMemory
{
public:
    TCTreeMemory() = default;
    ~TCTreeMemory();
    TCTreeMemory(const TCTreeMemory&) = delete;
    TCTreeMemory& operator=(const TCTreeMemory&) = delete;

    /// \return room for that many bytes, aligned for any node. Throws std::bad_alloc
    void* Allocate(std::size_t bytes)
    {
        bytes = (bytes + 7) & ~std::size_t{7};
        if (bytes > m_left)
        {
            Grow(bytes);
        }
        m_left -= bytes;
        void* result = m_free;
        m_free += bytes;
        return result;
    }

    /// Lets the next allocations, up to that many bytes in all, come from one block of exactly this size.
    void Reserve(std::size_t bytes);

    ETreeData data = TREE_DATA_COPIED; ///< how long bytes given from now on live
    bool sizesKnown = false;           ///< the branches' sizes are up to date
    bool lendsToBuffers = false;       ///< some leaf may be referred to by a buffer

private:
    struct TSBlock
    {
        TSBlock* previous;
    };
    static constexpr std::size_t INLINE_BYTES = 2560;

    void Grow(std::size_t bytes);
    void AddBlock(std::size_t bytes);

    TSBlock* m_blocks = nullptr;
    std::size_t m_nextBlock = 4096;
    alignas(8) char m_inline[INLINE_BYTES];
    char* m_free = m_inline;
    std::size_t m_left = INLINE_BYTES;
};

/// One node of an argument tree: a leaf, or a branch. Bound to its thread.
class TVPLATFORM_EXPORT TCTreeNode
{
public:
    TCTreeNode(const TCTreeNode&) = delete;
    TCTreeNode& operator=(const TCTreeNode&) = delete;

    ETreeNodeType GetNodeType() const { return m_type; }     ///< what it is
    bool IsLeaf() const { return m_type == TREE_NODE_LEAF; } ///< it holds bytes, no children
    unsigned GetTag() const { return m_tag; }                ///< tells it from the other children; 16 bits
    /// Another tag; its low 16 bits count.
    void SetTag(unsigned tag) { m_tag = static_cast<std::uint16_t>(tag); }

    /// \return the bytes of a leaf; 0 for a branch
    unsigned long GetByteSize() const { return IsLeaf() ? m_size : 0; }
    /// \return how many whole elements of that size a leaf holds; 0 for a branch or a size of 0
    unsigned long GetElementCount(unsigned long elementSize) const
    {
        return elementSize == 0 ? 0 : GetByteSize() / elementSize;
    }
    /// \return a leaf's bytes, without any alignment; null for a branch. Valid as long as the tree and, for a tree
    ///         that was read from a buffer, as the unchanged buffer
    const void* GetData() const;

    /// \return this node as a branch; null when it is a leaf
    TCTreeBranch* AsBranch();
    const TCTreeBranch* AsBranch() const; ///< as above
    /// \return the next child of the same branch; null behind the last
    TCTreeNode* GetNextNode() { return m_next; }
    const TCTreeNode* GetNextNode() const { return m_next; } ///< as above

protected:
    friend class TCTreeBranch;
    friend class TCTreeBranchList;
    friend class TCTreeReader;
    friend class TCTreeWriter;

    enum : std::uint8_t
    {
        FLAG_INLINE = 1,   ///< the bytes of the leaf lie in m_content itself
        FLAG_LENT = 2,     ///< a buffer may refer to the bytes
        FLAG_ATTACHED = 4, ///< is a child already
        FLAG_ROOT = 8,     ///< is a root: stays a list, and is copied when added to another tree
    };

    /// A node that is no child yet. Its memory outlives it; null: it stands alone.
    TCTreeNode(TCTreeMemory* memory, ETreeNodeType type, unsigned tag)
        : m_memory(memory), m_tag(static_cast<std::uint16_t>(tag)), m_type(type)
    {
    }
    ~TCTreeNode() = default;

    TCTreeMemory* m_memory;       ///< of its tree
    TCTreeNode* m_next = nullptr; ///< null: the last child, or none
    /// What a node holds, as m_type and m_flags say.
    union TContent
    {
        const void* data = nullptr; ///< a leaf: its bytes
        TCTreeNode* firstChild;     ///< a branch; null: empty
        unsigned char bytes[8];     ///< a leaf with FLAG_INLINE: the bytes themselves
    } m_content;                    ///< the bytes or the children
    std::uint32_t m_size = 0;       ///< a leaf: how many bytes; a branch: those of its children, once known
    std::uint16_t m_tag;            ///< what GetTag returns
    ETreeNodeType m_type;           ///< what GetNodeType returns
    std::uint8_t m_flags = 0;       ///< of FLAG_...
};

/// A node that holds children, in the order in which they were added.
class TVPLATFORM_EXPORT TCTreeBranch : public TCTreeNode
{
public:
    /// Makes a leaf with a copy of the bytes, in this tree's memory; it is not a child yet.
    /// \param[in] tag   of the leaf
    /// \param[in] size  how many bytes there are
    /// \param[in] data  may be null when size is 0; null with another size gives zero bytes
    /// \return the leaf; null when it would not fit into 32 bits of size
    TCTreeNode* NewLeaf(unsigned tag, std::size_t size, const void* data);
    /// As NewLeaf, but a large leaf refers to the bytes instead of copying them when the tree was told that they live
    /// long enough (TCTreeBranchList::SetDataLifetime).
    TCTreeNode* NewReferringLeaf(unsigned tag, std::size_t size, const void* data);
    /// As NewLeaf, for bytes that do not lie in one piece: the caller fills them in.
    /// \param[in]  tag    of the leaf
    /// \param[in]  size   how many bytes there will be
    /// \param[out] bytes  where to write them; untouched when null is returned
    TCTreeNode* NewLeafToFill(unsigned tag, std::size_t size, char*& bytes);
    /// Makes an empty branch in this tree's memory; it is not a child yet.
    TCTreeBranch* NewBranch(unsigned tag, ETreeNodeType type = TREE_NODE_BRANCH_LIST);

    /// Adds a child at the end: the node itself when it was made by this tree and is no child yet, else a copy of it.
    /// \param[in] node  must not contain this branch
    /// \return false, adding nothing, for null
    bool AddNode(TCTreeNode* node);

    TCTreeNode* GetFirstNode() { return m_content.firstChild; }             ///< null: there are no children
    const TCTreeNode* GetFirstNode() const { return m_content.firstChild; } ///< as above
    /// \return the number of children, by counting them
    std::size_t GetNodeCount() const;
    /// \return the first child with a tag; null when there is none
    TCTreeNode* FindNode(unsigned tag);

    /// Says that the children are the fields of an object; a root stays a list.
    void MarkAsMap();

protected:
    friend class TCTreeReader;
    friend class TCTreeWriter;

    /// An empty branch that is no child yet.
    TCTreeBranch(TCTreeMemory* memory, ETreeNodeType type, unsigned tag) : TCTreeNode(memory, type, tag)
    {
        m_content.firstChild = nullptr;
    }
    ~TCTreeBranch() = default;

    TCTreeNode* m_lastChild = nullptr; ///< where the next child is added

private:
    TCTreeNode* Copy(const TCTreeNode& node);
};

/// The root of a tree, a list of children: the arguments of a call, each under its position as tag.
/// A small tree needs no allocation.
class TVPLATFORM_EXPORT TCTreeBranchList : public TCTreeBranch
{
public:
    /// An empty tree. \param[in] tag  the root's tag, a method identifier for instance; its low 16 bits count
    explicit TCTreeBranchList(unsigned tag);
    explicit TCTreeBranchList(int tag) : TCTreeBranchList(static_cast<unsigned>(tag)) {} ///< as above
    /// Reads the tree that the unread bytes of a buffer hold. The leaves refer to the buffer's bytes: it has to outlive
    /// the tree and stay as it is. Nothing is taken from the buffer. Never reads past its end; allocates at most five
    /// times as many bytes as it reads, and nothing for a small tree.
    /// \param[in] buffer  null counts as empty
    explicit TCTreeBranchList(const TCMessageBuffer* buffer);
    ~TCTreeBranchList();

    /// \return false when the bytes it was made from are not exactly one tree: it is then empty
    bool IsValid() const { return m_isValid; }

    /// Says how long the bytes given to NewReferringLeaf from now on live. The beginning is TREE_DATA_COPIED.
    void SetDataLifetime(ETreeData lifetime) { m_memory->data = lifetime; }

    /// \return the bytes that the tree takes in a buffer
    unsigned long GetNodeSize();
    /// Appends the tree in byte form.
    /// \return false, appending nothing, when it is too deep or larger than 32 bits of size can say
    bool StoreInBuffer(TCMessageBuffer& buffer);

    /// As the reading constructor, but more bytes may follow the tree.
    /// \param[in]  buffer  what to read
    /// \param[out] taken   the bytes of the tree; untouched when false is returned
    /// \return IsValid() afterwards
    bool ReadFront(const TCMessageBuffer& buffer, std::size_t& taken);

private:
    friend class TCTreeReader;

    TCTreeMemory m_ownMemory;
    bool m_isValid = true;
};

/// A leaf that stands alone, with a copy of its bytes.
class TVPLATFORM_EXPORT TCTreeLeafVar : public TCTreeNode
{
public:
    /// \param[in] tag       the leaf's tag
    /// \param[in] byteSize  below 4 GiB, or the leaf is empty
    /// \param[in] data      may be null when byteSize is 0; null with another size gives zero bytes
    TCTreeLeafVar(unsigned tag, unsigned long byteSize, const void* data);

private:
    std::unique_ptr<char[]> m_bytes;
};
