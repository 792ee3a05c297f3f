#pragma once

#include <tvplatform/Marshalable.h>
#include <tvplatform/Tree.h>

/// What a node creator makes nodes of, as far as the library tells them apart: bytes, or elements that are containers
/// themselves (7 and 8). Others have other numbers.
enum : int
{
    NODE_CREATOR_PLAIN = 0,
    NODE_CREATOR_ONE_DIMENSION = 7,
    NODE_CREATOR_TWO_DIMENSION = 8,
};

/// Turns one element of a container into a node and back; the library derives its own from it. Reentrant.
class TCNodeCreatorProperty
{
public:
    virtual ~TCNodeCreatorProperty();

    /// \return a deep copy, owned by the caller
    virtual TCNodeCreatorProperty* Fork() const = 0;
    /// Whether an element's byte size follows from its node, not from its type.
    virtual bool IsArrayData() const;
    /// \return the number that the creator was made with
    virtual int NodeCreatorType() const;
    /// Empties an element that is a container; nothing for other elements.
    virtual void ClearSubContainers(void* data);
    /// Makes the node of an element, with the tag 0, for a branch; it is not a child yet.
    /// \param owner        the branch, which owns the node
    /// \param data         the element: its address, or that of its TIMarshalable part
    /// \param elementSize  its size in memory, in bytes
    /// \param count        a hint of how many children will follow; -1: unknown
    /// \return the node; null when there is none for this element
    virtual TCTreeNode* MakeNewNode(TCTreeBranch& owner, void* data, unsigned long elementSize, int count,
                                    EMarshalableStorageType storageType) = 0;
    /// Fills an element from a node. Never reads past the node nor writes past the element.
    /// \param byteSize  how many bytes are wanted
    /// \return false when the node does not hold such an element
    virtual bool PutNodeDataTo(void* data, unsigned long elementSize, unsigned long byteSize, TCTreeNode& node) = 0;

protected:
    explicit TCNodeCreatorProperty(int type) : m_type(type) {}

private:
    int m_type;
};

/// Elements that are plain bytes in memory: a leaf of them. A smaller node fills what it has, the rest is zero.
class DefaultNodeCreator final : public TCNodeCreatorProperty
{
public:
    DefaultNodeCreator() : TCNodeCreatorProperty(NODE_CREATOR_PLAIN) {}
    DefaultNodeCreator* Fork() const override { return new DefaultNodeCreator; }
    TCTreeNode* MakeNewNode(TCTreeBranch& owner, void* data, unsigned long elementSize, int count,
                            EMarshalableStorageType storageType) override;
    bool PutNodeDataTo(void* data, unsigned long elementSize, unsigned long byteSize, TCTreeNode& node) override;
};

/// Elements that marshal themselves: a branch each.
class TCMarshalableNodeCreator final : public TCNodeCreatorProperty
{
public:
    TCMarshalableNodeCreator() : TCNodeCreatorProperty(1) {}
    TCMarshalableNodeCreator* Fork() const override { return new TCMarshalableNodeCreator; }
    TCTreeNode* MakeNewNode(TCTreeBranch& owner, void* data, unsigned long elementSize, int count,
                            EMarshalableStorageType storageType) override;
    bool PutNodeDataTo(void* data, unsigned long elementSize, unsigned long byteSize, TCTreeNode& node) override;
};

/// Elements of type std::string: a leaf of their bytes.
class STDStringNodeCreator final : public TCNodeCreatorProperty
{
public:
    STDStringNodeCreator() : TCNodeCreatorProperty(2) {}
    STDStringNodeCreator* Fork() const override { return new STDStringNodeCreator; }
    TCTreeNode* MakeNewNode(TCTreeBranch& owner, void* data, unsigned long elementSize, int count,
                            EMarshalableStorageType storageType) override;
    bool PutNodeDataTo(void* data, unsigned long elementSize, unsigned long byteSize, TCTreeNode& node) override;
};

/// Elements of type std::basic_string<unsigned short>: a leaf of their code units.
class STDWStringNodeCreator final : public TCNodeCreatorProperty
{
public:
    STDWStringNodeCreator() : TCNodeCreatorProperty(3) {}
    STDWStringNodeCreator* Fork() const override { return new STDWStringNodeCreator; }
    TCTreeNode* MakeNewNode(TCTreeBranch& owner, void* data, unsigned long elementSize, int count,
                            EMarshalableStorageType storageType) override;
    bool PutNodeDataTo(void* data, unsigned long elementSize, unsigned long byteSize, TCTreeNode& node) override;
};
