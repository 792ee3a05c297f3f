#pragma once

#include "json/Object.h"

#include <functional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

// Things that can be done by name, with typed parameters. A row names its parameters once; reading them, help, D-Bus
// signatures, completion and error texts come from that.

namespace CIM::sim
{
/// A parameter, whatever its type.
struct TSParameter
{
    const char* name;
    const char* help;
    const json::TSType* type;
    bool isNeeded;
    json::TJson initial; ///< what counts when it is left out; null: nothing, or it is needed
    /// The value in the form that its type is written in. \throws json::TCJsonError
    json::TJson (*read)(const json::TJson& value, const json::TCJsonPath& path);

    /// Its D-Bus type. Enumerators travel by name and records as JSON, both as texts.
    const char* Signature() const;
    /// What a word of a command line or a text on the bus means; an empty one means that it is left out.
    /// \throws json::TCJsonError
    json::TJson FromWord(const std::string& word) const;
    /// What may be given: "uint8, 0 when left out".
    std::string Describe() const;
    /// The words that may be given, where they can be told: enumerators, true and false.
    std::vector<std::string_view> Words() const;
};

/// The same, with its type.
template <class T>
struct TSTyped
{
    const char* name;
    const char* help;
    bool isNeeded;
    T initial;
};

template <class T>
constexpr TSTyped<T> Needed(const char* name, const char* help)
{
    return {name, help, true, {}};
}

template <class T>
constexpr TSTyped<T> Optional(const char* name, T initial, const char* help)
{
    return {name, help, false, std::move(initial)};
}

template <class... T>
std::tuple<TSTyped<T>...> Taking(TSTyped<T>... parameters)
{
    return {std::move(parameters)...};
}

template <class T>
TSParameter Untyped(const TSTyped<T>& parameter)
{
    static const json::TSType type = json::TJsonForm<T>::Type();
    json::TJson initial;
    if constexpr (requires { json::TJsonForm<T>::To(parameter.initial); })
    {
        initial = parameter.isNeeded ? json::TJson() : json::TJsonForm<T>::To(parameter.initial);
    }
    const auto read = [](const json::TJson& value, const json::TCJsonPath& path) -> json::TJson
    {
        const T known = json::FromJson<T>(value, path);
        if constexpr (requires { json::TJsonForm<T>::To(known); })
        {
            return json::TJsonForm<T>::To(known);
        }
        else
        {
            return value;
        }
    };
    return {parameter.name, parameter.help, &type, parameter.isNeeded, std::move(initial), read};
}

template <class... T>
std::vector<TSParameter> Untyped(const std::tuple<TSTyped<T>...>& parameters)
{
    return std::apply([](const auto&... each) { return std::vector<TSParameter>{Untyped(each)...}; }, parameters);
}

/// Does an action. \param[in] arguments  an object \throws json::TCJsonError when they are wrong; nothing is done then
template <class Result, class Context>
using TRun = std::function<Result(Context& context, const json::TJson& arguments, const json::TCJsonPath& path)>;

/// A function of a context and of parameters as one of a context and of JSON. Everything is read before it is called.
/// One that returns nothing gives Result's own beginning. One that has to see whether parameters go together takes the
/// path as well, for its errors; it throws them before it does anything.
template <class Result, class Context, class Function, class... T>
TRun<Result, Context> Reading(std::tuple<TSTyped<T>...> parameters, Function function)
{
    return [parameters, function](Context& context, const json::TJson& arguments, const json::TCJsonPath& path)
    {
        json::TCJsonObject object(arguments, path);
        const auto take = [&]<class Value>(const TSTyped<Value>& parameter)
        {
            Value value = parameter.initial;
            parameter.isNeeded ? object.Needed(parameter.name, value) : object.Field(parameter.name, value);
            return value;
        };
        std::tuple<T...> values =
            std::apply([&](const auto&... each) { return std::tuple<T...>{take(each)...}; }, parameters);
        object.Done();
        const auto call = [&](T&... each)
        {
            if constexpr (std::is_invocable_v<Function, Context&, T..., const json::TCJsonPath&>)
            {
                return function(context, std::move(each)..., path);
            }
            else
            {
                return function(context, std::move(each)...);
            }
        };
        if constexpr (std::is_void_v<decltype(std::apply(call, values))>)
        {
            std::apply(call, values);
            return Result();
        }
        else
        {
            return Result(std::apply(call, values));
        }
    };
}
} // namespace CIM::sim
