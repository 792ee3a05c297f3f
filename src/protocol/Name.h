#pragma once

#include <array>
#include <cstddef>
#include <string_view>

// The names of members and types, as the compiler writes them: nobody has to say them a second time.

namespace CIM::protocol
{
/// Stands for a member where types are compared.
template <auto Member>
struct TKey;

namespace detail
{
/// The last identifier that the compiler writes for the argument of a template.
constexpr std::string_view LastIdentifier(std::string_view function)
{
    // gcc: "... [with auto Member = &Interface::Name; ...]", clang: "... [Member = &Space::Interface::Name]".
    const std::size_t equals = function.find("= ");
    std::string_view name = function.substr(equals + 2);
    name = name.substr(0, name.find_first_of(";]"));
    return name.substr(name.find_last_of(": &") + 1);
}

template <auto Member>
constexpr std::string_view NameText()
{
    return LastIdentifier(__PRETTY_FUNCTION__);
}
template <class Type>
constexpr std::string_view NameText()
{
    return LastIdentifier(__PRETTY_FUNCTION__);
}

template <std::size_t Size>
constexpr std::array<char, Size + 1> Terminated(std::string_view text)
{
    std::array<char, Size + 1> characters{};
    for (std::size_t i = 0; i < Size; ++i)
    {
        characters[i] = text[i];
    }
    return characters;
}

// Hidden by hand: gcc lets a variable template follow the visibility of its arguments, which are public interfaces.
template <auto Member>
inline constexpr auto MEMBER_NAME
    [[gnu::visibility("hidden")]] = Terminated<NameText<Member>().size()>(NameText<Member>());
template <class Type>
inline constexpr auto TYPE_NAME [[gnu::visibility("hidden")]] = Terminated<NameText<Type>().size()>(NameText<Type>());
} // namespace detail

/// The name of a member function or field, without its class.
template <auto Member>
constexpr const char* NameOf()
{
    return detail::MEMBER_NAME<Member>.data();
}

/// The name of a class or enumeration, without its namespace.
template <class Type>
constexpr const char* NameOf()
{
    return detail::TYPE_NAME<Type>.data();
}
} // namespace CIM::protocol
