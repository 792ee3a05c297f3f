#pragma once

#include "json/ValueForms.h"

namespace CIM::json
{
/// The JSON form of any value that crosses the bus. Reentrant.
template <class T>
TJson ToJson(const T& value)
{
    return TJsonForm<T>::To(value);
}

/// Reads what ToJson gives. Reentrant.
/// \param[in]  path   what to call the value in an error's text
/// \param[out] value  replaced; unchanged when something is wrong
/// \throws TCJsonError, which names the place
template <class T>
void FromJson(const TJson& json, T& value, const TCJsonPath& path = TCJsonPath())
{
    TJsonForm<T>::From(json, value, path);
}

template <class T>
T FromJson(const TJson& json, const TCJsonPath& path = TCJsonPath())
{
    T value = NewValue<T>();
    TJsonForm<T>::From(json, value, path);
    return value;
}
} // namespace CIM::json
