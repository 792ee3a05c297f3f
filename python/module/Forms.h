#pragma once

#include "Types.h"

#include "json/ToJson.h"

#include <algorithm>
#include <limits>
#include <list>
#include <map>
#include <set>
#include <type_traits>

// How a type decides its form in Python, as json/Forms.h does for JSON.

namespace CIM::python
{
/// The form of a type:
///   static TSAnnotation Annotation();
///   static py::object To(const T& value);
///   static void From(py::handle given, T& value);   throws TypeError, ValueError or OverflowError without the value in it:
///                                                   it may be a secret
template <class T, class = void>
struct TPyForm;

// What needs no more than these is compiled once, in Forms.cpp.
[[noreturn]] void RefuseType(py::handle given, const std::string& wanted);
std::int64_t SignedFrom(py::handle given, std::int64_t least, std::int64_t greatest);
std::uint64_t UnsignedFrom(py::handle given, std::uint64_t greatest);
std::int64_t EnumeratorFrom(py::handle given, const protocol::SWords& words);
/// The elements of a list, tuple or other iterable, but not those of a text or of bytes.
py::iterator ElementsOf(py::handle given, const std::string& wanted);
py::object TextFromUnits(const unsigned short* units, std::size_t count);
std::vector<unsigned short> UnitsFrom(py::handle given);

/// The form of a type that is no template, compiled in Forms.cpp.
#define CIAPI_PYTHON_FORM(TYPE)                                                                                        \
    template <>                                                                                                        \
    struct TPyForm<TYPE>                                                                                               \
    {                                                                                                                  \
        static TSAnnotation Annotation();                                                                              \
        static py::object To(TYPE const& value);                                                                       \
        static void From(py::handle given, TYPE& value);                                                               \
    }
CIAPI_PYTHON_FORM(bool);
CIAPI_PYTHON_FORM(std::string);
CIAPI_PYTHON_FORM(std::u16string);
CIAPI_PYTHON_FORM(std::basic_string<unsigned short>);
CIAPI_PYTHON_FORM(std::vector<unsigned char>);
CIAPI_PYTHON_FORM(TCIText);
CIAPI_PYTHON_FORM(void*); // never sent: the user data of a subscription
#undef CIAPI_PYTHON_FORM

template <class T>
struct TPyForm<T, std::enable_if_t<std::is_integral_v<T>>>
{
    static TSAnnotation Annotation() { return {"int", "int"}; }
    static py::object To(T value) { return py::int_(value); }
    static void From(py::handle given, T& value)
    {
        using TLimits = std::numeric_limits<T>;
        if constexpr (std::is_signed_v<T>)
        {
            value = static_cast<T>(SignedFrom(given, TLimits::min(), TLimits::max()));
        }
        else
        {
            value = static_cast<T>(UnsignedFrom(given, TLimits::max()));
        }
    }
};

template <class E>
struct TPyForm<E, std::enable_if_t<std::is_enum_v<E>>>
{
    static TSAnnotation Annotation()
    {
        EnumerationClass(*protocol::WordsOf<E>());
        const std::string name(TSEnumNames<E>::type);
        return {name, name};
    }
    static py::object To(E value) { return Enumerator(*protocol::WordsOf<E>(), value); }
    static void From(py::handle given, E& value)
    {
        value = static_cast<E>(EnumeratorFrom(given, *protocol::WordsOf<E>()));
    }
};

/// Lists and sets.
template <class Container>
struct TPySequenceForm
{
    using TElement = typename Container::value_type;
    static TSAnnotation Annotation()
    {
        const TSAnnotation element = TPyForm<TElement>::Annotation();
        return {"list[" + element.given + "]", "Iterable[" + element.taken + "]"};
    }
    static py::object To(const Container& value)
    {
        py::list list(value.size());
        std::size_t place = 0;
        for (const TElement& element : value)
        {
            list[place++] = TPyForm<TElement>::To(element);
        }
        return list;
    }
    static void From(py::handle given, Container& value)
    {
        Container fresh;
        const py::iterator elements = ElementsOf(given, "a list");
        for (py::iterator element = elements; element != py::iterator::sentinel(); ++element)
        {
            TElement read = json::NewValue<TElement>();
            TPyForm<TElement>::From(*element, read);
            fresh.insert(fresh.end(), std::move(read));
        }
        value = std::move(fresh);
    }
};
template <class E>
struct TPyForm<std::vector<E>> : TPySequenceForm<std::vector<E>>
{
};
template <class E>
struct TPyForm<std::list<E>> : TPySequenceForm<std::list<E>>
{
};
template <class E>
struct TPyForm<std::set<E>> : TPySequenceForm<std::set<E>>
{
};

template <class K, class V>
struct TPyForm<std::map<K, V>>
{
    static TSAnnotation Annotation()
    {
        const TSAnnotation key = TPyForm<K>::Annotation();
        const TSAnnotation value = TPyForm<V>::Annotation();
        return {"dict[" + key.given + ", " + value.given + "]", "Mapping[" + key.taken + ", " + value.taken + "]"};
    }
    static py::object To(const std::map<K, V>& map)
    {
        py::dict made;
        for (const auto& [key, value] : map)
        {
            made[TPyForm<K>::To(key)] = TPyForm<V>::To(value);
        }
        return made;
    }
    static void From(py::handle given, std::map<K, V>& map)
    {
        if (!py::isinstance<py::dict>(given))
        {
            RefuseType(given, "a dict");
        }
        std::map<K, V> fresh;
        for (const auto& [key, value] : py::reinterpret_borrow<py::dict>(given))
        {
            K readKey = json::NewValue<K>();
            V readValue = json::NewValue<V>();
            TPyForm<K>::From(key, readKey);
            TPyForm<V>::From(value, readValue);
            fresh.emplace(std::move(readKey), std::move(readValue));
        }
        map = std::move(fresh);
    }
};

/// Types that are written as their only member, here as in JSON.
template <class T>
inline constexpr bool IS_HOLDER =
    protocol::HAS_MEMBERS<T>&& std::is_base_of_v<json::THolderForm<T>, json::TJsonForm<T>>;

template <class T>
struct TPyForm<T, std::enable_if_t<IS_HOLDER<T>>>
{
    static constexpr auto FIELD = std::get<0>(protocol::TMembers<T>::ROWS).FIELD;
    using TInner = std::remove_reference_t<decltype(std::declval<T&>().*FIELD)>;
    static TSAnnotation Annotation() { return TPyForm<TInner>::Annotation(); }
    static py::object To(const T& value) { return TPyForm<TInner>::To(value.*FIELD); }
    static void From(py::handle given, T& value) { TPyForm<TInner>::From(given, value.*FIELD); }
};

/// Value types: dataclasses with the members as fields.
template <class T>
struct TPyForm<T, std::enable_if_t<protocol::HAS_MEMBERS<T> && !IS_HOLDER<T>>>
{
    /// Made when the module is imported.
    static py::handle Class()
    {
        static const py::handle made = []
        {
            std::vector<TSField> fields;
            T record = json::NewValue<T>();
            protocol::ForEachMember(
                record,
                [&]<class Field>(const auto& row, Field& field) {
                    fields.push_back({SnakeCase(row.NAME), TPyForm<Field>::Annotation(), TPyForm<Field>::To(field)});
                });
            return MakeRecordClass(protocol::NameOf<T>(), fields);
        }();
        return made;
    }
    static TSAnnotation Annotation()
    {
        Class();
        return {protocol::NameOf<T>(), protocol::NameOf<T>()};
    }
    static py::object To(const T& record)
    {
        return std::apply(
            [&](const auto&... row)
            { return Class()(TPyForm<std::remove_cvref_t<decltype(record.*row.FIELD)>>::To(record.*row.FIELD)...); },
            protocol::TMembers<T>::ROWS);
    }
    static void From(py::handle given, T& record)
    {
        if (!py::isinstance(given, Class()))
        {
            RefuseType(given, protocol::NameOf<T>());
        }
        T fresh = json::NewValue<T>();
        protocol::ForEachMember(fresh, [&]<class Field>(const auto& row, Field& field)
                                { TPyForm<Field>::From(given.attr(SnakeCase(row.NAME).c_str()), field); });
        record = std::move(fresh);
    }
};
} // namespace CIM::python
