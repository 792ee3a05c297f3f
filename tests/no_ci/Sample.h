#pragma once

#include <ciapi/CIService.h>

#include <cstddef>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

// Any argument of any operation, with a value that no operation would write by chance, and its text.

namespace CIM
{
template <class T>
concept CSequence = requires(T t)
{
    t.push_back(*t.begin());
};
template <class T>
concept CMap = requires
{
    typename T::mapped_type;
};

template <class T>
T Sample()
{
    if constexpr (CMap<T>)
    {
        return T{{Sample<typename T::key_type>(), Sample<typename T::mapped_type>()}};
    }
    else if constexpr (CSequence<T>)
    {
        return T(1, Sample<typename T::value_type>());
    }
    else if constexpr (std::is_enum_v<T> || std::is_same_v<T, bool>)
    {
        return static_cast<T>(1);
    }
    else if constexpr (std::is_arithmetic_v<T>)
    {
        return 77;
    }
    else
    {
        return T();
    }
}
template <>
inline TVSHandle Sample()
{
    return {PROFILE_SUB, 77};
}
template <>
inline TCIText Sample()
{
    TCIText text;
    text.text = {77};
    return text;
}
template <>
inline TCCiStatus Sample()
{
    TCCiStatus status;
    status.slots[77];
    return status;
}
template <>
inline TCCiFileAckDTO Sample()
{
    return {true, true, APP_REQUEST_DATA, {77}, {77}};
}
template <>
inline TSCIOperatorProfileData Sample()
{
    return {ANTENNA_MODE_CABLE, SERVICE_MODE_OPERATOR, 77, {77}, {}, OP_PROFILE_TYPE_PROFILED_TYPE_1};
}

template <class T>
std::string Text(const T& value);

template <class... T>
std::string Texts(const T&... values)
{
    std::ostringstream text;
    text << '{';
    ((text << Text(values) << ' '), ...);
    text << '}';
    return text.str();
}

template <class T>
std::string Text(const T& value)
{
    std::ostringstream text;
    if constexpr (CMap<T>)
    {
        for (const auto& [key, mapped] : value)
        {
            text << Texts(key, mapped);
        }
    }
    else if constexpr (CSequence<T>)
    {
        for (const auto& element : value)
        {
            text << Texts(element);
        }
    }
    else if constexpr (std::is_same_v<T, bool>)
    {
        text << (value ? "true" : "false");
    }
    else if constexpr (std::is_enum_v<T> || std::is_integral_v<T>)
    {
        text << +static_cast<long long>(value);
    }
    else if constexpr (std::is_same_v<T, TVSHandle>)
    {
        text << Texts(value.profile, value.handle);
    }
    else if constexpr (std::is_same_v<T, TSTvMode>)
    {
        text << Texts(value.antennaMode, value.serviceMode);
    }
    else if constexpr (std::is_same_v<T, TCIText>)
    {
        text << Text(value.text);
    }
    else if constexpr (std::is_same_v<T, TCCiStatus>)
    {
        text << Texts(value.slots.size(), value.slots.begin()->first);
    }
    else if constexpr (std::is_same_v<T, TSCICAMPlayerHandle>)
    {
        text << (value == TSCICAMPlayerHandle() && !value.IsValid() ? "invalid" : "valid");
    }
    else if constexpr (std::is_same_v<T, TCCiAuxiliaryFileSystemDTO>)
    {
        text << Texts(value.shortValue, value.intValue, value.domainId);
    }
    else if constexpr (std::is_same_v<T, TCCiFileAckDTO>)
    {
        text << Texts(value.firstFlag, value.secondFlag, value.requestType, value.firstData, value.secondData);
    }
    else if constexpr (std::is_same_v<T, TSCIOperatorProfileData>)
    {
        text << Texts(value.antennaMode, value.serviceMode, value.slotId, value.profileName, value.profileType);
    }
    else if constexpr (std::is_same_v<T, SContentSection>)
    {
        text << Texts(value.firstValue, value.secondValue);
    }
    else
    {
        text << "input"; // only ever passed by const reference
    }
    return text.str();
}

/// Calls an operation with sample arguments.
/// \return its result, and " N=value" for each argument (counted from 1) that it changed
template <class TInterface, class TResult, class... TParameters>
std::string Answer(TInterface* instance, TResult (TInterface::*operation)(TParameters...))
{
    std::tuple<std::remove_cvref_t<TParameters>...> arguments{Sample<std::remove_cvref_t<TParameters>>()...};
    const auto before = arguments;
    const auto call = [&](auto&... argument) { return (instance->*operation)(argument...); };
    std::string answer;
    if constexpr (std::is_void_v<TResult>)
    {
        std::apply(call, arguments);
        answer = "nothing";
    }
    else
    {
        answer = Text(std::apply(call, arguments));
    }
    [&]<std::size_t... I>(std::index_sequence<I...>)
    {
        [[maybe_unused]] const auto note = [&](std::size_t number, const std::string& now, const std::string& old)
        { answer += now == old ? "" : " " + std::to_string(number) + "=" + now; };
        (note(I + 1, Text(std::get<I>(arguments)), Text(std::get<I>(before))), ...);
    }
    (std::index_sequence_for<TParameters...>());
    return answer;
}
} // namespace CIM
