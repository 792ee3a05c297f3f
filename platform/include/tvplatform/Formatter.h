#pragma once

#include <tvplatform/Export.h>
#include <tvplatform/Tree.h>

class TIMarshalable;

/// Where an object pushes its fields, each under a tag: one list of pushes serves writing and reading.
/// Bound to its thread.
class TVPLATFORM_EXPORT TCTreeFormatter
{
public:
    virtual ~TCTreeFormatter();

    /// A plain value.
    /// \param[in]     tag       of its node
    /// \param[in]     typeCode  its width in bytes: 1, 2, 4 or 8
    /// \param[in,out] address   where it lies
    /// \return false, changing nothing, for another width, a null address, or when reading a node of another size
    virtual bool PushValue(unsigned tag, int typeCode, void* address) = 0;
    /// Bytes whose count both sides know. Reading takes the smaller of that count and what the node holds.
    /// When writing a large one in a tree whose data are said to outlive it, the tree refers to the bytes: they must
    /// not be a local variable of the object's ClassToTree.
    /// \param[in]     tag                of their node
    /// \param[in]     byteCount          how many there are
    /// \param[in,out] data               where they lie
    /// \param[in]     lengthInformation  the count (32 bits) stands before the bytes in the leaf
    /// \return false also when the two counts differ in reading
    virtual bool PushLengthArray(unsigned tag, unsigned long byteCount, void* data, bool lengthInformation = false) = 0;
    /// An object, as a branch of its own. \return false when it could not be written or read
    virtual bool PushMarshalableClass(unsigned tag, TIMarshalable* object) = 0;

protected:
    TCTreeBranch& t_branch; ///< what is written to or read from
    bool t_isSound = true;  ///< no push has failed

    explicit TCTreeFormatter(TCTreeBranch& branch) : t_branch(branch) {} ///< the branch outlives it
    TCTreeFormatter(const TCTreeFormatter&) = delete;
    TCTreeFormatter& operator=(const TCTreeFormatter&) = delete;
};

/// Writes what is pushed as children of a branch, at once.
class TVPLATFORM_EXPORT TCClassToTreeFormatter final : public TCTreeFormatter
{
public:
    explicit TCClassToTreeFormatter(TCTreeBranch& branch); ///< children are added to the branch, which outlives it
    ~TCClassToTreeFormatter() override;

    bool PushValue(unsigned tag, int typeCode, void* address) override;
    bool PushLengthArray(unsigned tag, unsigned long byteCount, void* data, bool lengthInformation = false) override;
    bool PushMarshalableClass(unsigned tag, TIMarshalable* object) override;

    /// \return true when every push so far was written
    bool Extract() const { return t_isSound; }
};

/// Fills what is pushed from the children of a branch, at once. A field without a node keeps its value; that is no
/// failure.
class TVPLATFORM_EXPORT TCTreeToClassFormatter final : public TCTreeFormatter
{
public:
    explicit TCTreeToClassFormatter(TCTreeBranch& branch); ///< the branch outlives it
    ~TCTreeToClassFormatter() override;

    bool PushValue(unsigned tag, int typeCode, void* address) override;
    bool PushLengthArray(unsigned tag, unsigned long byteCount, void* data, bool lengthInformation = false) override;
    bool PushMarshalableClass(unsigned tag, TIMarshalable* object) override;

    /// \return the first child with a tag; null when there is none
    TCTreeNode* FindNode(unsigned tag) { return t_branch.FindNode(tag); }
    /// \return true when no push so far met a node that does not fit it
    bool FillOut() const { return t_isSound; }
};
