#pragma once

#include "marshalling/WireForm.h"
#include "protocol/Name.h"

#include <cstddef>
#include <tuple>
#include <type_traits>

// The members of value types, as data that the compiler checks: one row a member. The tree form, equality, the JSON
// form and the protocol page come from it.

namespace CIM::protocol
{
/// How a field travels when not as its type says.
enum class EFieldForm
{
    OF_TYPE,
    LOW_BYTE, ///< only the low byte of a number or an enumeration; the rest of what the field held is lost
};

namespace detail
{
template <class Pointer>
struct TFieldOf;
template <class Object, class Field>
struct TFieldOf<Field Object::*>
{
    using type = Field;
};
} // namespace detail

/// One row. Made by Member().
template <auto Field_, EFieldForm Form>
struct TMember
{
    static constexpr auto FIELD = Field_;
    static constexpr EFieldForm FORM = Form;
    static constexpr const char* NAME = NameOf<Field_>();

    unsigned tag;
};

/// Makes a row: the field, and its tag in the object's branch.
template <auto Field, EFieldForm Form = EFieldForm::OF_TYPE>
constexpr TMember<Field, Form> Member(unsigned tag)
{
    static_assert(HAS_WIRE_FORM<typename detail::TFieldOf<decltype(Field)>::type>, "this type has no form on the wire");
    return {tag};
}

/// Where the members of a type stand. Each type specialises it with
///   static constexpr std::tuple ROWS;   one row a member, in the order in which they are pushed and compared
template <class T>
struct TMembers;

template <class T, class = void>
inline constexpr bool HAS_MEMBERS = false;
template <class T>
inline constexpr bool HAS_MEMBERS<T, std::void_t<decltype(TMembers<T>::ROWS)>> = true;

/// Calls visitor(row, field) for each member of an object, in order.
template <class T, class Visitor>
constexpr void ForEachMember(T& object, Visitor&& visitor)
{
    std::apply([&](const auto&... row) { (visitor(row, object.*row.FIELD), ...); },
               TMembers<std::remove_const_t<T>>::ROWS);
}

/// Only the low byte travels; reading leaves the field alone when it brings the same low byte.
template <class T>
class TLowByteForm
{
public:
    explicit TLowByteForm(T& value) : m_value(value), m_sent(static_cast<unsigned char>(value)), m_carrier(m_sent) {}
    template <class Place>
    void Push(const Place& place)
    {
        place.Value(sizeof(m_carrier), &m_carrier);
    }
    void Load()
    {
        if (m_carrier != m_sent)
        {
            m_value = static_cast<T>(m_carrier);
        }
    }

private:
    T& m_value;
    const unsigned char m_sent;
    unsigned char m_carrier;
};

/// Pushes every member into a formatter, which writes or reads it. Writing changes nothing, so that objects can be
/// shared.
template <class T>
void PushMembers(TCTreeFormatter& formatter, T& object)
{
    ForEachMember(object,
                  [&]<class Row, class Field>(const Row& row, Field& field)
                  {
                      using TFieldForm =
                          std::conditional_t<Row::FORM == EFieldForm::LOW_BYTE, TLowByteForm<Field>, TForm<Field>>;
                      TFieldForm form(field);
                      form.Push(TSFieldPlace{formatter, row.tag});
                      form.Load();
                  });
}

/// Whether two objects are equal in every member.
template <class T>
bool EqualMembers(const T& left, const T& right)
{
    return std::apply([&](const auto&... row) { return ((left.*row.FIELD == right.*row.FIELD) && ...); },
                      TMembers<T>::ROWS);
}
} // namespace CIM::protocol
