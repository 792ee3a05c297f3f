#pragma once

#include <tvplatform/NodeCreator.h>

#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace CIM
{

/// Elements that travel as their bytes in memory.
template <class T>
inline constexpr bool IsPlainElement = std::is_trivially_copyable_v<T> && !std::is_base_of_v<TIMarshalable, T>;

/// The node creator that an adapter makes for elements of a type when it is given none.
template <class T, class = void>
struct TDefaultCreator
{
    static_assert(sizeof(T) == 0,
                  "include marshalling/MarshalableContainers.h, or add a default creator for this type");
};
template <class T>
struct TDefaultCreator<T, std::enable_if_t<IsPlainElement<T>>>
{
    using type = DefaultNodeCreator;
};
template <class T>
struct TDefaultCreator<T, std::enable_if_t<std::is_base_of_v<TIMarshalable, T>>>
{
    using type = TCMarshalableNodeCreator;
};
template <>
struct TDefaultCreator<std::string>
{
    using type = STDStringNodeCreator;
};
template <>
struct TDefaultCreator<std::basic_string<unsigned short>>
{
    using type = STDWStringNodeCreator;
};

/// Bounds what a container takes for the elements that it reads: a small multiple of the bytes that they came in, which
/// a node that holds less than its element would exceed. What objects write of themselves stays far below it.
class TCElementBudget
{
public:
    /// Counts an element. \return false when the elements so far take more than their bytes can be worth
    template <class T>
    bool Takes(const TCTreeNode& node)
    {
        if constexpr (sizeof(T) > MULTIPLE * HEADER)
        {
            m_left += static_cast<std::ptrdiff_t>(MULTIPLE * Bytes(node)) - static_cast<std::ptrdiff_t>(sizeof(T));
        }
        return m_left >= 0;
    }

private:
    static constexpr std::size_t MULTIPLE = 4;
    static constexpr std::size_t HEADER = 8;              // of a node
    static constexpr std::ptrdiff_t FREE_BYTES = 1 << 16; // whatever they came in

    static std::size_t Bytes(const TCTreeNode& node)
    {
        std::size_t bytes = HEADER + node.GetByteSize();
        const TCTreeBranch* const branch = node.AsBranch();
        for (const TCTreeNode* child = branch ? branch->GetFirstNode() : nullptr; child; child = child->GetNextNode())
        {
            bytes += HEADER + child->GetByteSize();
        }
        return bytes;
    }

    std::ptrdiff_t m_left = FREE_BYTES;
};

/// What an adapter does with its elements, over the node creator that Derived::Get gives.
template <class Derived, class T>
class TElements
{
public:
    bool IsPlain() { return Creator().NodeCreatorType() == NODE_CREATOR_PLAIN; }
    bool MakesContainers()
    {
        const int type = Creator().NodeCreatorType();
        return type == NODE_CREATOR_ONE_DIMENSION || type == NODE_CREATOR_TWO_DIMENSION;
    }

    /// Adds an element's node at the end of a branch; an element without a node is left out.
    void Add(TCTreeBranch& branch, const T& element)
    {
        branch.AddNode(Creator().MakeNewNode(branch, Address(element), sizeof(T), -1, MARSHALABLE_STORAGE_BRANCH));
    }

    /// Fills a fresh element. What does not fit leaves it as it is.
    void Fill(T& element, TCTreeNode& node)
    {
        auto& creator = Creator();
        const unsigned long byteSize = creator.IsArrayData() ? node.GetElementCount(sizeof(T)) * sizeof(T) : sizeof(T);
        creator.PutNodeDataTo(Address(element), sizeof(T), byteSize, node);
    }

    void ClearSubContainer(T& element) { Creator().ClearSubContainers(Address(element)); }

private:
    auto& Creator() { return static_cast<Derived*>(this)->Get(); }

    // Writing does not change an element, but the interfaces of marshalable objects and node creators say no const.
    static void* Address(const T& element)
    {
        auto* address = const_cast<T*>(&element);
        if constexpr (std::is_base_of_v<TIMarshalable, T>)
        {
            return static_cast<TIMarshalable*>(address);
        }
        else
        {
            return address;
        }
    }
};

/// The elements of a type with its own node creator: which one it is the compiler knows.
template <class T>
class TOwnElements : public TElements<TOwnElements<T>, T>
{
public:
    auto& Get() { return m_creator; }
    static constexpr bool IsPlain() { return IsPlainElement<T>; }

private:
    typename TDefaultCreator<T>::type m_creator;
};

/// The elements of an adapter: with the node creator that it was given and owns, or the type's own one, which needs no
/// allocation.
template <class T>
class TElementCreator : public TElements<TElementCreator<T>, T>
{
public:
    explicit TElementCreator(TCNodeCreatorProperty* given) : m_given(given) {}

    TCNodeCreatorProperty& Get() { return m_given ? *m_given : m_default; }

private:
    std::unique_ptr<TCNodeCreatorProperty> m_given;
    typename TDefaultCreator<T>::type m_default;
};

} // namespace CIM
