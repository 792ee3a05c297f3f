#pragma once

class TCTreeBranch;

/// How an element that is asked for lies in a tree. The library asks for branches.
enum EMarshalableStorageType : int
{
    MARSHALABLE_STORAGE_BRANCH = 1,
};

/// An object that writes itself into an argument tree and reads itself back.
class TIMarshalable
{
public:
    virtual ~TIMarshalable() = default;
    /// \param[out] size  the bytes of payload that the object marshals to; untouched when false is returned
    virtual bool GetSizeOfMarshalled(unsigned long& size) = 0;
    /// Adds the object's fields to a branch. \return false when the object cannot be written
    virtual bool ClassToTree(TCTreeBranch& branch) = 0;
    /// Takes the object's fields from a branch; a field that the branch lacks keeps its value.
    /// \return false when the branch does not hold this kind of object
    virtual bool TreeToClass(TCTreeBranch& branch) = 0;
};

/// What the value types of include/ciapi, and the containers on their way, derive from.
class TCMarshalable : public TIMarshalable
{
public:
    ~TCMarshalable() override;
    /// By what ClassToTree writes.
    bool GetSizeOfMarshalled(unsigned long& size) override;
};
