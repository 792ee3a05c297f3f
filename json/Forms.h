#pragma once

#include "json/Scalars.h"

#include "protocol/ValueMembers.h"

#include <limits>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <type_traits>

// How a type decides its form in JSON. The forms of the value types are in ValueForms.h; include ToJson.h to use them.

namespace CIM::json
{
/// What kind of JSON a type is written as: tells a command line what to do with a bare word.
enum class EKind
{
    NUMBER,
    BOOL,
    ENUM,
    TEXT,       ///< a word is the text itself
    BYTES,      ///< a word is hexadecimal digits
    STRUCTURED, ///< lists, maps, records
};

/// A type, described for help.
struct TSType
{
    EKind kind;
    std::string text;                               ///< "uint8", "list of TVSHandle", ...
    std::vector<const TSEnumeration*> enumerations; ///< those that occur in it
};

/// The form of a type, specialised for each kind of type:
///   static TSType Type();
///   static TJson To(const T& value);
///   static void From(const TJson& json, T& value, const TCJsonPath& path);   replaces the value; throws TCJsonError
template <class T, class = void>
struct TJsonForm;

/// A value to read into. Specialised where a type's own beginning is not a value.
template <class T>
T NewValue()
{
    return T{};
}

// What needs no more than these is compiled once, in Forms.cpp.
TSType NumberType(bool isSigned, std::size_t bytes);
TSType EnumType(const TSEnumeration& enumeration);
TSType ListType(TSType element);
TSType MapType(const TSType& key, TSType value);
/// Adds the next member to the type of a record, "NAME {MEMBER: TYPE, ..."; the last brace is the caller's.
void AddMember(TSType& record, const char* name, const TSType& member);
/// \throws TCJsonError for the first member that is none of the known ones
void RefuseOthers(const TJson& object, std::span<const char* const> known, const char* type, const TCJsonPath& path);
[[noreturn]] void RefuseTwice(const TCJsonPath& path, const char* where);

/// The form of a type that is no template, compiled in Forms.cpp.
#define CIAPI_JSON_FORM(TYPE)                                                                                          \
    template <>                                                                                                        \
    struct TJsonForm<TYPE>                                                                                             \
    {                                                                                                                  \
        static TSType Type();                                                                                          \
        static TJson To(const TYPE& value);                                                                            \
        static void From(const TJson& json, TYPE& value, const TCJsonPath& path);                                      \
    }
CIAPI_JSON_FORM(bool);
CIAPI_JSON_FORM(std::string);
CIAPI_JSON_FORM(std::u16string);
CIAPI_JSON_FORM(std::basic_string<unsigned short>);
CIAPI_JSON_FORM(std::vector<unsigned char>);
CIAPI_JSON_FORM(TJson); // any JSON at all
#undef CIAPI_JSON_FORM

template <class T>
struct TJsonForm<T, std::enable_if_t<std::is_integral_v<T>>>
{
    static TSType Type() { return NumberType(std::is_signed_v<T>, sizeof(T)); }
    static TJson To(T value)
    {
        return NumberToJson(static_cast<std::conditional_t<std::is_signed_v<T>, std::int64_t, std::uint64_t>>(value));
    }
    static void From(const TJson& json, T& value, const TCJsonPath& path)
    {
        using TLimits = std::numeric_limits<T>;
        if constexpr (std::is_signed_v<T>)
        {
            value = static_cast<T>(SignedFromJson(json, TLimits::min(), TLimits::max(), path));
        }
        else
        {
            value = static_cast<T>(UnsignedFromJson(json, TLimits::max(), path));
        }
    }
};

template <class E>
struct TJsonForm<E, std::enable_if_t<std::is_enum_v<E>>>
{
    static TSType Type() { return EnumType(Enumeration<E>()); }
    static TJson To(E value) { return EnumToJson(Enumeration<E>(), value); }
    static void From(const TJson& json, E& value, const TCJsonPath& path)
    {
        value = static_cast<E>(EnumFromJson(Enumeration<E>(), json, path));
    }
};

/// A value that may be missing: null is none.
template <class T>
struct TJsonForm<std::optional<T>>
{
    static TSType Type() { return TJsonForm<T>::Type(); }
    static TJson To(const std::optional<T>& value) { return value ? TJsonForm<T>::To(*value) : TJson(); }
    static void From(const TJson& json, std::optional<T>& value, const TCJsonPath& path)
    {
        std::optional<T> fresh;
        if (!json.is_null())
        {
            TJsonForm<T>::From(json, fresh.emplace(), path);
        }
        value = std::move(fresh);
    }
};

template <class T>
concept CReadsItself = requires(const TJson& json, T& value, const TCJsonPath& path)
{
    ReadJson(json, value, path);
};

/// Types that say by themselves how they are read: void ReadJson(const TJson&, T&, const TCJsonPath&), found beside
/// the type.
template <class T>
struct TJsonForm<T, std::enable_if_t<CReadsItself<T>>>
{
    static TSType Type() { return {EKind::STRUCTURED, "object", {}}; }
    static void From(const TJson& json, T& value, const TCJsonPath& path) { ReadJson(json, value, path); }
};

/// Lists and sets.
template <class Container>
struct TSequenceForm
{
    using TElement = typename Container::value_type;
    static TSType Type() { return ListType(TJsonForm<TElement>::Type()); }
    static TJson To(const Container& value)
    {
        TJson list = NewList();
        for (const TElement& element : value)
        {
            Append(list, TJsonForm<TElement>::To(element));
        }
        return list;
    }
    static void From(const TJson& json, Container& value, const TCJsonPath& path)
    {
        Container fresh;
        for (const TJson& each : ElementsOf(json, path))
        {
            const std::size_t index = fresh.size();
            const TCJsonPath place(path, index);
            TElement element = NewValue<TElement>();
            TJsonForm<TElement>::From(each, element, place);
            fresh.insert(fresh.end(), std::move(element));
            if (fresh.size() != index + 1)
            {
                RefuseTwice(place, "element is in the list");
            }
        }
        value = std::move(fresh);
    }
};
template <class E>
struct TJsonForm<std::vector<E>> : TSequenceForm<std::vector<E>>
{
};
template <class E>
struct TJsonForm<std::list<E>> : TSequenceForm<std::list<E>>
{
};
template <class E>
struct TJsonForm<std::set<E>> : TSequenceForm<std::set<E>>
{
};

/// Maps: an object whose member names are the keys' texts.
template <class K, class V>
struct TJsonForm<std::map<K, V>>
{
    static TSType Type() { return MapType(TJsonForm<K>::Type(), TJsonForm<V>::Type()); }
    static TJson To(const std::map<K, V>& map)
    {
        TJson object = NewObject();
        for (const auto& [key, value] : map)
        {
            Put(object, KeyText(key), TJsonForm<V>::To(value));
        }
        return object;
    }
    static void From(const TJson& json, std::map<K, V>& map, const TCJsonPath& path)
    {
        std::map<K, V> fresh;
        for (const auto& [name, member] : MembersOf(json, path))
        {
            const TCJsonPath place(path, name);
            K key{};
            TJsonForm<K>::From(TextToJson(name), key, place);
            V value = NewValue<V>();
            TJsonForm<V>::From(member, value, place);
            if (!fresh.emplace(std::move(key), std::move(value)).second)
            {
                RefuseTwice(place, "key is in the map");
            }
        }
        map = std::move(fresh);
    }

private:
    static std::string KeyText(const K& key)
    {
        if constexpr (requires { TJsonForm<K>::Text(key); })
        {
            return TJsonForm<K>::Text(key);
        }
        else
        {
            return WordOf(TJsonForm<K>::To(key));
        }
    }
};

/// Another form of a record, as text; specialised for those that have one:
///   static void From(std::string_view text, T& record, const TCJsonPath& path);
///   static std::string To(const T& record);   optional; needed for the keys of maps
template <class T>
struct TRecordText;

/// Records: an object. Members that are not given keep the value of a new record; unknown ones are refused.
template <class T>
struct TJsonForm<T, std::enable_if_t<protocol::HAS_MEMBERS<T>>>
{
    static TSType Type()
    {
        TSType type{EKind::STRUCTURED, protocol::NameOf<T>(), {}};
        T record = NewValue<T>();
        protocol::ForEachMember(record, [&]<class Field>(const auto& row, Field&)
                                { AddMember(type, row.NAME, TJsonForm<Field>::Type()); });
        type.text += "}";
        return type;
    }
    static TJson To(const T& record)
    {
        TJson object = NewObject();
        protocol::ForEachMember(record, [&]<class Field>(const auto& row, const Field& field)
                                { Put(object, row.NAME, TJsonForm<Field>::To(field)); });
        return object;
    }
    static void From(const TJson& json, T& record, const TCJsonPath& path)
    {
        if constexpr (requires { TRecordText<T>::From(std::string_view(), record, path); })
        {
            if (const std::string* const text = TextOf(json))
            {
                TRecordText<T>::From(*text, record, path);
                return;
            }
        }
        T fresh = NewValue<T>();
        std::vector<const char*> known;
        protocol::ForEachMember(fresh,
                                [&]<class Field>(const auto& row, Field& field)
                                {
                                    known.push_back(row.NAME);
                                    if (const TJson* const member = FindMember(json, row.NAME, path))
                                    {
                                        TJsonForm<Field>::From(*member, field, TCJsonPath(path, row.NAME));
                                    }
                                });
        RefuseOthers(json, known, protocol::NameOf<T>(), path);
        record = std::move(fresh);
    }
    static std::string Text(const T& record) requires requires { TRecordText<T>::To(record); }
    {
        return TRecordText<T>::To(record);
    }
};

/// The JSON form of a value. Reentrant.
template <class T>
TJson ToJson(const T& value)
{
    return TJsonForm<T>::To(value);
}

/// Reads what ToJson gives. Reentrant.
/// \param[in]  path   what to call the value in an error's text
/// \param[out] value  replaced; unchanged when something is wrong
/// \throws TCJsonError, which names the place
template <class T>
void FromJson(const TJson& json, T& value, const TCJsonPath& path = TCJsonPath())
{
    TJsonForm<T>::From(json, value, path);
}

template <class T>
T FromJson(const TJson& json, const TCJsonPath& path = TCJsonPath())
{
    T value = NewValue<T>();
    TJsonForm<T>::From(json, value, path);
    return value;
}
} // namespace CIM::json
