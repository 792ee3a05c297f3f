#pragma once

#include "marshalling/MarshalableMapContainer.h"
#include "marshalling/MarshalableOneDimensionContainer.h"

#include <tvplatform/Types.h>

#include <list>
#include <map>
#include <memory>
#include <string>

namespace CIM
{

/// What the creators of container nodes share: the check of a node, and the children an adapter makes of a container.
template <class TAdapter>
class TContainerNode
{
public:
    static TCTreeNode* Make(TCTreeBranch& owner, TAdapter* adapter)
    {
        TCTreeBranch* branch = owner.NewBranch(0);
        return !adapter || adapter->ClassToTree(*branch) ? branch : nullptr;
    }

    static bool Take(TAdapter& adapter, TCTreeNode& node)
    {
        TCTreeBranch* branch = node.AsBranch();
        if (!branch)
        {
            _TCApiAssert("node.GetNodeType() == TREE_NODE_BRANCH_MAP|| node.GetNodeType() == TREE_NODE_BRANCH_LIST",
                         "MarshalableNodeCreator.h", __LINE__, "a leaf in the place of a container");
            return false;
        }
        return adapter.TreeToClass(*branch);
    }

    static TCNodeCreatorProperty* ForkOf(const std::unique_ptr<TCNodeCreatorProperty>& creator)
    {
        return creator ? creator->Fork() : nullptr;
    }
};

/// Elements that are sequences: a branch each, filled by a sequence adapter.
template <class TAdapter, class TContainer>
class TCOneDimensionContainerNodeCreator final : public TCNodeCreatorProperty
{
public:
    /// \param[in] elementCreator  of the inner elements, owned from now on; null: the type's own one
    /// \param[in] countHint       how many children to expect when a caller does not say
    /// \param[in] flag            carried along by Fork
    explicit TCOneDimensionContainerNodeCreator(TCNodeCreatorProperty* elementCreator = nullptr, int countHint = 0,
                                                unsigned char flag = 0)
        : TCNodeCreatorProperty(NODE_CREATOR_ONE_DIMENSION), m_countHint(countHint), m_flag(flag),
          m_elementCreator(elementCreator)
    {
    }

    TCOneDimensionContainerNodeCreator* Fork() const override
    {
        return new TCOneDimensionContainerNodeCreator(TContainerNode<TAdapter>::ForkOf(m_elementCreator), m_countHint,
                                                      m_flag);
    }

    void ClearSubContainers(void* data) override
    {
        if (data)
        {
            TAdapter clearing(static_cast<TContainer*>(data), TContainerNode<TAdapter>::ForkOf(m_elementCreator), true);
        }
    }

    /// Null data give an empty branch.
    TCTreeNode* MakeNewNode(TCTreeBranch& owner, void* data, unsigned long, int, EMarshalableStorageType) override
    {
        TAdapter adapter(static_cast<TContainer*>(data), TContainerNode<TAdapter>::ForkOf(m_elementCreator));
        return TContainerNode<TAdapter>::Make(owner, &adapter);
    }

    bool PutNodeDataTo(void* data, unsigned long, unsigned long, TCTreeNode& node) override
    {
        TAdapter adapter(static_cast<TContainer*>(data), TContainerNode<TAdapter>::ForkOf(m_elementCreator));
        return !data || TContainerNode<TAdapter>::Take(adapter, node);
    }

private:
    int m_countHint;
    unsigned char m_flag;
    std::unique_ptr<TCNodeCreatorProperty> m_elementCreator;
};

/// Elements that are maps: a branch each, filled by a map adapter.
template <class TAdapter, class TContainer>
class TCTwoDimensionContainerNodeCreator final : public TCNodeCreatorProperty
{
public:
    /// \param[in] keyCreator, valueCreator  of the inner map, owned from now on; null: the type's own one
    /// \param[in] countHint                 how many children to expect when a caller does not say
    /// \param[in] flag                      carried along by Fork
    explicit TCTwoDimensionContainerNodeCreator(TCNodeCreatorProperty* keyCreator = nullptr,
                                                TCNodeCreatorProperty* valueCreator = nullptr, int countHint = 0,
                                                unsigned char flag = 0)
        : TCNodeCreatorProperty(NODE_CREATOR_TWO_DIMENSION), m_countHint(countHint), m_flag(flag),
          m_keyCreator(keyCreator), m_valueCreator(valueCreator)
    {
    }

    TCTwoDimensionContainerNodeCreator* Fork() const override
    {
        auto keyCreator = std::unique_ptr<TCNodeCreatorProperty>(TContainerNode<TAdapter>::ForkOf(m_keyCreator));
        auto valueCreator = std::unique_ptr<TCNodeCreatorProperty>(TContainerNode<TAdapter>::ForkOf(m_valueCreator));
        return new TCTwoDimensionContainerNodeCreator(keyCreator.release(), valueCreator.release(), m_countHint,
                                                      m_flag);
    }

    void ClearSubContainers(void* data) override
    {
        if (data)
        {
            static_cast<TContainer*>(data)->clear();
        }
    }

    /// Null data give an empty branch.
    TCTreeNode* MakeNewNode(TCTreeBranch& owner, void* data, unsigned long, int, EMarshalableStorageType) override
    {
        TAdapter adapter(static_cast<TContainer*>(data), TContainerNode<TAdapter>::ForkOf(m_keyCreator),
                         TContainerNode<TAdapter>::ForkOf(m_valueCreator));
        return TContainerNode<TAdapter>::Make(owner, &adapter);
    }

    bool PutNodeDataTo(void* data, unsigned long, unsigned long, TCTreeNode& node) override
    {
        TAdapter adapter(static_cast<TContainer*>(data), TContainerNode<TAdapter>::ForkOf(m_keyCreator),
                         TContainerNode<TAdapter>::ForkOf(m_valueCreator));
        return !data || TContainerNode<TAdapter>::Take(adapter, node);
    }

private:
    int m_countHint;
    unsigned char m_flag;
    std::unique_ptr<TCNodeCreatorProperty> m_keyCreator;
    std::unique_ptr<TCNodeCreatorProperty> m_valueCreator;
};

/// The two kinds of container that are elements of a map.
using TCodeList = std::list<unsigned short>;
using TCodeListNodeCreator =
    TCOneDimensionContainerNodeCreator<TCMarshalableOneDimensionContainer<TCodeList, unsigned short>, TCodeList>;
using TModeNames = std::map<EAntennaMode, std::basic_string<unsigned short>>;
using TModeNamesNodeCreator =
    TCTwoDimensionContainerNodeCreator<TCMarshalableMapContainer<TModeNames, std::basic_string<unsigned short>>,
                                       TModeNames>;

template <>
struct TDefaultCreator<TCodeList>
{
    using type = TCodeListNodeCreator;
};
template <>
struct TDefaultCreator<TModeNames>
{
    using type = TModeNamesNodeCreator;
};

} // namespace CIM
