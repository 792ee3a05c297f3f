#pragma once

#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <typeindex>
#include <utility>

// How a test names an operation: by its member function, &ICIGeneral::GetCiSlotStatus.

namespace CIM::test
{
/// Chooses one of several operations of the same name by its declared type:
/// \code
/// Overload<bool(TSDRMUuid const&)>(&ICISampleDecryption::IsDRMSupported)
/// \endcode
template <class Signature, class Interface>
constexpr Signature Interface::*Overload(Signature Interface::*member)
{
    return member;
}

/// An operation without its type: the type and the bytes of its member pointer.
struct TSMemberKey
{
    std::type_index type; ///< of the member pointer
    std::string bytes;    ///< of the member pointer

    /// Some order, the same within a process.
    friend bool operator<(const TSMemberKey& a, const TSMemberKey& b)
    {
        return std::tie(a.type, a.bytes) < std::tie(b.type, b.bytes);
    }
    /// The same operation.
    friend bool operator==(const TSMemberKey& a, const TSMemberKey& b)
    {
        return a.type == b.type && a.bytes == b.bytes;
    }
};

/// The key of an operation.
template <class Member>
TSMemberKey KeyOf(Member member)
{
    static_assert(std::is_member_function_pointer_v<Member>, "an operation is named by its member function");
    TSMemberKey key{typeid(Member), std::string(sizeof member, '\0')};
    std::memcpy(key.bytes.data(), &member, sizeof member);
    return key;
}

namespace detail
{
template <class Member>
struct TMemberTraits;
template <class Interface_, class Result_, class... Arguments>
struct TMemberTraits<Result_ (Interface_::*)(Arguments...)>
{
    using Result = Result_;
    using Function = std::function<Result_(Arguments...)>;
    template <std::size_t Index>
    using Argument = std::tuple_element_t<Index, std::tuple<Arguments...>>;
};
template <class Member>
using TResult = typename TMemberTraits<Member>::Result;
template <std::size_t Index, class Member>
using TArgument = typename TMemberTraits<Member>::template Argument<Index>;

/// Any function as the function of an operation; refuses, while the test is compiled, one that does not fit. It may be
/// replaced while it runs.
template <class Interface, class Result, class... Arguments, class Function>
std::function<Result(Arguments...)> Fit(Result (Interface::*)(Arguments...), Function answer)
{
    constexpr bool fits = std::is_invocable_r_v<Result, Function&, Arguments...>;
    static_assert(fits, "the function must take the operation's parameters and return the operation's result");
    if constexpr (fits)
    {
        return [shared = std::make_shared<Function>(std::move(answer))](Arguments... arguments) -> Result
        {
            const std::shared_ptr<Function> kept = shared;
            return (*kept)(std::forward<Arguments>(arguments)...);
        };
    }
    else
    {
        return {};
    }
}
} // namespace detail
} // namespace CIM::test
