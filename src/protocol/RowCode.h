#pragma once

#include "protocol/InterfaceList.h"
#include "protocol/Operation.h"

#include <memory>
#include <span>

// The rows of the tables as code that needs no types any more, for whoever handles all operations alike. It is compiled
// once, in RowCodes.cpp: each type of value for all rows that have it, and each row as a list of them and a call.

namespace CIM::protocol
{
/// A value of a call, its result or one of its parameters, as both sides push it.
class TIPushedValue
{
public:
    virtual ~TIPushedValue() = default;
    /// The object itself.
    virtual void* Address() = 0;
    /// Pushes it, unless it is never sent.
    virtual void Push(TCMarshallingHelper& frame) = 0;
    /// Brings what a frame has read into the value; what was put into the value into what a frame will write.
    virtual void Load() = 0;
    virtual void Store() = 0;
};

struct SRowCode
{
    using TNewValue = std::unique_ptr<TIPushedValue> (*)();

    const char* name;
    short id;
    bool isLocal;   ///< never sent
    bool hasOneWay; ///< the last parameter is the one-way flag
    TNewValue newResult;
    std::span<const TNewValue> newValues;
    std::span<const EWord> words;
    const char* const* parameterNames;
    /// Calls the operation of an object that is the interface; given the addresses of the result and of the values.
    void (*call)(void* object, void* result, void* const* values);
};

/// The rows of all interfaces, in the order of TInterfaces.
std::span<const std::span<const SRowCode>> AllRowCodes();

template <class Interface, class... Interfaces>
constexpr std::size_t IndexIn(TList<Interfaces...>)
{
    constexpr bool isIt[] = {std::is_same_v<Interface, Interfaces>...};
    std::size_t index = 0;
    while (!isIt[index])
    {
        ++index;
    }
    return index;
}

/// The rows of an interface, in slot order.
template <class Interface>
std::span<const SRowCode> RowCodes()
{
    return AllRowCodes()[IndexIn<Interface>(TInterfaces())];
}
} // namespace CIM::protocol
