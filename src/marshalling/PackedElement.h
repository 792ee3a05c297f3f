#pragma once

#include <tvplatform/Types.h>

#include <cstddef>
#include <cstring>
#include <iterator>
#include <type_traits>

namespace CIM
{

/// How an element of a packed sequence travels. A type with filler bytes needs a form of its own, which sends zeros.
template <class T>
struct TPackedElement
{
    static_assert(std::has_unique_object_representations_v<T>, "its filler bytes would travel");
    static constexpr bool IS_AS_IN_MEMORY = true;

    static void Store(char* out, const T& element) { std::memcpy(out, &element, sizeof(T)); }
    static T Load(const char* bytes)
    {
        T element;
        std::memcpy(static_cast<void*>(&element), bytes, sizeof(T));
        return element;
    }
};

template <>
struct TPackedElement<TVSHandle>
{
    static constexpr bool IS_AS_IN_MEMORY = false;

    static void Store(char* out, const TVSHandle& element)
    {
        const TVSHandle clean(element.profile, element.handle);
        std::memcpy(out, &clean, sizeof(clean));
    }
    static TVSHandle Load(const char* bytes)
    {
        TVSHandle element;
        std::memcpy(&element, bytes, sizeof(element));
        element.filler = 0;
        return element;
    }
};

/// Walks over packed elements, which lie in a message without alignment.
template <class T>
class TPackedIterator
{
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = T;

    explicit TPackedIterator(const char* bytes) : m_bytes(bytes) {}
    T operator*() const { return TPackedElement<T>::Load(m_bytes); }
    TPackedIterator& operator++()
    {
        m_bytes += sizeof(T);
        return *this;
    }
    TPackedIterator& operator--()
    {
        m_bytes -= sizeof(T);
        return *this;
    }
    TPackedIterator operator++(int)
    {
        TPackedIterator before = *this;
        m_bytes += sizeof(T);
        return before;
    }
    TPackedIterator& operator+=(difference_type count)
    {
        m_bytes += count * static_cast<difference_type>(sizeof(T));
        return *this;
    }
    friend difference_type operator-(TPackedIterator a, TPackedIterator b)
    {
        return (a.m_bytes - b.m_bytes) / static_cast<difference_type>(sizeof(T));
    }
    friend bool operator==(TPackedIterator a, TPackedIterator b) { return a.m_bytes == b.m_bytes; }
    friend bool operator!=(TPackedIterator a, TPackedIterator b) { return a.m_bytes != b.m_bytes; }

private:
    const char* m_bytes;
};

} // namespace CIM
