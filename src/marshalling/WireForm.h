#pragma once

#include "marshalling/MarshalableContainers.h"

#include <tvplatform/Formatter.h>
#include <tvplatform/MarshallingHelper.h>
#include <tvplatform/Types.h>

#include <cstdint>
#include <cstring>
#include <list>
#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

// How the type of a value decides its form on the wire: its width, or the adapter that makes it marshalable. The same
// for an argument of a call and for a field of an object.

namespace CIM
{
/// Where a form is pushed: as an argument of a call, into its frame or whatever takes arguments like one ...
template <class Frame>
struct TArgumentPlace
{
    Frame& frame;
    EMarshallingDirection direction;

    void Value(int width, void* address) const { frame.PushValue(direction, width, address); }
    void Object(TIMarshalable* object) const { frame.PushMarshalableClass(direction, object); }
};
/// ... or as a field of an object, which is written or read at once.
struct TSFieldPlace
{
    TCTreeFormatter& formatter;
    unsigned tag;

    void Value(int width, void* address) const { formatter.PushValue(tag, width, address); }
    void Object(TIMarshalable* object) const { formatter.PushMarshalableClass(tag, object); }
};

/// The form of a type on the wire, specialised for each kind of type; a type without one cannot travel.
/// A form refers to the value that it was made from, and is pushed while both live. Store brings the value into what
/// will be written, Load brings what was read into the value; most forms lie in the value itself and need neither. No
/// form looks at a value that only comes out, which may be anything, and none changes a value that only goes in.
template <class T, class = void>
struct TForm;

template <class T, class = void>
inline constexpr bool HAS_WIRE_FORM = false;
template <class T>
inline constexpr bool HAS_WIRE_FORM<T, std::void_t<decltype(sizeof(TForm<T>))>> = true;

struct TSFormInPlace
{
    void Load() {}
    void Store() {}
};

template <class T>
inline constexpr bool IS_LONG = std::is_same_v<T, long> || std::is_same_v<T, unsigned long>;

/// Numbers and enumerations: as their bytes.
template <class T>
struct TForm<T, std::enable_if_t<(std::is_integral_v<T> || std::is_enum_v<T>)&&!IS_LONG<T>>> : TSFormInPlace
{
    static_assert(sizeof(T) == 1 || sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8);

    explicit TForm(T& value) : m_value(value) {}
    template <class Place>
    void Push(const Place& place)
    {
        place.Value(sizeof(T), &m_value);
    }

private:
    T& m_value;
};

/// A flag: any byte but 0 that the other side writes counts as true. A bool must not hold such a byte, and one that was
/// never set must not be looked at: only its byte is.
template <>
struct TForm<bool>
{
    static_assert(sizeof(bool) == 1);

    explicit TForm(bool& value) : m_value(value) {}
    template <class Place>
    void Push(const Place& place)
    {
        place.Value(1, &m_value);
    }
    void Store() {}
    void Load()
    {
        unsigned char byte = 0;
        std::memcpy(&byte, &m_value, 1);
        if (byte > 1)
        {
            m_value = true;
        }
    }

private:
    bool& m_value;
};

/// A long: eight bytes everywhere, whatever the machine's word.
template <class T>
struct TForm<T, std::enable_if_t<IS_LONG<T>>>
{
    explicit TForm(T& value) : m_value(value) { Store(); }
    template <class Place>
    void Push(const Place& place)
    {
        place.Value(sizeof(m_carrier), &m_carrier);
    }
    void Load() { m_value = static_cast<T>(m_carrier); }
    void Store() { m_carrier = static_cast<std::int64_t>(m_value); }

private:
    T& m_value;
    std::int64_t m_carrier;
};

/// A pipeline handle, whole: eight bytes, of which the filler is zero whatever the caller's holds.
template <>
struct TForm<TVSHandle>
{
    explicit TForm(TVSHandle& value) : m_value(value) { Store(); }
    template <class Place>
    void Push(const Place& place)
    {
        place.Value(sizeof(m_carrier), &m_carrier);
    }
    void Load() { m_value = TVSHandle(m_carrier.profile, m_carrier.handle); }
    void Store() { m_carrier = TVSHandle(m_value.profile, m_value.handle); }

private:
    TVSHandle& m_value;
    TVSHandle m_carrier;
};

/// Objects that marshal themselves.
template <class T>
struct TForm<T, std::enable_if_t<std::is_base_of_v<TIMarshalable, T>>> : TSFormInPlace
{
    explicit TForm(T& value) : m_value(value) {}
    template <class Place>
    void Push(const Place& place)
    {
        place.Object(&m_value);
    }

private:
    T& m_value;
};

/// Texts, through an adapter that refers to them and holds nothing else: there is nothing to destroy.
template <class Adapter, class T>
struct TAdapterForm : TSFormInPlace
{
    explicit TAdapterForm(T& value) : m_adapter(&value) {}
    ~TAdapterForm() {}
    template <class Place>
    void Push(const Place& place)
    {
        place.Object(&m_adapter);
    }

private:
    union
    {
        Adapter m_adapter;
    };
};

/// What is done with a container whose type only these functions know.
struct TSContainerFunctions
{
    bool (*write)(void* container, TCTreeBranch& branch);
    bool (*read)(void* container, TCTreeBranch& branch);
};
template <class Form, class T>
inline constexpr TSContainerFunctions CONTAINER_FUNCTIONS = {
    [](void* container, TCTreeBranch& branch) { return Form::Write(*static_cast<T*>(container), branch); },
    [](void* container, TCTreeBranch& branch) { return Form::Read(*static_cast<T*>(container), branch); },
};

/// The one class of object that stands for all containers: a class for each type would be a table and a name for each.
class TCContainerCarrier final : public TCMarshalable
{
public:
    TCContainerCarrier(void* container, const TSContainerFunctions& functions)
        : m_container(container), m_functions(functions)
    {
    }
    bool ClassToTree(TCTreeBranch& branch) override { return m_functions.write(m_container, branch); }
    bool TreeToClass(TCTreeBranch& branch) override { return m_functions.read(m_container, branch); }

private:
    void* m_container;
    const TSContainerFunctions& m_functions;
};

/// Containers, as Form writes and reads them, through a carrier, which holds nothing that would have to be destroyed.
template <class Form, class T>
struct TContainerForm : TSFormInPlace
{
    explicit TContainerForm(T& value) : m_carrier(&value, CONTAINER_FUNCTIONS<Form, T>) {}
    ~TContainerForm() {}
    template <class Place>
    void Push(const Place& place)
    {
        place.Object(&m_carrier);
    }

private:
    union
    {
        TCContainerCarrier m_carrier;
    };
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
struct TForm<std::vector<E>> : TContainerForm<TSequenceForm<std::vector<E>, E>, std::vector<E>>
{
    using TForm::TContainerForm::TContainerForm;
};
template <class E>
struct TForm<std::list<E>> : TContainerForm<TSequenceForm<std::list<E>, E>, std::list<E>>
{
    using TForm::TContainerForm::TContainerForm;
};
template <class E>
struct TForm<std::set<E>> : TContainerForm<TSetForm<std::set<E>, E>, std::set<E>>
{
    using TForm::TContainerForm::TContainerForm;
};
template <class K, class V>
struct TForm<std::map<K, V>> : TContainerForm<TMapForm<std::map<K, V>, V>, std::map<K, V>>
{
    using TForm::TContainerForm::TContainerForm;
};
} // namespace CIM
