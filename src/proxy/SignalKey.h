#pragma once

#include <ciapi/CISignalDataType.h>

#include <tvplatform/Types.h>

#include <tuple>

namespace CIM
{
/// What tells one subscription from another.
struct TSSignalKey
{
    ECISignalType signalType;
    EProfile profile;
    unsigned short handle;
};

/// By signal type, then profile, both signed, then handle number.
inline bool operator<(const TSSignalKey& a, const TSSignalKey& b)
{
    return std::tie(a.signalType, a.profile, a.handle) < std::tie(b.signalType, b.profile, b.handle);
}
} // namespace CIM
