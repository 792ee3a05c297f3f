#include "Forms.h"
#include "Operations.h"

#include "protocol/Interfaces.h"

#include "json/Secret.h"

#include <array>
#include <tuple>

// What needs the rows' types: each type of value once, and each row as a list of them.

namespace CIM::python
{
namespace
{
template <class T>
constexpr auto WipeOf() -> void (*)(void*)
{
    if constexpr (std::is_same_v<T, TCIText>)
    {
        return [](void* value) { json::Wipe(static_cast<T*>(value)->text); };
    }
    else if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, std::vector<unsigned char>>)
    {
        return [](void* value) { json::Wipe(*static_cast<T*>(value)); };
    }
    return nullptr;
}

template <class T>
inline constexpr TSPyForm FORM{
    &TPyForm<T>::Annotation, [](const void* value) { return TPyForm<T>::To(*static_cast<const T*>(value)); },
    [](py::handle given, void* value) { TPyForm<T>::From(given, *static_cast<T*>(value)); }, WipeOf<T>()};

template <class Values>
struct TForms;
template <class... T>
struct TForms<std::tuple<T...>>
{
    static constexpr std::array<const TSPyForm*, sizeof...(T)> ALL{&FORM<T>...};
};

template <class Interface>
constexpr auto FORMS = std::apply(
    [](const auto&... row)
    {
        return std::array{TSRowForm{&FORM<typename std::remove_cvref_t<decltype(row)>::Result>,
                                    TForms<typename std::remove_cvref_t<decltype(row)>::Values>::ALL}...};
    },
    protocol::TTable<Interface>::ROWS);

template <class... Interfaces>
struct TAllForms
{
    static constexpr std::array<std::span<const TSRowForm>, sizeof...(Interfaces)> ALL{FORMS<Interfaces>...};
};
} // namespace

std::span<const TSRowForm> RowForms(std::size_t interface)
{
    return protocol::TInterfaces::As<TAllForms>::ALL.at(interface);
}
} // namespace CIM::python
