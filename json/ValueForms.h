#pragma once

#include "json/Forms.h"

#include <ciapi/CIAuxiliaryFileSystemDataType.h>
#include <ciapi/CICAMPlayerDataType.h>
#include <ciapi/CIGeneralDataType.h>
#include <ciapi/CIOperatorProfileDataType.h>
#include <ciapi/CIPlatformEnumNames.h>
#include <ciapi/CISampleDecryptionDataType.h>
#include <ciapi/CISignalDataType.h>
#include <ciapi/PvrCipDataType.h>

#include <algorithm>

// The forms of the value types: records by their members, others as the one value that they hold.

namespace CIM::json
{
/// A type that is written as its only member.
template <class T>
struct THolderForm
{
    static constexpr auto FIELD = std::get<0>(protocol::TMembers<T>::ROWS).FIELD;
    static_assert(std::tuple_size_v<decltype(protocol::TMembers<T>::ROWS)> == 1);
    using TInner = std::remove_reference_t<decltype(std::declval<T&>().*FIELD)>;

    static TSType Type() { return TJsonForm<TInner>::Type(); }
    static TJson To(const T& value) { return TJsonForm<TInner>::To(value.*FIELD); }
    static void From(const TJson& json, T& value, const TCJsonPath& path)
    {
        TJsonForm<TInner>::From(json, value.*FIELD, path);
    }
};
template <>
struct TJsonForm<TSDRMSystemId> : THolderForm<TSDRMSystemId>
{
};
template <>
struct TJsonForm<TSDRMUuid> : THolderForm<TSDRMUuid>
{
};
template <>
struct TJsonForm<TSCICAMPlayerHandle> : THolderForm<TSCICAMPlayerHandle>
{
};
template <>
struct TJsonForm<TSPlaybackSpeed> : THolderForm<TSPlaybackSpeed>
{
};
template <>
struct TJsonForm<TSIPServiceLocationData> : THolderForm<TSIPServiceLocationData>
{
};

template <>
struct TJsonForm<TCIText>
{
    static TSType Type() { return {EKind::TEXT, "text", {}}; }
    static TJson To(const TCIText& value) { return WideToJson(value.text); }
    static void From(const TJson& json, TCIText& value, const TCJsonPath& path)
    {
        value.text = WideFromJson(json, path);
    }
};

template <>
struct TJsonForm<TSSignalData>
{
    static TSType Type() { return {EKind::BYTES, "8 bytes", {}}; }
    static TJson To(const TSSignalData& value) { return BytesToHex(value.bytes); }
    static void From(const TJson& json, TSSignalData& value, const TCJsonPath& path)
    {
        const std::vector<unsigned char> bytes = BytesFromJson(json, path);
        if (bytes.size() != sizeof(value.bytes))
        {
            throw TCJsonError(path, "8 bytes are needed, not " + std::to_string(bytes.size()));
        }
        std::copy(bytes.begin(), bytes.end(), value.bytes);
    }
};

/// Two values with a sign between them, as text.
template <class First, class Second>
void PairFromText(std::string_view text, char separator, First& first, Second& second, const TCJsonPath& path)
{
    const std::size_t place = text.find(separator);
    if (place == std::string_view::npos)
    {
        throw TCJsonError(path, "there is no '" + std::string(1, separator) + "' in \"" + std::string(text) + "\"");
    }
    First freshFirst{};
    TJsonForm<First>::From(std::string(text.substr(0, place)), freshFirst, path);
    TJsonForm<Second>::From(std::string(text.substr(place + 1)), second, path);
    first = freshFirst;
}

/// "PROFILE:HANDLE", such as "0:1".
template <>
struct TRecordText<TVSHandle>
{
    static void From(std::string_view text, TVSHandle& value, const TCJsonPath& path)
    {
        PairFromText(text, ':', value.profile, value.handle, path);
    }
};

/// "ANTENNA_MODE_CABLE/SERVICE_MODE_OPERATOR".
template <>
struct TRecordText<TSTvMode>
{
    static std::string To(const TSTvMode& value)
    {
        const auto word = [](const TJson& json) { return json.is_string() ? json.get<std::string>() : json.dump(); };
        return word(TJsonForm<EAntennaMode>::To(value.antennaMode)) + "/" +
               word(TJsonForm<EServiceMode>::To(value.serviceMode));
    }
    static void From(std::string_view text, TSTvMode& value, const TCJsonPath& path)
    {
        PairFromText(text, '/', value.antennaMode, value.serviceMode, path);
    }
};

/// Its own beginning leaves a member unset.
template <>
inline TSCIOperatorProfileData NewValue<TSCIOperatorProfileData>()
{
    TSCIOperatorProfileData profile;
    profile.profileType = OP_PROFILE_TYPE_NON_PROFILED;
    return profile;
}
} // namespace CIM::json
