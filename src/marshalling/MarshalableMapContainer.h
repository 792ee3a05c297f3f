#pragma once

#include "marshalling/ElementCreator.h"

#include <tvplatform/ApiAssert.h>

namespace CIM
{

/// A map as a branch: key, value, key, value, ... ascending. Of equal keys that are read the first wins.
template <class TContainer, class TValue>
struct TMapForm
{
    using TKey = typename TContainer::key_type;

    static bool Write(TContainer& container, TCTreeBranch& branch)
    {
        TOwnElements<TKey> keys;
        TOwnElements<TValue> values;
        return Write(container, keys, values, branch);
    }
    /// \return false when the last key has no value: what was read before stays; and, with the map empty, when the
    ///         elements would take far more than the bytes they came in
    static bool Read(TContainer& container, TCTreeBranch& branch)
    {
        TOwnElements<TKey> keys;
        TOwnElements<TValue> values;
        return Read(container, keys, values, branch);
    }

    template <class TKeys, class TValues>
    static bool Write(const TContainer& container, TKeys& keys, TValues& values, TCTreeBranch& branch)
    {
        for (const auto& [key, value] : container)
        {
            keys.Add(branch, key);
            values.Add(branch, value);
        }
        return true;
    }

    template <class TKeys, class TValues>
    static bool Read(TContainer& container, TKeys& keys, TValues& values, TCTreeBranch& branch)
    {
        if (values.MakesContainers())
        {
            for (auto& [key, value] : container)
            {
                values.ClearSubContainer(value);
            }
        }
        container.clear();
        TCElementBudget budget;
        TCTreeNode* node = branch.GetFirstNode();
        while (node)
        {
            if (!budget.Takes<TKey>(*node) || (node->GetNextNode() && !budget.Takes<TValue>(*node->GetNextNode())))
            {
                container.clear();
                return false;
            }
            TKey key{};
            keys.Fill(key, *node);
            node = node->GetNextNode();
            if (!node)
            {
                constexpr int REPORTED_LINE = 264; // the line that readers of these reports look for
                _TCApiAssert("0", "MarshalableMapContainer.h", REPORTED_LINE, "a key without a value");
                return false;
            }
            TValue value{};
            values.Fill(value, *node);
            container.emplace_hint(container.end(), std::move(key), std::move(value));
            node = node->GetNextNode();
        }
        return true;
    }
};

/// A map of the caller as an object that marshals itself, for those who choose the node creators of its elements.
/// It refers to the map, which may be missing: nothing is then written or read.
template <class TContainer, class TValue>
class TCMarshalableMapContainer final : public TCMarshalable
{
public:
    using TContainerForm = TMapForm<TContainer, TValue>;
    using TKey = typename TContainer::key_type;

    /// \param[in] container     outlives the adapter; may be null
    /// \param[in] keyCreator    of the keys' nodes, owned from now on; null: the type's own one
    /// \param[in] valueCreator  of the values' nodes, likewise
    explicit TCMarshalableMapContainer(TContainer* container, TCNodeCreatorProperty* keyCreator = nullptr,
                                       TCNodeCreatorProperty* valueCreator = nullptr)
        : m_container(container), m_keys(keyCreator), m_values(valueCreator)
    {
    }
    TCMarshalableMapContainer(const TCMarshalableMapContainer&) = delete;
    TCMarshalableMapContainer& operator=(const TCMarshalableMapContainer&) = delete;

    bool ClassToTree(TCTreeBranch& branch) override
    {
        return !m_container || TContainerForm::Write(*m_container, m_keys, m_values, branch);
    }

    /// \return false when the last key has no value: what was read before stays; and, with the map empty, when the
    ///         elements would take far more than the bytes they came in
    bool TreeToClass(TCTreeBranch& branch) override
    {
        return !m_container || TContainerForm::Read(*m_container, m_keys, m_values, branch);
    }

private:
    TContainer* m_container;
    TElementCreator<TKey> m_keys;
    TElementCreator<TValue> m_values;
};

} // namespace CIM
