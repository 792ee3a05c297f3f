#pragma once

#include <tvplatform/Export.h>
#include <tvplatform/Marshalable.h>
#include <tvplatform/Tree.h>

/// What a node creator makes nodes of. The values 7 and 8 stand for elements that are containers themselves.
enum ENodeCreatorType : int
{
    NODE_CREATOR_PLAIN = 0,         ///< bytes as they lie in memory
    NODE_CREATOR_MARSHALABLE = 1,   ///< what marshals itself
    NODE_CREATOR_STRING = 2,        ///< std::string
    NODE_CREATOR_WIDE_STRING = 3,   ///< strings of 16-bit code units
    NODE_CREATOR_ONE_DIMENSION = 7, ///< containers
    NODE_CREATOR_TWO_DIMENSION = 8, ///< containers of pairs
};

/// Turns one element of a container into a node and back. Reentrant.
class TVPLATFORM_EXPORT TCNodeCreatorProperty
{
public:
    virtual ~TCNodeCreatorProperty();

    /// \return a deep copy, owned by the caller
    virtual TCNodeCreatorProperty* Fork() const = 0;
    /// An element's byte size follows from its node, not from its type.
    virtual bool IsArrayData() const;
    /// The bytes of an element end with a zero that does not count.
    virtual bool IsNullizedArray() const;
    /// \return one of ENodeCreatorType
    virtual int NodeCreatorType() const;
    /// Empties an element that is a container; nothing for other elements.
    virtual void ClearSubContainers(void* data);
    /// Makes the node of an element in the memory of the tree that it is for; it is not a child yet.
    /// \param[in] owner        the branch that the node is for
    /// \param[in] data         the element; null gives null unless said otherwise
    /// \param[in] elementSize  its size in memory, in bytes
    /// \param[in] count        a hint of how many children will follow; -1: unknown
    /// \param[in] storageType  what an element that marshals itself becomes
    /// \return the node; null when there is none for this element
    virtual TCTreeNode* MakeNewNode(TCTreeBranch& owner, void* data, unsigned long elementSize, int count,
                                    EMarshalableStorageType storageType) = 0;
    /// Fills an element from a node. Never reads past the node nor writes past the element.
    /// \param[out] data         the element
    /// \param[in]  elementSize  its size in memory, in bytes
    /// \param[in]  byteSize     how many bytes are wanted
    /// \param[in]  node         what to read
    /// \return false when the node does not hold such an element
    virtual bool PutNodeDataTo(void* data, unsigned long elementSize, unsigned long byteSize, TCTreeNode& node) = 0;

protected:
    /// \param[in] type             what NodeCreatorType returns
    /// \param[in] isArrayData      what IsArrayData returns
    /// \param[in] isNullizedArray  what IsNullizedArray returns
    explicit TCNodeCreatorProperty(int type, bool isArrayData = false, bool isNullizedArray = false)
        : m_type(type), m_isArrayData(isArrayData), m_isNullizedArray(isNullizedArray)
    {
    }
    TCNodeCreatorProperty(const TCNodeCreatorProperty&) = default;            ///< for Fork
    TCNodeCreatorProperty& operator=(const TCNodeCreatorProperty&) = default; ///< for Fork

private:
    int m_type;
    bool m_isArrayData;
    bool m_isNullizedArray;
};

/// Elements that are plain bytes in memory: a leaf of them. A node of another size fills what it has, the rest is zero.
class TVPLATFORM_EXPORT DefaultNodeCreator final : public TCNodeCreatorProperty
{
public:
    DefaultNodeCreator() : TCNodeCreatorProperty(NODE_CREATOR_PLAIN) {}
    ~DefaultNodeCreator() override;
    DefaultNodeCreator* Fork() const override;
    TCTreeNode* MakeNewNode(TCTreeBranch& owner, void* data, unsigned long elementSize, int count,
                            EMarshalableStorageType storageType) override;
    bool PutNodeDataTo(void* data, unsigned long elementSize, unsigned long byteSize, TCTreeNode& node) override;
};

/// Elements that marshal themselves: a branch each. The element's address is that of its TIMarshalable part.
class TVPLATFORM_EXPORT TCMarshalableNodeCreator final : public TCNodeCreatorProperty
{
public:
    TCMarshalableNodeCreator() : TCNodeCreatorProperty(NODE_CREATOR_MARSHALABLE) {}
    ~TCMarshalableNodeCreator() override;
    TCMarshalableNodeCreator* Fork() const override;
    TCTreeNode* MakeNewNode(TCTreeBranch& owner, void* data, unsigned long elementSize, int count,
                            EMarshalableStorageType storageType) override;
    bool PutNodeDataTo(void* data, unsigned long elementSize, unsigned long byteSize, TCTreeNode& node) override;
};

/// Elements of type std::string: a leaf of their bytes.
class TVPLATFORM_EXPORT STDStringNodeCreator final : public TCNodeCreatorProperty
{
public:
    STDStringNodeCreator() : TCNodeCreatorProperty(NODE_CREATOR_STRING) {}
    ~STDStringNodeCreator() override;
    STDStringNodeCreator* Fork() const override;
    TCTreeNode* MakeNewNode(TCTreeBranch& owner, void* data, unsigned long elementSize, int count,
                            EMarshalableStorageType storageType) override;
    bool PutNodeDataTo(void* data, unsigned long elementSize, unsigned long byteSize, TCTreeNode& node) override;
};

/// Elements of type std::basic_string<unsigned short>: a leaf of their code units.
class TVPLATFORM_EXPORT STDWStringNodeCreator final : public TCNodeCreatorProperty
{
public:
    STDWStringNodeCreator() : TCNodeCreatorProperty(NODE_CREATOR_WIDE_STRING) {}
    ~STDWStringNodeCreator() override;
    STDWStringNodeCreator* Fork() const override;
    TCTreeNode* MakeNewNode(TCTreeBranch& owner, void* data, unsigned long elementSize, int count,
                            EMarshalableStorageType storageType) override;
    bool PutNodeDataTo(void* data, unsigned long elementSize, unsigned long byteSize, TCTreeNode& node) override;
};
