#pragma once

#include "marshalling/ElementCreator.h"

#include <tvplatform/ApiAssert.h>

namespace CIM
{

/// A map of the caller as a branch: key, value, key, value, ... ascending. Of equal keys that are read the first wins.
/// It refers to the map, which may be missing: nothing is then written or read.
template <class TContainer, class TValue>
class TCMarshalableMapContainer final : public TCMarshalable
{
public:
    using TKey = typename TContainer::key_type;

    /// \param[in] container     outlives the adapter; may be null
    /// \param[in] keyCreator    of the keys' nodes, owned from now on; null: the type's own one
    /// \param[in] valueCreator  of the values' nodes, likewise
    explicit TCMarshalableMapContainer(TContainer* container, TCNodeCreatorProperty* keyCreator = nullptr,
                                       TCNodeCreatorProperty* valueCreator = nullptr)
        : m_container(container), m_keyCreator(keyCreator), m_valueCreator(valueCreator)
    {
    }
    TCMarshalableMapContainer(const TCMarshalableMapContainer&) = delete;
    TCMarshalableMapContainer& operator=(const TCMarshalableMapContainer&) = delete;

    bool ClassToTree(TCTreeBranch& branch) override
    {
        if (m_container)
        {
            for (const auto& [key, value] : *m_container)
            {
                m_keyCreator.Add(branch, key);
                m_valueCreator.Add(branch, value);
            }
        }
        return true;
    }

    /// \return false when the last key has no value: what was read before stays; and, with the map empty, when the
    ///         elements would take far more than the bytes they came in
    bool TreeToClass(TCTreeBranch& branch) override
    {
        if (!m_container)
        {
            return true;
        }
        if (m_valueCreator.MakesContainers())
        {
            for (auto& [key, value] : *m_container)
            {
                m_valueCreator.ClearSubContainer(value);
            }
        }
        m_container->clear();
        TCElementBudget budget;
        TCTreeNode* node = branch.GetFirstNode();
        while (node)
        {
            if (!budget.Takes<TKey>(*node) || (node->GetNextNode() && !budget.Takes<TValue>(*node->GetNextNode())))
            {
                m_container->clear();
                return false;
            }
            TKey key{};
            m_keyCreator.Fill(key, *node);
            node = node->GetNextNode();
            if (!node)
            {
                constexpr int REPORTED_LINE = 264; // the line that readers of these reports look for
                _TCApiAssert("0", "MarshalableMapContainer.h", REPORTED_LINE, "a key without a value");
                return false;
            }
            TValue value{};
            m_valueCreator.Fill(value, *node);
            m_container->emplace_hint(m_container->end(), std::move(key), std::move(value));
            node = node->GetNextNode();
        }
        return true;
    }

private:
    TContainer* m_container;
    TElementCreator<TKey> m_keyCreator;
    TElementCreator<TValue> m_valueCreator;
};

} // namespace CIM
