#pragma once

#include <tvplatform/Export.h>

class TCMessageBuffer;
class TCTreeBranch;

/// How an object lies in an argument tree.
enum EMarshalableStorageType : int
{
    MARSHALABLE_STORAGE_LEAF = 0,   ///< plain bytes
    MARSHALABLE_STORAGE_BRANCH = 1, ///< a branch of its own
};

/// An object that writes itself into an argument tree and reads itself back.
class TVPLATFORM_EXPORT TIMarshalable
{
public:
    virtual ~TIMarshalable();

    /// \param[out] size  the bytes of payload that the object marshals to; untouched when false is returned
    virtual bool GetSizeOfMarshalled(unsigned long& size) = 0;
    /// Adds the object's fields to a branch. \return false when the object cannot be written
    virtual bool ClassToTree(TCTreeBranch& branch) = 0;
    /// Takes the object's fields from a branch; a field that the branch lacks keeps its value.
    /// \return false when the branch does not hold this kind of object
    virtual bool TreeToClass(TCTreeBranch& branch) = 0;
    /// How it lies in the tree of what contains it.
    virtual EMarshalableStorageType GetMarshalableStorageType() = 0;
};

/// What every marshalable type derives from: a type says how it meets a tree, storing and loading follow from that.
class TVPLATFORM_EXPORT TCMarshalable : public TIMarshalable
{
public:
    ~TCMarshalable() override;
    bool GetSizeOfMarshalled(unsigned long& size) override;
    bool ClassToTree(TCTreeBranch& branch) override = 0;
    bool TreeToClass(TCTreeBranch& branch) override = 0;
    EMarshalableStorageType GetMarshalableStorageType() override;
    /// Appends the object, as a tree of its own in byte form, to a buffer.
    virtual bool Store(TCMessageBuffer& buffer);
    /// Reads back what Store wrote. Never reads past the buffer; \return false when the bytes are not a tree
    virtual bool Load(TCMessageBuffer& buffer);
};
