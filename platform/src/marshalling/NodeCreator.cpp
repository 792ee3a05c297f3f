#include <tvplatform/NodeCreator.h>

#include <algorithm>
#include <cstring>
#include <string>

TCNodeCreatorProperty::~TCNodeCreatorProperty() = default;
bool TCNodeCreatorProperty::IsArrayData() const { return m_isArrayData; }
bool TCNodeCreatorProperty::IsNullizedArray() const { return m_isNullizedArray; }
int TCNodeCreatorProperty::NodeCreatorType() const { return m_type; }
void TCNodeCreatorProperty::ClearSubContainers(void*) {}

// Plain elements

DefaultNodeCreator::~DefaultNodeCreator() = default;
DefaultNodeCreator* DefaultNodeCreator::Fork() const { return new DefaultNodeCreator(*this); }

TCTreeNode* DefaultNodeCreator::MakeNewNode(TCTreeBranch& owner, void* data, unsigned long elementSize, int,
                                            EMarshalableStorageType)
{
    return data ? owner.NewLeaf(0, elementSize, data) : nullptr;
}

bool DefaultNodeCreator::PutNodeDataTo(void* data, unsigned long elementSize, unsigned long byteSize, TCTreeNode& node)
{
    if (!data || !node.IsLeaf())
    {
        return false;
    }
    const unsigned long taken = std::min({elementSize, byteSize, node.GetByteSize()});
    if (taken != 0)
    {
        std::memcpy(data, node.GetData(), taken);
    }
    std::memset(static_cast<char*>(data) + taken, 0, elementSize - taken);
    return node.GetByteSize() == elementSize;
}

// Objects

TCMarshalableNodeCreator::~TCMarshalableNodeCreator() = default;
TCMarshalableNodeCreator* TCMarshalableNodeCreator::Fork() const { return new TCMarshalableNodeCreator(*this); }

TCTreeNode* TCMarshalableNodeCreator::MakeNewNode(TCTreeBranch& owner, void* data, unsigned long, int,
                                                  EMarshalableStorageType)
{
    if (!data)
    {
        return nullptr;
    }
    TCTreeBranch* branch = owner.NewBranch(0);
    static_cast<TIMarshalable*>(data)->ClassToTree(*branch);
    return branch; // even when the object failed: a missing node would put the pairs of a map out of step
}

bool TCMarshalableNodeCreator::PutNodeDataTo(void* data, unsigned long, unsigned long, TCTreeNode& node)
{
    TCTreeBranch* branch = node.AsBranch();
    return data && branch && static_cast<TIMarshalable*>(data)->TreeToClass(*branch);
}

// Strings

STDStringNodeCreator::~STDStringNodeCreator() = default;
STDStringNodeCreator* STDStringNodeCreator::Fork() const { return new STDStringNodeCreator(*this); }

TCTreeNode* STDStringNodeCreator::MakeNewNode(TCTreeBranch& owner, void* data, unsigned long, int,
                                              EMarshalableStorageType)
{
    const auto* text = static_cast<const std::string*>(data);
    return text ? owner.NewReferringLeaf(0, text->size(), text->data()) : nullptr;
}

bool STDStringNodeCreator::PutNodeDataTo(void* data, unsigned long, unsigned long, TCTreeNode& node)
{
    if (!data || !node.IsLeaf())
    {
        return false;
    }
    static_cast<std::string*>(data)->assign(static_cast<const char*>(node.GetData()), node.GetByteSize());
    return true;
}

STDWStringNodeCreator::~STDWStringNodeCreator() = default;
STDWStringNodeCreator* STDWStringNodeCreator::Fork() const { return new STDWStringNodeCreator(*this); }

TCTreeNode* STDWStringNodeCreator::MakeNewNode(TCTreeBranch& owner, void* data, unsigned long, int,
                                               EMarshalableStorageType)
{
    const auto* text = static_cast<const std::basic_string<unsigned short>*>(data);
    return text ? owner.NewReferringLeaf(0, text->size() * sizeof(unsigned short), text->data()) : nullptr;
}

bool STDWStringNodeCreator::PutNodeDataTo(void* data, unsigned long, unsigned long, TCTreeNode& node)
{
    if (!data || !node.IsLeaf())
    {
        return false;
    }
    const std::size_t units = node.GetElementCount(sizeof(unsigned short));
    auto& text = *static_cast<std::basic_string<unsigned short>*>(data);
    text.resize(units);
    if (units != 0)
    {
        std::memcpy(text.data(), node.GetData(), units * sizeof(unsigned short));
    }
    return true;
}
