#pragma once

#include "marshalling/MarshalableContainers.h"

#include <tvplatform/MarshallingHelper.h>
#include <tvplatform/Types.h>

#include <cstdint>
#include <list>
#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

// How the type of a parameter decides its form on the wire: its width, or the adapter that makes it marshalable.

namespace CIM::protocol
{
/// The form of a type on the wire, specialised for each kind of type; a type without one cannot stand in a row.
/// A form refers to the value that it was made from, and is pushed while both live. Load brings what was read into the
/// value, Store brings the value into what will be written; most forms lie in the value itself and need neither.
template <class T, class = void>
struct TForm;

template <class T, class = void>
inline constexpr bool HAS_WIRE_TYPE = false;
template <class T>
inline constexpr bool HAS_WIRE_TYPE<T, std::void_t<decltype(sizeof(TForm<T>))>> = true;

template <class T>
inline constexpr bool IS_LONG = std::is_same_v<T, long> || std::is_same_v<T, unsigned long>;

struct TFormInPlace
{
    void Load() {}
    void Store() {}
};

/// Numbers, enumerations, flags: as their bytes.
template <class T>
struct TForm<T, std::enable_if_t<(std::is_integral_v<T> || std::is_enum_v<T>)&&!IS_LONG<T>>> : TFormInPlace
{
    static_assert(sizeof(T) == 1 || sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8);

    explicit TForm(T& value) : m_value(value) {}
    void Push(TCMarshallingHelper& frame, EMarshallingDirection direction)
    {
        frame.PushValue(direction, sizeof(T), &m_value);
    }

private:
    T& m_value;
};

/// A value that travels in a variable of another type: a flag as a byte, because the other side may write any byte and
/// a bool that holds anything but 0 and 1 is undefined; a long as eight bytes everywhere, whatever the machine's word.
template <class T, class Carrier>
struct TCarriedForm
{
    explicit TCarriedForm(T& value) : m_value(value) { Store(); }
    void Push(TCMarshallingHelper& frame, EMarshallingDirection direction)
    {
        frame.PushValue(direction, sizeof(Carrier), &m_carrier);
    }
    void Load() { m_value = static_cast<T>(m_carrier); }
    void Store() { m_carrier = static_cast<Carrier>(m_value); }

private:
    T& m_value;
    Carrier m_carrier;
};
template <>
struct TForm<bool> : TCarriedForm<bool, unsigned char>
{
    using TCarriedForm::TCarriedForm;
};
template <class T>
struct TForm<T, std::enable_if_t<IS_LONG<T>>> : TCarriedForm<T, std::int64_t>
{
    using TForm::TCarriedForm::TCarriedForm;
};

/// A pipeline handle, whole: eight bytes, of which the filler is zero whatever the caller's holds.
template <>
struct TForm<TVSHandle>
{
    explicit TForm(TVSHandle& value) : m_value(value) { Store(); }
    void Push(TCMarshallingHelper& frame, EMarshallingDirection direction)
    {
        frame.PushValue(direction, sizeof(m_carrier), &m_carrier);
    }
    void Load() { m_value = TVSHandle(m_carrier.profile, m_carrier.handle); }
    void Store() { m_carrier = TVSHandle(m_value.profile, m_value.handle); }

private:
    TVSHandle& m_value;
    TVSHandle m_carrier;
};

/// Objects that marshal themselves.
template <class T>
struct TForm<T, std::enable_if_t<std::is_base_of_v<TIMarshalable, T>>> : TFormInPlace
{
    explicit TForm(T& value) : m_value(value) {}
    void Push(TCMarshallingHelper& frame, EMarshallingDirection direction)
    {
        frame.PushMarshalableClass(direction, &m_value);
    }

private:
    T& m_value;
};

/// Containers and texts, through an adapter that refers to them.
template <class Adapter, class T>
struct TAdapterForm : TFormInPlace
{
    explicit TAdapterForm(T& value) : m_adapter(&value) {}
    void Push(TCMarshallingHelper& frame, EMarshallingDirection direction)
    {
        frame.PushMarshalableClass(direction, &m_adapter);
    }

private:
    Adapter m_adapter;
};

template <>
struct TForm<std::string> : TAdapterForm<TCMarshalableString, std::string>
{
    using TAdapterForm::TAdapterForm;
};
template <>
struct TForm<std::basic_string<unsigned short>> : TAdapterForm<TCMarshalableWString, std::basic_string<unsigned short>>
{
    using TAdapterForm::TAdapterForm;
};
template <class E>
struct TForm<std::vector<E>> : TAdapterForm<TCMarshalableOneDimensionContainer<std::vector<E>, E>, std::vector<E>>
{
    using TForm::TAdapterForm::TAdapterForm;
};
template <class E>
struct TForm<std::list<E>> : TAdapterForm<TCMarshalableOneDimensionContainer<std::list<E>, E>, std::list<E>>
{
    using TForm::TAdapterForm::TAdapterForm;
};
template <class E>
struct TForm<std::set<E>> : TAdapterForm<TCMarshalableSetContainer<std::set<E>, E>, std::set<E>>
{
    using TForm::TAdapterForm::TAdapterForm;
};
template <class K, class V>
struct TForm<std::map<K, V>> : TAdapterForm<TCMarshalableMapContainer<std::map<K, V>, V>, std::map<K, V>>
{
    using TForm::TAdapterForm::TAdapterForm;
};
} // namespace CIM::protocol
