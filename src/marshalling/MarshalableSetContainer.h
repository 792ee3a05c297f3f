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

    bool TreeToClass(TCTreeBranch& branch) override
    {
        if (!m_container)
        {
            return true;
        }
        m_container->clear();
        for (TCTreeNode* node = branch.GetFirstNode(); node; node = node->GetNextNode())
        {
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
