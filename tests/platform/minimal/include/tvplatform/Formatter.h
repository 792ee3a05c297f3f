#pragma once

#include <tvplatform/Tree.h>

class TIMarshalable;

/// Where an object pushes its fields, each under a tag: one list of pushes serves writing and reading.
/// Bound to its thread. Refers to the branch, which outlives it.
class TCTreeFormatter
{
public:
    /// A plain value. \param width  1, 2, 4 or 8 bytes \return false when it was not written, or met another size
    bool PushValue(unsigned tag, int width, void* address);
    /// That many bytes, as one leaf. \return false when they were not written, or the leaf holds another count
    bool PushLengthArray(unsigned tag, unsigned long byteCount, void* data);
    /// An object, as a branch. \return false when it could not be written or read
    bool PushMarshalableClass(unsigned tag, TIMarshalable* object);

protected:
    TCTreeFormatter(TCTreeBranch& branch, bool writes) : m_branch(branch), m_writes(writes) {}

    TCTreeBranch& m_branch;
    bool m_writes;
    bool m_isSound = true;
};

/// Writes what is pushed as children of a branch, at once.
class TCClassToTreeFormatter : public TCTreeFormatter
{
public:
    explicit TCClassToTreeFormatter(TCTreeBranch& branch);
    /// \return whether all that was pushed is written
    bool Extract() const;
};

/// Fills what is pushed from the children of a branch, at once. A field without a node keeps its value; that is no
/// failure.
class TCTreeToClassFormatter : public TCTreeFormatter
{
public:
    explicit TCTreeToClassFormatter(TCTreeBranch& branch);
    /// \return the first child with a tag; null when there is none
    TCTreeNode* FindNode(unsigned tag);
    /// \return false when a push met a node that does not fit it
    bool FillOut() const;
};
