#pragma once

#include "marshalling/ElementCreator.h"

namespace CIM
{

/// A set of the caller as a branch: a node for each element, ascending. Of equal elements that are read the first wins.
/// It refers to the set, which may be missing: nothing is then written or read.
template <class TContainer, class TElement>
class TCMarshalableSetContainer final : public TCMarshalable
{
public:
    /// \param[in] container  outlives the adapter; may be null
    /// \param[in] creator    of the elements' nodes, owned from now on; null: the type's own one
    explicit TCMarshalableSetContainer(TContainer* container, TCNodeCreatorProperty* creator = nullptr)
        : m_container(container), m_creator(creator)
    {
    }
    TCMarshalableSetContainer(const TCMarshalableSetContainer&) = delete;
    TCMarshalableSetContainer& operator=(const TCMarshalableSetContainer&) = delete;

    bool ClassToTree(TCTreeBranch& branch) override
    {
        if (m_container)
        {
            for (const TElement& element : *m_container)
            {
                m_creator.Add(branch, element);
            }
        }
        return true;
    }

    /// \return false, with the set empty, when the elements would take far more than the bytes they came in
    bool TreeToClass(TCTreeBranch& branch) override
    {
        if (!m_container)
        {
            return true;
        }
        m_container->clear();
        TCElementBudget budget;
        for (TCTreeNode* node = branch.GetFirstNode(); node; node = node->GetNextNode())
        {
            if (!budget.Takes<TElement>(*node))
            {
                m_container->clear();
                return false;
            }
            TElement element{};
            m_creator.Fill(element, *node);
            m_container->insert(std::move(element));
        }
        return true;
    }

private:
    TContainer* m_container;
    TElementCreator<TElement> m_creator;
};

} // namespace CIM
