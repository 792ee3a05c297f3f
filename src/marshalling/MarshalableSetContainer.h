#pragma once

#include "marshalling/ElementCreator.h"

namespace CIM
{

/// A set as a branch: a node for each element, ascending. Of equal elements that are read the first wins.
template <class TContainer, class TElement>
struct TSetForm
{
    static bool Write(TContainer& container, TCTreeBranch& branch)
    {
        TOwnElements<TElement> elements;
        return Write(container, elements, branch);
    }
    /// \return false, with the set empty, when the elements would take far more than the bytes they came in
    static bool Read(TContainer& container, TCTreeBranch& branch)
    {
        TOwnElements<TElement> elements;
        return Read(container, elements, branch);
    }

    template <class TElements>
    static bool Write(const TContainer& container, TElements& elements, TCTreeBranch& branch)
    {
        for (const TElement& element : container)
        {
            elements.Add(branch, element);
        }
        return true;
    }

    template <class TElements>
    static bool Read(TContainer& container, TElements& elements, TCTreeBranch& branch)
    {
        container.clear();
        TCElementBudget budget;
        for (TCTreeNode* node = branch.GetFirstNode(); node; node = node->GetNextNode())
        {
            if (!budget.Takes<TElement>(*node))
            {
                container.clear();
                return false;
            }
            TElement element{};
            elements.Fill(element, *node);
            container.insert(std::move(element));
        }
        return true;
    }
};

/// A set of the caller as an object that marshals itself, for those who choose the node creator of its elements.
/// It refers to the set, which may be missing: nothing is then written or read.
template <class TContainer, class TElement>
class TCMarshalableSetContainer final : public TCMarshalable
{
public:
    using TContainerForm = TSetForm<TContainer, TElement>;

    /// \param[in] container  outlives the adapter; may be null
    /// \param[in] creator    of the elements' nodes, owned from now on; null: the type's own one
    explicit TCMarshalableSetContainer(TContainer* container, TCNodeCreatorProperty* creator = nullptr)
        : m_container(container), m_elements(creator)
    {
    }
    TCMarshalableSetContainer(const TCMarshalableSetContainer&) = delete;
    TCMarshalableSetContainer& operator=(const TCMarshalableSetContainer&) = delete;

    bool ClassToTree(TCTreeBranch& branch) override
    {
        return !m_container || TContainerForm::Write(*m_container, m_elements, branch);
    }

    /// \return false, with the set empty, when the elements would take far more than the bytes they came in
    bool TreeToClass(TCTreeBranch& branch) override
    {
        return !m_container || TContainerForm::Read(*m_container, m_elements, branch);
    }

private:
    TContainer* m_container;
    TElementCreator<TElement> m_elements;
};

} // namespace CIM
