#pragma once

#include "protocol_page/WireText.h"

#include "json/ToJson.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>

// The types that travel, as rows of tables in Lua. A row says what its bytes are, and what of it is told: as the JSON
// form tells it.

namespace CIM::dissector
{
using TRows = std::map<std::string, std::string>;

inline std::string Quoted(std::string_view text)
{
    std::string quoted = "\"";
    for (const char c : text)
    {
        quoted += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return quoted + '"';
}

/// The rows of types and the names of enumerations, each by its name and once.
class TCTypeRows
{
public:
    /// Sees to it that a type has its row. \return the name of the row
    template <class T>
    std::string Add();
    /// A type whose fields are sent one by one, as arguments.
    template <class T>
    std::string AddSpread();
    /// Sees to it that an enumeration has its names. \param[in] entries  pairs of a number and its name
    template <class Entries>
    void AddNames(std::string_view enumeration, const Entries& entries);

    const TRows& Types() const { return m_types; }
    const TRows& Names() const { return m_names; }

private:
    template <class T>
    std::string m_PlainRow(int size);
    template <class T>
    std::string m_ObjectRow();
    template <class T>
    std::string m_RecordRow();
    template <class Container, class Element>
    std::string m_Add(const page::TAdapterText<TSequenceForm<Container, Element>>*);
    template <class Container, class Element>
    std::string m_Add(const page::TAdapterText<TSetForm<Container, Element>>*);
    template <class Container, class Value>
    std::string m_Add(const page::TAdapterText<TMapForm<Container, Value>>*);
    std::string m_Add(const page::TAdapterText<TCMarshalableString>*) { return m_Put("text", "kind = \"text\""); }
    std::string m_Add(const page::TAdapterText<TCMarshalableWString>*) { return m_AddWide(); }
    std::string m_AddWide() { return m_Put("wide text", "kind = \"wide\""); }
    std::string m_Put(const std::string& name, const std::string& row)
    {
        m_types.emplace(name, row);
        return name;
    }

    TRows m_types;
    TRows m_names;
};

template <class Entries>
void TCTypeRows::AddNames(std::string_view enumeration, const Entries& entries)
{
    std::string& row = m_names[std::string(enumeration)];
    if (!row.empty())
    {
        return;
    }
    std::set<std::int64_t> known; // of two names the first counts
    for (const auto& [value, name] : entries)
    {
        if (known.insert(static_cast<std::int64_t>(value)).second)
        {
            row +=
                (row.empty() ? "[" : ", [") + std::to_string(static_cast<std::int64_t>(value)) + "] = " + Quoted(name);
        }
    }
}

/// A number, flag or enumeration of so many bytes.
template <class T>
std::string TCTypeRows::m_PlainRow(int size)
{
    std::string row = "size = " + std::to_string(size) + ", kind = ";
    if constexpr (std::is_enum_v<T>)
    {
        const std::string_view name = TSEnumNames<T>::type;
        AddNames(name, TSEnumNames<T>::entries);
        return row + "\"enum\", names = " + Quoted(name);
    }
    return row + (std::is_same_v<T, bool> ? "\"flag\"" : std::is_signed_v<T> ? "\"int\"" : "\"uint\"");
}

template <class T>
std::string TCTypeRows::m_ObjectRow()
{
    const json::TSType type = json::TJsonForm<T>::Type();
    const bool isHolder = !type.text.starts_with(std::string(protocol::NameOf<T>()) + " {"); // told as its one member
    std::string row = std::string("kind = \"object\"") + (isHolder ? ", isHolder = true" : "");
    T object;
    protocol::ForEachMember(object,
                            [&]<class Row, class Field>(const Row& member, Field&)
                            {
                                std::string name;
                                if constexpr (Row::FORM == protocol::EFieldForm::LOW_BYTE)
                                {
                                    name = m_Put(
                                        "low byte of " + std::string(protocol::NameOf<Field>()),
                                        m_PlainRow<Field>(page::PushedWidth<protocol::TLowByteForm<Field>, Field>()));
                                }
                                else if constexpr (std::is_same_v<Field, std::vector<unsigned short>>)
                                {
                                    name = isHolder && type.kind == json::EKind::TEXT ? m_AddWide() : Add<Field>();
                                }
                                else
                                {
                                    name = Add<Field>();
                                }
                                row += ", {tag = " + std::to_string(member.tag) + ", name = " + Quoted(member.NAME) +
                                       ", type = " + Quoted(name) + "}";
                            });
    return row;
}

/// What travels as its bytes in memory.
template <class T>
std::string TCTypeRows::m_RecordRow()
{
    std::string row = "kind = \"record\", size = " + std::to_string(sizeof(T));
    T record;
    protocol::ForEachMember(record,
                            [&]<class Field>(const auto& member, Field& field)
                            {
                                const auto offset =
                                    reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&record);
                                row += ", {offset = " + std::to_string(offset) + ", name = " + Quoted(member.NAME) +
                                       ", type = " + Quoted(Add<Field>()) + "}";
                            });
    return row;
}

template <class T>
std::string TCTypeRows::AddSpread()
{
    std::string row = "kind = \"object\"";
    unsigned tag = 0;
    T object;
    protocol::ForEachMember(object,
                            [&]<class Field>(const auto& member, Field&)
                            {
                                row += ", {tag = " + std::to_string(tag++) + ", name = " + Quoted(member.NAME) +
                                       ", type = " + Quoted(Add<Field>()) + "}";
                            });
    return m_Put("fields of " + std::string(protocol::NameOf<T>()), row);
}

template <class Container, class Element>
std::string TCTypeRows::m_Add(const page::TAdapterText<TSequenceForm<Container, Element>>*)
{
    if constexpr (std::is_same_v<Element, unsigned char>)
    {
        return m_Put("bytes", "kind = \"bytes\"");
    }
    const std::string element = Add<Element>();
    return m_Put("list of " + element,
                 "kind = \"list\", of = " + Quoted(element) + (IsPlainElement<Element> ? ", isPacked = true" : ""));
}

template <class Container, class Element>
std::string TCTypeRows::m_Add(const page::TAdapterText<TSetForm<Container, Element>>*)
{
    const std::string element = Add<Element>();
    return m_Put("set of " + element, "kind = \"list\", of = " + Quoted(element));
}

template <class Container, class Value>
std::string TCTypeRows::m_Add(const page::TAdapterText<TMapForm<Container, Value>>*)
{
    const std::string key = Add<typename Container::key_type>();
    const std::string value = Add<Value>();
    return m_Put("map of " + key + " to " + value, "kind = \"map\", key = " + Quoted(key) + ", of = " + Quoted(value));
}

template <class T>
std::string TCTypeRows::Add()
{
    if constexpr (std::is_base_of_v<TIMarshalable, T>)
    {
        return m_Put(protocol::NameOf<T>(), m_ObjectRow<T>());
    }
    else if constexpr (std::is_class_v<T> && IsPlainElement<T>)
    {
        return m_Put(protocol::NameOf<T>(), m_RecordRow<T>());
    }
    else if constexpr (!std::is_void_v<page::TAdapterOf<T>>)
    {
        return m_Add(static_cast<const page::TAdapterText<page::TAdapterOf<T>>*>(nullptr));
    }
    else
    {
        return m_Put(json::TJsonForm<T>::Type().text, m_PlainRow<T>(page::PushedWidth<TForm<T>, T>()));
    }
}
} // namespace CIM::dissector
