#pragma once

#include "marshalling/WireForm.h"
#include "protocol/Name.h"

#include <array>
#include <cstddef>
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
    SECRET_IN,   ///< the same, and nobody may read it: no trace shows it, what held it is wiped
    OUT,         ///< written from the reply
    IN_OUT,      ///< both ways
    ONE_WAY,     ///< not sent: chooses a call without a reply
    NOT_SENT,    ///< not sent at all
    IN_MEMBERS,  ///< a pipeline handle sent as two values, its profile and its number
    OUT_MEMBERS, ///< a pipeline handle written from two values
};

/// Neighbouring parameters of a row that share a word, by their names, which traces, help and JSON show.
template <EWord Word, std::size_t Count>
struct TWords
{
    std::array<const char*, Count> names;
};

template <class... Names>
constexpr TWords<EWord::IN, sizeof...(Names)> In(Names... names)
{
    return {{names...}};
}
template <class... Names>
constexpr TWords<EWord::SECRET_IN, sizeof...(Names)> SecretIn(Names... names)
{
    return {{names...}};
}
template <class... Names>
constexpr TWords<EWord::OUT, sizeof...(Names)> Out(Names... names)
{
    return {{names...}};
}
template <class... Names>
constexpr TWords<EWord::IN_OUT, sizeof...(Names)> InOut(Names... names)
{
    return {{names...}};
}
constexpr TWords<EWord::ONE_WAY, 1> OneWay() { return {{"oneWay"}}; }
constexpr TWords<EWord::NOT_SENT, 1> NotSent(const char* name) { return {{name}}; }
constexpr TWords<EWord::IN_MEMBERS, 1> InMembers(const char* name) { return {{name}}; }
constexpr TWords<EWord::OUT_MEMBERS, 1> OutMembers(const char* name) { return {{name}}; }

/// A row that is never sent: the library answers by itself. It keeps the list of rows as long as the interface.
struct TSLocal
{
};
constexpr TSLocal Local() { return {}; }

/// Chooses one of several operations of the same name by the first parameters that it declares:
/// Taking<unsigned char>(&IService::Tell).
template <class... First>
struct TTaking
{
    template <class Result, class Interface, class... Rest>
    constexpr auto operator()(Result (Interface::*member)(First..., Rest...)) const
    {
        return member;
    }
};
template <class... First>
inline constexpr TTaking<First...> Taking{};

constexpr bool IsSent(EWord word) { return word != EWord::ONE_WAY && word != EWord::NOT_SENT; }
constexpr bool IsOutput(EWord word)
{
    return word == EWord::OUT || word == EWord::IN_OUT || word == EWord::OUT_MEMBERS;
}
constexpr bool IsInput(EWord word)
{
    return word == EWord::IN || word == EWord::SECRET_IN || word == EWord::IN_OUT || word == EWord::IN_MEMBERS;
}

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
        static_assert(HAS_WIRE_FORM<TValue>, "this type has no form on the wire");
    }
    return true;
}

/// The words of all parameters, in order.
template <EWord... Words, std::size_t... Counts>
constexpr auto Flatten(const TWords<Words, Counts>&...)
{
    std::array<EWord, (Counts + ... + 0)> all{};
    [[maybe_unused]] std::size_t place = 0;
    [[maybe_unused]] const auto add = [&](EWord word, std::size_t count)
    {
        while (count-- > 0)
        {
            all[place++] = word;
        }
    };
    (add(Words, Counts), ...);
    return all;
}

/// Whether the one-way flag stands anywhere but at the end.
template <std::size_t Count>
constexpr bool OneWayIsLast(const std::array<EWord, Count>& words)
{
    for (std::size_t i = 0; i + 1 < Count; ++i)
    {
        if (words[i] == EWord::ONE_WAY)
        {
            return false;
        }
    }
    return true;
}

template <std::size_t Count>
constexpr bool HasSecret(const std::array<EWord, Count>& words)
{
    for (const EWord word : words)
    {
        if (word == EWord::SECRET_IN)
        {
            return true;
        }
    }
    return false;
}

template <class Result>
inline constexpr bool IS_VALUE_RESULT = std::is_same_v<Result, int> || std::is_same_v<Result, bool>;

template <class Signature>
struct TSignature;
template <class Interface_, class Result_, class... Arguments>
struct TSignature<Result_ (Interface_::*)(Arguments...)>
{
    using Interface = Interface_;
    using Result = Result_;
    using Values = std::tuple<std::remove_cvref_t<Arguments>...>;
    static constexpr std::size_t COUNT = sizeof...(Arguments);

    template <auto Words>
    static constexpr bool CheckWords()
    {
        static_assert(Words.size() == COUNT, "a row needs one word for each parameter");
        static_assert(IS_VALUE_RESULT<Result> || std::is_base_of_v<TIMarshalable, Result>,
                      "a result is an int, a bool or a marshalable object");
        static_assert(OneWayIsLast(Words), "the one-way flag is the last parameter");
        if constexpr (Words.size() == COUNT)
        {
            return []<std::size_t... Indices>(std::index_sequence<Indices...>)
            {
                static_assert(!((Words[Indices] == EWord::ONE_WAY) || ...) || !(IsOutput(Words[Indices]) || ...),
                              "a call that can be one-way has no outputs: nothing would write them");
                return (CheckParameter<Arguments, Words[Indices]>() && ...);
            }
            (std::make_index_sequence<COUNT>{});
        }
        return false;
    }

    template <class... Given>
    static constexpr bool Takes()
    {
        if constexpr (sizeof...(Given) == COUNT)
        {
            return (std::is_same_v<std::remove_cvref_t<Given>, std::remove_cvref_t<Arguments>> && ...);
        }
        return false;
    }
};
} // namespace detail

/// One row. Made by Row(); its type carries the member function and the words, so that a proxy, the daemon side and the
/// tools are all built from it.
template <auto Member_, auto Words>
struct TRow
{
    using Member = decltype(Member_);
    using Key = TKey<Member_>;
    using Signature = detail::TSignature<Member>;
    using Interface = typename Signature::Interface;
    using Result = typename Signature::Result;
    /// The arguments as objects of their own: what the daemon side and the tools hold.
    using Values = typename Signature::Values;

    static constexpr Member MEMBER = Member_;
    /// The operation's own name.
    static constexpr const char* NAME = NameOf<Member_>();
    static constexpr std::size_t COUNT = Words.size();
    static constexpr std::array<EWord, COUNT> WORDS = Words;
    static constexpr bool HAS_ONE_WAY = COUNT > 0 && WORDS[COUNT > 0 ? COUNT - 1 : 0] == EWord::ONE_WAY;
    static constexpr bool HAS_SECRET = detail::HasSecret(Words);
    /// Whether the result is a plain value, pushed before everything else, and not an object in its place.
    static constexpr bool HAS_RESULT_SLOT = detail::IS_VALUE_RESULT<Result>;

    /// Whether these are, in number and type, the arguments that the member function takes.
    template <class... Given>
    static constexpr bool Takes()
    {
        return Signature::template Takes<Given...>();
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

    short id;
    std::array<const char*, COUNT> parameterNames;
    bool isLocal = false;
};

/// Makes a row: the operation, its method identifier, and a word for each parameter.
template <auto Member, EWord... Words, std::size_t... Counts>
constexpr auto Row(short id, TWords<Words, Counts>... words)
{
    constexpr auto all = detail::Flatten(TWords<Words, Counts>{}...);
    static_assert(detail::TSignature<decltype(Member)>::template CheckWords<all>());
    TRow<Member, all> row{id, {}};
    [[maybe_unused]] std::size_t place = 0;
    [[maybe_unused]] const auto add = [&](const auto& names)
    {
        for (const char* name : names)
        {
            row.parameterNames[place++] = name;
        }
    };
    (add(words.names), ...);
    return row;
}

/// Makes the row of an operation that is never sent.
template <auto Member>
constexpr auto Row(short id, TSLocal)
{
    return TRow<Member, std::array<EWord, 0>{}>{id, {}, true};
}

/// Where an interface's rows stand. Each table specialises it with
///   static constexpr const char* ConnectionName();   the bus name and D-Bus interface
///   static constexpr std::tuple ROWS;             one row an operation, in slot order
template <class Interface>
struct TTable;

namespace detail
{
template <class Key, class... Rows>
constexpr std::pair<std::size_t, std::size_t> CountAndPlace(const std::tuple<Rows...>&)
{
    constexpr bool isIt[] = {std::is_same_v<Key, typename Rows::Key>...};
    std::pair<std::size_t, std::size_t> result{0, 0};
    for (std::size_t place = 0; place < sizeof...(Rows); ++place)
    {
        if (isIt[place])
        {
            ++result.first;
            result.second = place;
        }
    }
    return result;
}
} // namespace detail

/// The row of an operation.
template <auto Member>
constexpr const auto& RowOf()
{
    constexpr const auto& rows = TTable<typename detail::TSignature<decltype(Member)>::Interface>::ROWS;
    constexpr auto found = detail::CountAndPlace<TKey<Member>>(rows);
    static_assert(found.first != 0, "this operation has no row in the table of its interface");
    static_assert(found.first < 2, "this operation has two rows in the table of its interface");
    return std::get<found.second>(rows);
}

/// Calls visitor(row) for each row of an interface, in slot order.
template <class Interface, class Visitor>
constexpr void ForEachRow(Visitor&& visitor)
{
    std::apply([&](const auto&... row) { (visitor(row), ...); }, TTable<Interface>::ROWS);
}
} // namespace CIM::protocol
