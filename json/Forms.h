#pragma once

#include "json/Scalars.h"

#include "protocol/ValueMembers.h"

#include <limits>
#include <list>
#include <map>
#include <optional>
#include <set>
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

template <>
struct TJsonForm<bool>
{
    static TSType Type() { return {EKind::BOOL, "bool", {}}; }
    static TJson To(bool value) { return value; }
    static void From(const TJson& json, bool& value, const TCJsonPath& path) { value = BoolFromJson(json, path); }
};

template <class T>
struct TJsonForm<T, std::enable_if_t<std::is_integral_v<T>>>
{
    static TSType Type()
    {
        return {EKind::NUMBER, (std::is_signed_v<T> ? "int" : "uint") + std::to_string(8 * sizeof(T)), {}};
    }
    static TJson To(T value) { return value; }
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
    static TSType Type() { return {EKind::ENUM, std::string(TSEnumNames<E>::type), {&Enumeration<E>()}}; }
    static TJson To(E value) { return EnumToJson(Enumeration<E>(), value); }
    static void From(const TJson& json, E& value, const TCJsonPath& path)
    {
        value = static_cast<E>(EnumFromJson(Enumeration<E>(), json, path));
    }
};

template <>
struct TJsonForm<std::string>
{
    static TSType Type() { return {EKind::TEXT, "text", {}}; }
    static TJson To(const std::string& value) { return TextToJson(value); }
    static void From(const TJson& json, std::string& value, const TCJsonPath& path)
    {
        value = TextFromJson(json, path);
    }
};

template <>
struct TJsonForm<std::basic_string<unsigned short>>
{
    using TWide = std::basic_string<unsigned short>;
    static TSType Type() { return {EKind::TEXT, "text", {}}; }
    static TJson To(const TWide& value) { return WideToJson({value.data(), value.size()}); }
    static void From(const TJson& json, TWide& value, const TCJsonPath& path)
    {
        const std::vector<unsigned short> units = WideFromJson(json, path);
        value.assign(units.begin(), units.end());
    }
};

template <>
struct TJsonForm<std::u16string>
{
    static TSType Type() { return {EKind::TEXT, "text", {}}; }
    static void From(const TJson& json, std::u16string& value, const TCJsonPath& path)
    {
        const std::vector<unsigned short> units = WideFromJson(json, path);
        value.assign(units.begin(), units.end());
    }
};

/// Any JSON at all.
template <>
struct TJsonForm<TJson>
{
    static TSType Type() { return {EKind::STRUCTURED, "JSON", {}}; }
    static TJson To(const TJson& value) { return value; }
    static void From(const TJson& json, TJson& value, const TCJsonPath&) { value = json; }
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

template <>
struct TJsonForm<std::vector<unsigned char>>
{
    static TSType Type() { return {EKind::BYTES, "bytes", {}}; }
    static TJson To(const std::vector<unsigned char>& value) { return BytesToHex(value); }
    static void From(const TJson& json, std::vector<unsigned char>& value, const TCJsonPath& path)
    {
        value = BytesFromJson(json, path);
    }
};

/// Lists and sets.
template <class Container>
struct TSequenceForm
{
    using TElement = typename Container::value_type;
    static TSType Type()
    {
        TSType element = TJsonForm<TElement>::Type();
        return {EKind::STRUCTURED, "list of " + element.text, std::move(element.enumerations)};
    }
    static TJson To(const Container& value)
    {
        TJson list = TJson::array();
        for (const TElement& element : value)
        {
            list.push_back(TJsonForm<TElement>::To(element));
        }
        return list;
    }
    static void From(const TJson& json, Container& value, const TCJsonPath& path)
    {
        if (!json.is_array())
        {
            throw TCJsonError(path, std::string("a list is needed, not ") + KindOf(json));
        }
        Container fresh;
        for (std::size_t index = 0; index < json.size(); ++index)
        {
            const TCJsonPath place(path, index);
            TElement element = NewValue<TElement>();
            TJsonForm<TElement>::From(json[index], element, place);
            fresh.insert(fresh.end(), std::move(element));
            if (fresh.size() != index + 1)
            {
                throw TCJsonError(place, "this element is in the list already");
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
    static TSType Type()
    {
        TSType type = TJsonForm<K>::Type();
        TSType value = TJsonForm<V>::Type();
        type.text = "map of " + type.text + " to " + value.text;
        type.kind = EKind::STRUCTURED;
        type.enumerations.insert(type.enumerations.end(), value.enumerations.begin(), value.enumerations.end());
        return type;
    }
    static TJson To(const std::map<K, V>& map)
    {
        TJson object = TJson::object();
        for (const auto& [key, value] : map)
        {
            object[KeyText(key)] = TJsonForm<V>::To(value);
        }
        return object;
    }
    static void From(const TJson& json, std::map<K, V>& map, const TCJsonPath& path)
    {
        if (!json.is_object())
        {
            throw TCJsonError(path, std::string("an object is needed, not ") + KindOf(json));
        }
        std::map<K, V> fresh;
        for (const auto& member : json.items())
        {
            const TCJsonPath place(path, member.key());
            K key{};
            TJsonForm<K>::From(member.key(), key, place);
            V value = NewValue<V>();
            TJsonForm<V>::From(member.value(), value, place);
            if (!fresh.emplace(std::move(key), std::move(value)).second)
            {
                throw TCJsonError(place, "this key is in the map already");
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
            const TJson text = TJsonForm<K>::To(key);
            return text.is_string() ? text.template get<std::string>() : text.dump();
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
        const char* separator = " {";
        T record = NewValue<T>();
        protocol::ForEachMember(record,
                                [&]<class Field>(const auto& row, Field&)
                                {
                                    TSType inner = TJsonForm<Field>::Type();
                                    type.text.append(separator).append(row.NAME).append(": ").append(inner.text);
                                    type.enumerations.insert(type.enumerations.end(), inner.enumerations.begin(),
                                                             inner.enumerations.end());
                                    separator = ", ";
                                });
        type.text += "}";
        return type;
    }
    static TJson To(const T& record)
    {
        TJson object = TJson::object();
        protocol::ForEachMember(record, [&]<class Field>(const auto& row, const Field& field)
                                { object[row.NAME] = TJsonForm<Field>::To(field); });
        return object;
    }
    static void From(const TJson& json, T& record, const TCJsonPath& path)
    {
        if constexpr (requires { TRecordText<T>::From(std::string_view(), record, path); })
        {
            if (json.is_string())
            {
                TRecordText<T>::From(json.get_ref<const std::string&>(), record, path);
                return;
            }
        }
        if (!json.is_object())
        {
            throw TCJsonError(path, std::string("an object is needed, not ") + KindOf(json));
        }
        T fresh = NewValue<T>();
        std::set<std::string_view> known;
        protocol::ForEachMember(fresh,
                                [&]<class Field>(const auto& row, Field& field)
                                {
                                    known.insert(row.NAME);
                                    if (const auto found = json.find(row.NAME); found != json.end())
                                    {
                                        TJsonForm<Field>::From(*found, field, TCJsonPath(path, row.NAME));
                                    }
                                });
        for (const auto& member : json.items())
        {
            if (known.count(member.key()) == 0)
            {
                throw TCJsonError(TCJsonPath(path, member.key()),
                                  std::string("there is no such member in ") + protocol::NameOf<T>());
            }
        }
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
