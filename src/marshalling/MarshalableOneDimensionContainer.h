#pragma once

#include "marshalling/ElementCreator.h"
#include "marshalling/PackedElement.h"

#include <vector>

namespace CIM
{

/// A sequence of the caller as a branch: plain elements packed into one leaf, others a node each, in order.
/// It refers to the container, which may be missing: nothing is then written or read.
template <class TContainer, class TElement>
class TCMarshalableOneDimensionContainer final : public TCMarshalable
{
public:
    /// \param[in] container           outlives the adapter; may be null
    /// \param[in] creator             of the elements' nodes, owned from now on; null: the type's own one
    /// \param[in] clearOnDestruction  empty the container when the adapter ends
    explicit TCMarshalableOneDimensionContainer(TContainer* container, TCNodeCreatorProperty* creator = nullptr,
                                                bool clearOnDestruction = false)
        : m_container(container), m_creator(creator), m_isPlain(m_creator.IsPlain()),
          m_clearOnDestruction(clearOnDestruction)
    {
    }

    ~TCMarshalableOneDimensionContainer() override
    {
        if (m_clearOnDestruction && m_container)
        {
            Clear();
        }
    }

    TCMarshalableOneDimensionContainer(const TCMarshalableOneDimensionContainer&) = delete;
    TCMarshalableOneDimensionContainer& operator=(const TCMarshalableOneDimensionContainer&) = delete;

    bool ClassToTree(TCTreeBranch& branch) override
    {
        if (!m_container)
        {
            return true;
        }
        if constexpr (IsPlainElement<TElement>)
        {
            if (m_isPlain)
            {
                return m_container->empty() || branch.AddNode(NewPackedLeaf(branch));
            }
        }
        for (const TElement& element : *m_container)
        {
            m_creator.Add(branch, element);
        }
        return true;
    }

    /// \return false, with the container empty, when the elements would take far more than the bytes they came in
    bool TreeToClass(TCTreeBranch& branch) override
    {
        if (!m_container)
        {
            return true;
        }
        if constexpr (IsPlainElement<TElement>)
        {
            if (m_isPlain)
            {
                return TakePacked(branch.GetFirstNode());
            }
        }
        Clear();
        TCElementBudget budget;
        for (TCTreeNode* node = branch.GetFirstNode(); node; node = node->GetNextNode())
        {
            if (!budget.Takes<TElement>(*node))
            {
                Clear();
                return false;
            }
            TElement element{};
            m_creator.Fill(element, *node);
            m_container->push_back(std::move(element));
        }
        return true;
    }

private:
    static constexpr bool IS_CONTIGUOUS = std::is_same_v<TContainer, std::vector<TElement>>;

    void Clear()
    {
        if (m_creator.MakesContainers())
        {
            for (TElement& element : *m_container)
            {
                m_creator.ClearSubContainer(element);
            }
        }
        m_container->clear();
    }

    TCTreeNode* NewPackedLeaf(TCTreeBranch& branch) const
    {
        const std::size_t size = m_container->size() * sizeof(TElement);
        if constexpr (IS_CONTIGUOUS && TPackedElement<TElement>::IS_AS_IN_MEMORY)
        {
            return branch.NewReferringLeaf(0, size, m_container->data());
        }
        else
        {
            char* out = nullptr;
            TCTreeNode* leaf = branch.NewLeafToFill(0, size, out);
            if (leaf)
            {
                for (const TElement& element : *m_container)
                {
                    TPackedElement<TElement>::Store(out, element);
                    out += sizeof(TElement);
                }
            }
            return leaf;
        }
    }

    // Copies straight from the message into the container. A branch in the leaf's place holds no bytes.
    bool TakePacked(const TCTreeNode* node)
    {
        const char* bytes = node ? static_cast<const char*>(node->GetData()) : nullptr;
        const std::size_t count = node ? node->GetElementCount(sizeof(TElement)) : 0;
        if (count == 0)
        {
            m_container->clear();
        }
        else if constexpr (sizeof(TElement) == 1)
        {
            const auto* first = reinterpret_cast<const TElement*>(bytes);
            m_container->assign(first, first + count);
        }
        else
        {
            m_container->assign(TPackedIterator<TElement>(bytes),
                                TPackedIterator<TElement>(bytes + count * sizeof(TElement)));
        }
        return true;
    }

    TContainer* m_container;
    TElementCreator<TElement> m_creator;
    bool m_isPlain;
    bool m_clearOnDestruction;
};

} // namespace CIM
