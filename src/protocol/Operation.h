#pragma once

#include "protocol/WireType.h"

#include <array>
#include <cstddef>
#include <optional>
#include <tuple>
#include <type_traits>
#include <utility>

// What crosses the bus, as data that the compiler checks: one row an operation, one word a parameter.

namespace CIM::protocol
{
/// What a parameter of an operation is on the wire.
enum class EWord
{
    IN,          ///< sent with the call
    OUT,         ///< written from the reply
    IN_OUT,      ///< both ways
    ONE_WAY,     ///< not sent: chooses a call without a reply
    NOT_SENT,    ///< not sent at all
    IN_MEMBERS,  ///< a pipeline handle sent as two values, its profile and its number
    OUT_MEMBERS, ///< a pipeline handle written from two values
};

/// One parameter of a row: its word and its name, which traces, help and JSON show.
template <EWord Word>
struct TParameter
{
    const char* name;
};

constexpr TParameter<EWord::IN> In(const char* name) { return {name}; }
constexpr TParameter<EWord::OUT> Out(const char* name) { return {name}; }
constexpr TParameter<EWord::IN_OUT> InOut(const char* name) { return {name}; }
constexpr TParameter<EWord::ONE_WAY> OneWay() { return {"oneWay"}; }
constexpr TParameter<EWord::NOT_SENT> NotSent(const char* name) { return {name}; }
constexpr TParameter<EWord::IN_MEMBERS> InMembers(const char* name) { return {name}; }
constexpr TParameter<EWord::OUT_MEMBERS> OutMembers(const char* name) { return {name}; }

/// A row that is never sent: the library answers by itself. It keeps the list of rows as long as the interface.
struct TLocal
{
};
constexpr TLocal Local() { return {}; }

/// Chooses one of several operations of the same name by its declared type.
template <class Signature, class Interface>
constexpr Signature Interface::*Overload(Signature Interface::*member)
{
    return member;
}

constexpr bool IsSent(EWord word) { return word != EWord::ONE_WAY && word != EWord::NOT_SENT; }
constexpr bool IsOutput(EWord word)
{
    return word == EWord::OUT || word == EWord::IN_OUT || word == EWord::OUT_MEMBERS;
}
constexpr bool IsInput(EWord word) { return word == EWord::IN || word == EWord::IN_OUT || word == EWord::IN_MEMBERS; }

namespace detail
{
template <class Argument>
inline constexpr bool IS_WRITABLE =
    std::is_lvalue_reference_v<Argument> && !std::is_const_v<std::remove_reference_t<Argument>>;

template <class Argument, EWord Word>
constexpr bool CheckParameter()
{
    using TValue = std::remove_cvref_t<Argument>;
    static_assert(!IsOutput(Word) || IS_WRITABLE<Argument>,
                  "an output must be declared as a reference that is not const");
    static_assert(IsOutput(Word) || !IS_WRITABLE<Argument>,
                  "a reference that is not const is an output: use Out or InOut");
    static_assert(Word != EWord::ONE_WAY || std::is_same_v<Argument, bool>, "the one-way flag must be a bool");
    if constexpr (Word == EWord::IN_MEMBERS || Word == EWord::OUT_MEMBERS)
    {
        static_assert(std::is_same_v<TValue, TVSHandle>, "only a pipeline handle is sent as its members");
    }
    else if constexpr (IsSent(Word))
    {
        static_assert(HAS_WIRE_TYPE<TValue>, "this type has no form on the wire");
    }
    return true;
}

/// Whether the one-way flag stands anywhere but at the end.
template <EWord... Words>
constexpr bool OneWayIsLast()
{
    constexpr std::array<EWord, sizeof...(Words)> words{Words...};
    for (std::size_t i = 0; i + 1 < words.size(); ++i)
    {
        if (words[i] == EWord::ONE_WAY)
        {
            return false;
        }
    }
    return true;
}

template <class Result>
inline constexpr bool IS_VALUE_RESULT = std::is_same_v<Result, int> || std::is_same_v<Result, bool>;
} // namespace detail

/// One row. Made by Operation(); its type carries the member function's type and the words, so that a proxy, the
/// daemon side and the tools are all built from it.
template <class Interface_, class Result_, class Arguments, EWord... Words>
struct TOperation;

template <class Interface_, class Result_, class... Arguments, EWord... Words>
struct TOperation<Interface_, Result_, std::tuple<Arguments...>, Words...>
{
    using Interface = Interface_;
    using Result = Result_;
    using Member = Result (Interface::*)(Arguments...);
    /// The arguments as objects of their own: what the daemon side and the tools hold.
    using Values = std::tuple<std::remove_cvref_t<Arguments>...>;

    static constexpr std::size_t COUNT = sizeof...(Words);
    static constexpr std::array<EWord, COUNT> WORDS{Words...};
    static constexpr bool HAS_ONE_WAY = ((Words == EWord::ONE_WAY) || ...);
    /// Whether the result is a plain value, pushed before everything else, and not an object in its place.
    static constexpr bool HAS_RESULT_SLOT = detail::IS_VALUE_RESULT<Result>;

    /// Whether these are, in number and type, the arguments that the member function takes.
    template <class... Given>
    static constexpr bool Takes()
    {
        if constexpr (sizeof...(Given) == sizeof...(Arguments))
        {
            return (std::is_same_v<std::remove_cvref_t<Given>, std::remove_cvref_t<Arguments>> && ...);
        }
        return false;
    }

    /// What the result is before the daemon has written it.
    static constexpr Result Seed(bool oneWay)
    {
        if constexpr (std::is_same_v<Result, int>)
        {
            return oneWay ? 1 : -1;
        }
        else
        {
            return Result{};
        }
    }

    Member member;
    short id;
    const char* name;
    std::array<const char*, COUNT> parameterNames;
    bool isLocal;
};

/// Makes a row: the operation, its method identifier, the method's name, and a word for each parameter.
template <class Interface, class Result, class... Arguments, EWord... Words>
constexpr auto Operation(Result (Interface::*member)(Arguments...), short id, const char* name,
                         TParameter<Words>... words)
{
    static_assert(sizeof...(Arguments) == sizeof...(Words), "a row needs one word for each parameter");
    static_assert(detail::IS_VALUE_RESULT<Result> || std::is_base_of_v<TIMarshalable, Result>,
                  "a result is an int, a bool or a marshalable object");
    static_assert(detail::OneWayIsLast<Words...>(), "the one-way flag is the last parameter");
    static_assert(!((Words == EWord::ONE_WAY) || ...) || !(IsOutput(Words) || ...),
                  "a call that can be one-way has no outputs: nothing would write them");
    if constexpr (sizeof...(Arguments) == sizeof...(Words))
    {
        static_assert((detail::CheckParameter<Arguments, Words>() && ...));
    }
    return TOperation<Interface, Result, std::tuple<Arguments...>, Words...>{member, id, name, {words.name...}, false};
}

/// Makes the row of an operation that is never sent.
template <class Interface, class Result>
constexpr auto Operation(Result (Interface::*member)(), short id, const char* name, TLocal)
{
    return TOperation<Interface, Result, std::tuple<>>{member, id, name, {}, true};
}

/// Where an interface's rows stand. Each table specialises it with
///   static const std::string& ConnectionName();   the bus name and D-Bus interface
///   static constexpr const char* NAME;            the interface's own name
///   static constexpr const auto& OPERATIONS;      a std::tuple of its rows, in slot order
template <class Interface>
struct TTable;

/// Calls visitor(row) for each row of an interface, in slot order.
template <class Interface, class Visitor>
constexpr void ForEachOperation(Visitor&& visitor)
{
    std::apply([&](const auto&... row) { (visitor(row), ...); }, TTable<Interface>::OPERATIONS);
}
} // namespace CIM::protocol
