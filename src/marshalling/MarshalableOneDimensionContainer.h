#pragma once

#include "marshalling/ElementCreator.h"
#include "marshalling/PackedElement.h"

#include <vector>

namespace CIM
{

/// A sequence as a branch: plain elements packed into one leaf, others a node each, in order.
template <class TContainer, class TElement>
struct TSequenceForm
{
    static bool Write(TContainer& container, TCTreeBranch& branch)
    {
        TOwnElements<TElement> elements;
        return Write(container, elements, branch);
    }
    /// \return false, with the container empty, when the elements would take far more than the bytes they came in
    static bool Read(TContainer& container, TCTreeBranch& branch)
    {
        TOwnElements<TElement> elements;
        return Read(container, elements, branch);
    }

    template <class TElements>
    static bool Write(const TContainer& container, TElements& elements, TCTreeBranch& branch)
    {
        if constexpr (IsPlainElement<TElement>)
        {
            if (elements.IsPlain())
            {
                return container.empty() || branch.AddNode(NewPackedLeaf(container, branch));
            }
        }
        for (const TElement& element : container)
        {
            elements.Add(branch, element);
        }
        return true;
    }

    template <class TElements>
    static bool Read(TContainer& container, TElements& elements, TCTreeBranch& branch)
    {
        if constexpr (IsPlainElement<TElement>)
        {
            if (elements.IsPlain())
            {
                TakePacked(container, branch.GetFirstNode());
                return true;
            }
        }
        Clear(container, elements);
        TCElementBudget budget;
        for (TCTreeNode* node = branch.GetFirstNode(); node; node = node->GetNextNode())
        {
            if (!budget.Takes<TElement>(*node))
            {
                Clear(container, elements);
                return false;
            }
            elements.Fill(container.emplace_back(), *node);
        }
        return true;
    }

    template <class TElements>
    static void Clear(TContainer& container, TElements& elements)
    {
        if (elements.MakesContainers())
        {
            for (TElement& element : container)
            {
                elements.ClearSubContainer(element);
            }
        }
        container.clear();
    }

private:
    static constexpr bool IS_CONTIGUOUS = std::is_same_v<TContainer, std::vector<TElement>>;

    static TCTreeNode* NewPackedLeaf(const TContainer& container, TCTreeBranch& branch)
    {
        const std::size_t size = container.size() * sizeof(TElement);
        if constexpr (IS_CONTIGUOUS && TPackedElement<TElement>::IS_AS_IN_MEMORY)
        {
            return branch.NewReferringLeaf(0, size, container.data());
        }
        else
        {
            char* out = nullptr;
            TCTreeNode* leaf = branch.NewLeafToFill(0, size, out);
            if (leaf)
            {
                for (const TElement& element : container)
                {
                    TPackedElement<TElement>::Store(out, element);
                    out += sizeof(TElement);
                }
            }
            return leaf;
        }
    }

    // Copies straight from the message into the container. A branch in the leaf's place holds no bytes.
    static void TakePacked(TContainer& container, const TCTreeNode* node)
    {
        const char* bytes = node ? static_cast<const char*>(node->GetData()) : nullptr;
        const std::size_t count = node ? node->GetElementCount(sizeof(TElement)) : 0;
        if (count == 0)
        {
            container.clear();
        }
        else if constexpr (sizeof(TElement) == 1)
        {
            const auto* first = reinterpret_cast<const TElement*>(bytes);
            container.assign(first, first + count);
        }
        else
        {
            container.assign(TPackedIterator<TElement>(bytes),
                             TPackedIterator<TElement>(bytes + count * sizeof(TElement)));
        }
    }
};

/// A sequence of the caller as an object that marshals itself, for those who choose the node creator of its elements.
/// It refers to the container, which may be missing: nothing is then written or read.
template <class TContainer, class TElement>
class TCMarshalableOneDimensionContainer final : public TCMarshalable
{
public:
    using TContainerForm = TSequenceForm<TContainer, TElement>;

    /// \param[in] container           outlives the adapter; may be null
    /// \param[in] creator             of the elements' nodes, owned from now on; null: the type's own one
    /// \param[in] clearOnDestruction  empty the container when the adapter ends
    explicit TCMarshalableOneDimensionContainer(TContainer* container, TCNodeCreatorProperty* creator = nullptr,
                                                bool clearOnDestruction = false)
        : m_container(container), m_elements(creator), m_clearOnDestruction(clearOnDestruction)
    {
    }

    ~TCMarshalableOneDimensionContainer() override
    {
        if (m_clearOnDestruction && m_container)
        {
            TContainerForm::Clear(*m_container, m_elements);
        }
    }

    TCMarshalableOneDimensionContainer(const TCMarshalableOneDimensionContainer&) = delete;
    TCMarshalableOneDimensionContainer& operator=(const TCMarshalableOneDimensionContainer&) = delete;

    bool ClassToTree(TCTreeBranch& branch) override
    {
        return !m_container || TContainerForm::Write(*m_container, m_elements, branch);
    }

    /// \return false, with the container empty, when the elements would take far more than the bytes they came in
    bool TreeToClass(TCTreeBranch& branch) override
    {
        return !m_container || TContainerForm::Read(*m_container, m_elements, branch);
    }

private:
    TContainer* m_container;
    TElementCreator<TElement> m_elements;
    bool m_clearOnDestruction;
};

} // namespace CIM
