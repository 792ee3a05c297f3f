#pragma once

#include "json/OperationForm.h"
#include "json/Secret.h"
#include "json/ValueForms.h"

#include "protocol/RowCode.h"

#include <array>
#include <tuple>

// From the rows of a table to TCOperationForm: only what needs a row's types. What needs no more than the type of one
// value is compiled once for all rows that have such a value.

namespace CIM::json
{
/// Never sent and never read from JSON: the user data of a subscription.
template <>
struct TJsonForm<void*>
{
    static TSType Type() { return {EKind::STRUCTURED, "address", {}}; }
    static TJson To(const void*) { return nullptr; }
    static void From(const TJson&, void*&, const TCJsonPath& path)
    {
        throw TCJsonError(path, "an address cannot be given");
    }
};

template <class T>
const TSType& TypeOf()
{
    static const TSType type = TJsonForm<T>::Type();
    return type;
}

template <class T>
TJson ValueToJson(const void* value)
{
    return TJsonForm<T>::To(*static_cast<const T*>(value));
}

template <class T>
void ValueFromJson(const TJson& json, void* value, const TCJsonPath& path)
{
    TJsonForm<T>::From(json, *static_cast<T*>(value), path);
}

template <class T>
TJson ValueAsWritten(const TJson& json, const TCJsonPath& path)
{
    T value{};
    TJsonForm<T>::From(json, value, path);
    return TJsonForm<T>::To(value);
}

/// What overwrites a value; null for what holds neither a text nor bytes.
template <class T>
constexpr auto WipeOf() -> void (*)(void*)
{
    if constexpr (std::is_same_v<T, TCIText>)
    {
        return [](void* value) { Wipe(static_cast<T*>(value)->text); };
    }
    else if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, std::vector<unsigned char>>)
    {
        return [](void* value) { Wipe(*static_cast<T*>(value)); };
    }
    return nullptr;
}

template <class T>
inline constexpr TSValueForm VALUE_FORM{&TypeOf<T>, &ValueToJson<T>, &ValueFromJson<T>, &ValueAsWritten<T>,
                                        WipeOf<T>()};

/// What the forms of a row's values are.
struct TSRowForm
{
    const TSValueForm* result;
    std::span<const TSValueForm* const> parameters;
};

template <class Values>
struct TValueForms;
template <class... T>
struct TValueForms<std::tuple<T...>>
{
    static constexpr std::array<const TSValueForm*, sizeof...(T)> ALL{&VALUE_FORM<T>...};
};

template <class... Rows>
constexpr std::array<TSRowForm, sizeof...(Rows)> FormsOf(const std::tuple<Rows...>&)
{
    return {TSRowForm{&VALUE_FORM<typename Rows::Result>, TValueForms<typename Rows::Values>::ALL}...};
}

/// The form of an interface.
template <class Interface>
TCInterfaceForm MakeInterfaceForm()
{
    static constexpr auto FORMS = FormsOf(protocol::TTable<Interface>::ROWS);
    const char* const name = protocol::NameOf<Interface>();
    const auto code = protocol::RowCodes<Interface>();
    std::vector<TCOperationForm> operations;
    for (std::size_t i = 0; i < FORMS.size(); ++i)
    {
        operations.emplace_back(name, code[i], *FORMS[i].result, FORMS[i].parameters);
    }
    return TCInterfaceForm(name, protocol::TTable<Interface>::ConnectionName(), std::move(operations));
}
} // namespace CIM::json
