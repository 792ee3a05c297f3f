#pragma once

#include "protocol/ValueMembers.h"

#include <ciapi/CIEnumNames.h>
#include <ciapi/CIPlatformEnumNames.h>
#include <ciapi/CISignalDataType.h>

#include <map>
#include <string>
#include <type_traits>
#include <utility>

// The form of a type on the wire in words, by what carries it there: the width that a plain value is pushed with, the
// adapter of a container or text. What the words name is explained by a glossary.

namespace CIM::page
{
/// What the words of the page name, by name: the lines that explain each.
struct SGlossary
{
    std::map<std::string, std::string> objects;
    std::map<std::string, std::string> packedRecords;
    std::map<std::string, std::string> enumerations;
};

inline std::string Code(std::string_view text) { return "`" + std::string(text) + "`"; }

/// Takes the place of a tree: only how wide a value is pushed is of interest.
struct TSWidthProbe
{
    int& bytes;

    void Value(int width, void*) const { bytes = width; }
    void Object(TIMarshalable*) const {}
};

/// How wide a form pushes its value.
template <class Form, class T>
int PushedWidth()
{
    T value{};
    Form form(value);
    int bytes = 0;
    form.Push(TSWidthProbe{bytes});
    return bytes;
}

/// The adapter of a text or the form of a container; void for a type that travels without one.
template <class Adapter, class T>
Adapter AdapterIn(const TAdapterForm<Adapter, T>*);
template <class Form, class T>
Form AdapterIn(const TContainerForm<Form, T>*);
void AdapterIn(const void*);
template <class T>
using TAdapterOf = decltype(AdapterIn(static_cast<TForm<T>*>(nullptr)));

template <class T>
std::string WireText(SGlossary& glossary);

/// What an adapter makes of a type, in words.
template <class Adapter>
struct TAdapterText;
template <>
struct TAdapterText<TCMarshalableString>
{
    static std::string Of(SGlossary&) { return "byte string"; }
};
template <>
struct TAdapterText<TCMarshalableWString>
{
    static std::string Of(SGlossary&) { return "string of 16-bit code units"; }
};
template <class Container, class Element>
struct TAdapterText<TSequenceForm<Container, Element>>
{
    static std::string Of(SGlossary& glossary) { return "sequence of " + WireText<Element>(glossary); }
};
template <class Container, class Element>
struct TAdapterText<TSetForm<Container, Element>>
{
    static std::string Of(SGlossary& glossary) { return "set of " + WireText<Element>(glossary); }
};
template <class Container, class Value>
struct TAdapterText<TMapForm<Container, Value>>
{
    static std::string Of(SGlossary& glossary)
    {
        return "map of " + WireText<typename Container::key_type>(glossary) + " to " + WireText<Value>(glossary);
    }
};

/// Explains an enumeration: its values and their names.
template <class E>
void Explain(SGlossary& glossary)
{
    std::string& text = glossary.enumerations[std::string(TSEnumNames<E>::type)];
    if (!text.empty())
    {
        return;
    }
    for (const auto& [value, name] : TSEnumNames<E>::entries)
    {
        text += (text.empty() ? "" : ", ") + std::to_string(static_cast<long long>(value)) + " " + Code(name);
    }
}

/// Explains an object: a line of a table for each field.
template <class T>
void ExplainObject(SGlossary& glossary)
{
    const std::string name = protocol::NameOf<T>();
    if (!glossary.objects.try_emplace(name).second)
    {
        return;
    }
    std::string lines;
    T object;
    protocol::ForEachMember(object,
                            [&]<class Row, class Field>(const Row& row, Field&)
                            {
                                std::string form = WireText<Field>(glossary);
                                if constexpr (Row::FORM == protocol::EFieldForm::LOW_BYTE)
                                {
                                    form = std::to_string(PushedWidth<protocol::TLowByteForm<Field>, Field>()) +
                                           "-byte low byte of " + Code(protocol::NameOf<Field>());
                                }
                                lines += "| " + Code(name) + " | " + std::to_string(row.tag) + " | " + Code(row.NAME) +
                                         " | " + form + " |\n";
                            });
    glossary.objects[name] = lines;
}

/// Explains what travels as its bytes in memory: a line of a table for each field and each gap.
template <class T>
void ExplainPacked(SGlossary& glossary)
{
    const std::string name = protocol::NameOf<T>();
    if (!glossary.packedRecords.try_emplace(name).second)
    {
        return;
    }
    std::string lines;
    const auto addLine = [&](std::size_t offset, const std::string& field, const std::string& form)
    { lines += "| " + Code(name) + " | " + std::to_string(offset) + " | " + field + " | " + form + " |\n"; };
    T record;
    std::size_t end = 0;
    const auto addFiller = [&](std::size_t next)
    {
        if (next > end)
        {
            addLine(end, "filler", std::to_string(next - end) + " bytes of zero");
        }
    };
    protocol::ForEachMember(record,
                            [&]<class Field>(const auto& row, Field& field)
                            {
                                const auto offset = static_cast<std::size_t>(reinterpret_cast<const char*>(&field) -
                                                                             reinterpret_cast<const char*>(&record));
                                addFiller(offset);
                                addLine(offset, Code(row.NAME), WireText<Field>(glossary));
                                end = offset + sizeof(Field);
                            });
    addFiller(sizeof(T));
    glossary.packedRecords[name] = lines;
}

/// The form of a type in words: "2-byte unsigned", "4-byte `ECamStatus`", "object `TCIText`", "sequence of ...".
template <class T>
std::string WireText(SGlossary& glossary)
{
    if constexpr (std::is_base_of_v<TIMarshalable, T>)
    {
        ExplainObject<T>(glossary);
        return "object " + Code(protocol::NameOf<T>());
    }
    else if constexpr (std::is_class_v<T> && IsPlainElement<T>)
    {
        ExplainPacked<T>(glossary);
        return std::to_string(sizeof(T)) + "-byte " + Code(protocol::NameOf<T>());
    }
    else if constexpr (!std::is_void_v<TAdapterOf<T>>)
    {
        return TAdapterText<TAdapterOf<T>>::Of(glossary);
    }
    else
    {
        std::string kind;
        if constexpr (std::is_enum_v<T>)
        {
            Explain<T>(glossary);
            kind = Code(TSEnumNames<T>::type);
        }
        else
        {
            kind = std::is_same_v<T, bool> ? "flag" : std::is_signed_v<T> ? "signed" : "unsigned";
        }
        return std::to_string(PushedWidth<TForm<T>, T>()) + "-byte " + kind;
    }
}
} // namespace CIM::page
