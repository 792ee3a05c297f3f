#pragma once

#include <cstddef>
#include <memory>
#include <vector>

class TCMessageBuffer;
class TCTreeBranch;

/// How long the bytes live that are given to a tree: longer than each buffer that the tree is stored in, so that tree
/// and buffer may refer to them instead of copying.
enum ETreeData : int
{
    TREE_DATA_OUTLIVES_BUFFER = 2,
};

/// One node of an argument tree: a leaf of bytes, or a branch of nodes. Bound to its thread. A node is made by a branch
/// and lives as long as that.
class TCTreeNode
{
public:
    virtual ~TCTreeNode() = default;

    /// \return the bytes of a leaf; 0 for a branch
    unsigned long GetByteSize() const;
    /// \return how many whole elements of that size a leaf holds; 0 for a branch or a size of 0
    unsigned long GetElementCount(unsigned long elementSize) const;
    /// \return a leaf's bytes, without any alignment; null for a branch. What holds a PIN is overwritten by the library,
    ///         through this pointer, when the tree was not told of a lifetime
    const void* GetData() const;
    /// \return this node as a branch; null when it is a leaf
    TCTreeBranch* AsBranch();
    const TCTreeBranch* AsBranch() const;
    /// \return the next child of the same branch; null behind the last
    TCTreeNode* GetNextNode();
    const TCTreeNode* GetNextNode() const;

protected:
    friend class TCTreeBranch;
    friend struct TCTreeBytes;

    unsigned m_tag = 0;
    std::vector<char> m_bytes;
    TCTreeNode* m_next = nullptr;
};

/// A node that holds children, in the order in which they were added.
class TCTreeBranch : public TCTreeNode
{
public:
    /// Makes a leaf with the bytes, referred to where the tree was told that they live long enough, else copied; it is
    /// not a child yet. \return null when the byte form cannot hold that many
    TCTreeNode* NewReferringLeaf(unsigned tag, std::size_t size, const void* data);
    /// Makes a leaf that the caller fills.
    /// \param[out] bytes  where to write them; untouched when null is returned
    TCTreeNode* NewLeafToFill(unsigned tag, std::size_t size, char*& bytes);
    /// Makes an empty branch; it is not a child yet.
    TCTreeBranch* NewBranch(unsigned tag);
    /// Adds a node that this branch made at the end. \return false, adding nothing, for null
    bool AddNode(TCTreeNode* node);

    TCTreeNode* GetFirstNode();
    const TCTreeNode* GetFirstNode() const;
    /// \return the first child with a tag; null when there is none
    TCTreeNode* FindNode(unsigned tag);

protected:
    friend class TCClassToTreeFormatter;
    friend struct TCTreeBytes;

    bool m_isRoot = false;
    bool m_isMap = false;

private:
    std::vector<std::unique_ptr<TCTreeNode>> m_made;
    TCTreeNode* m_first = nullptr;
    TCTreeNode* m_last = nullptr;
};

/// The root of a tree: the arguments of a call, each under its position as tag.
class TCTreeBranchList : public TCTreeBranch
{
public:
    /// An empty tree. \param tag  the identifier of the call's method; its low 16 bits count
    explicit TCTreeBranchList(unsigned tag);
    /// Reads the tree that a buffer holds, whoever has filled it: never past its end, and never into more memory than a
    /// small multiple of its bytes. The buffer outlives the tree and stays as it is.
    explicit TCTreeBranchList(const TCMessageBuffer* buffer);
    ~TCTreeBranchList() override;

    /// \return false when the bytes it was made from are not exactly one tree: it is then empty
    bool IsValid() const;
    /// Of the bytes that NewReferringLeaf is given from now on. Without it they are gone behind the call.
    void SetDataLifetime(ETreeData lifetime);
    /// \return the bytes that the tree takes in a buffer
    unsigned long GetNodeSize();
    /// Appends the tree in byte form. \return false, appending nothing, when the byte form cannot hold it
    bool StoreInBuffer(TCMessageBuffer& buffer);

private:
    bool m_isValid = true;
};
