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
template <class T, auto Member>
struct THolderForm
{
    using TInner = std::remove_reference_t<decltype(std::declval<T&>().*Member)>;
    static TSType Type() { return TJsonForm<TInner>::Type(); }
    static TJson To(const T& value) { return TJsonForm<TInner>::To(value.*Member); }
    static void From(const TJson& json, T& value, const TJsonPath& path)
    {
        TJsonForm<TInner>::From(json, value.*Member, path);
    }
};
template <>
struct TJsonForm<TSDRMSystemId> : THolderForm<TSDRMSystemId, &TSDRMSystemId::systemId>
{
};
template <>
struct TJsonForm<TSDRMUuid> : THolderForm<TSDRMUuid, &TSDRMUuid::uuid>
{
};
template <>
struct TJsonForm<TSCICAMPlayerHandle> : THolderForm<TSCICAMPlayerHandle, &TSCICAMPlayerHandle::identifier>
{
};
template <>
struct TJsonForm<TSPlaybackSpeed> : THolderForm<TSPlaybackSpeed, &TSPlaybackSpeed::hundredths>
{
};
template <>
struct TJsonForm<TSIPServiceLocationData> : THolderForm<TSIPServiceLocationData, &TSIPServiceLocationData::location>
{
};

template <>
struct TJsonForm<TCIText>
{
    static TSType Type() { return {EKind::TEXT, "text", {}}; }
    static TJson To(const TCIText& value) { return WideToJson(value.text); }
    static void From(const TJson& json, TCIText& value, const TJsonPath& path)
    {
        value.text = WideFromJson(json, path);
    }
};

template <>
struct TJsonForm<TSSignalData>
{
    static TSType Type() { return {EKind::BYTES, "8 bytes", {}}; }
    static TJson To(const TSSignalData& value) { return BytesToHex(value.bytes); }
    static void From(const TJson& json, TSSignalData& value, const TJsonPath& path)
    {
        const std::vector<unsigned char> bytes = BytesFromJson(json, path);
        if (bytes.size() != sizeof(value.bytes))
        {
            throw TJsonError(path, "8 bytes are needed, not " + std::to_string(bytes.size()));
        }
        std::copy(bytes.begin(), bytes.end(), value.bytes);
    }
};

/// Two values with a sign between them, as text.
template <class First, class Second>
void PairFromText(std::string_view text, char separator, First& first, Second& second, const TJsonPath& path)
{
    const std::size_t place = text.find(separator);
    if (place == std::string_view::npos)
    {
        throw TJsonError(path, "there is no '" + std::string(1, separator) + "' in \"" + std::string(text) + "\"");
    }
    First freshFirst{};
    TJsonForm<First>::From(std::string(text.substr(0, place)), freshFirst, path);
    TJsonForm<Second>::From(std::string(text.substr(place + 1)), second, path);
    first = freshFirst;
}

/// Also read from "PROFILE:HANDLE", such as "0:1".
template <>
struct TMembers<TVSHandle>
{
    static constexpr const char* NAME = "TVSHandle";
    template <class T, class Visitor>
    static void Each(T& value, Visitor&& visit)
    {
        visit("profile", value.profile);
        visit("handle", value.handle);
    }
    static void FromText(std::string_view text, TVSHandle& value, const TJsonPath& path)
    {
        PairFromText(text, ':', value.profile, value.handle, path);
    }
};

/// As a key, and also to be read, "ANTENNA_MODE_CABLE/SERVICE_MODE_OPERATOR".
template <>
struct TMembers<TSTvMode>
{
    static constexpr const char* NAME = "TSTvMode";
    template <class T, class Visitor>
    static void Each(T& value, Visitor&& visit)
    {
        visit("antennaMode", value.antennaMode);
        visit("serviceMode", value.serviceMode);
    }
    static std::string Text(const TSTvMode& value)
    {
        const auto word = [](const TJson& json) { return json.is_string() ? json.get<std::string>() : json.dump(); };
        return word(TJsonForm<EAntennaMode>::To(value.antennaMode)) + "/" +
               word(TJsonForm<EServiceMode>::To(value.serviceMode));
    }
    static void FromText(std::string_view text, TSTvMode& value, const TJsonPath& path)
    {
        PairFromText(text, '/', value.antennaMode, value.serviceMode, path);
    }
};

#define CIAPI_JSON_MEMBERS_BEGIN(T)                                                                                    \
    template <>                                                                                                        \
    struct TMembers<T>                                                                                                 \
    {                                                                                                                  \
        static constexpr const char* NAME = #T;                                                                        \
        template <class Record, class Visitor>                                                                         \
        static void Each(Record& record, Visitor&& visit)                                                              \
        {
#define CIAPI_JSON_MEMBER(member) visit(#member, record.member);
#define CIAPI_JSON_MEMBERS_END                                                                                         \
    }                                                                                                                  \
    }                                                                                                                  \
    ;

// clang-format off
CIAPI_JSON_MEMBERS_BEGIN(TCSlotInfo)
    CIAPI_JSON_MEMBER(slotFlag) CIAPI_JSON_MEMBER(slotValue) CIAPI_JSON_MEMBER(handles) CIAPI_JSON_MEMBER(codes)
CIAPI_JSON_MEMBERS_END
CIAPI_JSON_MEMBERS_BEGIN(TCCiStatus)
    CIAPI_JSON_MEMBER(slots)
CIAPI_JSON_MEMBERS_END
CIAPI_JSON_MEMBERS_BEGIN(TSCIOperatorProfileData)
    CIAPI_JSON_MEMBER(antennaMode) CIAPI_JSON_MEMBER(serviceMode) CIAPI_JSON_MEMBER(slotId)
    CIAPI_JSON_MEMBER(profileName) CIAPI_JSON_MEMBER(supportedAntennaModes) CIAPI_JSON_MEMBER(profileType)
CIAPI_JSON_MEMBERS_END
CIAPI_JSON_MEMBERS_BEGIN(TSDRMMetadataRecord)
    CIAPI_JSON_MEMBER(source) CIAPI_JSON_MEMBER(systemId) CIAPI_JSON_MEMBER(uuid) CIAPI_JSON_MEMBER(metadata)
CIAPI_JSON_MEMBERS_END
CIAPI_JSON_MEMBERS_BEGIN(TSSampleTrackNonTSFormat)
    CIAPI_JSON_MEMBER(trackPid) CIAPI_JSON_MEMBER(drmRecords)
CIAPI_JSON_MEMBERS_END
CIAPI_JSON_MEMBERS_BEGIN(TSDRMSystemsData)
    CIAPI_JSON_MEMBER(drmSystemIds) CIAPI_JSON_MEMBER(drmUuids)
CIAPI_JSON_MEMBERS_END
CIAPI_JSON_MEMBERS_BEGIN(TSSampleDecryptionStatus)
    CIAPI_JSON_MEMBER(transmissionStatus) CIAPI_JSON_MEMBER(drmStatus) CIAPI_JSON_MEMBER(drmSystemId)
    CIAPI_JSON_MEMBER(drmUuid) CIAPI_JSON_MEMBER(bufferSize)
CIAPI_JSON_MEMBERS_END
CIAPI_JSON_MEMBERS_BEGIN(TSPlaybackPosition)
    CIAPI_JSON_MEMBER(seekMode) CIAPI_JSON_MEMBER(position)
CIAPI_JSON_MEMBERS_END
CIAPI_JSON_MEMBERS_BEGIN(TCCiAuxiliaryFileSystemDTO)
    CIAPI_JSON_MEMBER(shortValue) CIAPI_JSON_MEMBER(intValue) CIAPI_JSON_MEMBER(domainId)
CIAPI_JSON_MEMBERS_END
CIAPI_JSON_MEMBERS_BEGIN(TCCiFileAckDTO)
    CIAPI_JSON_MEMBER(firstFlag) CIAPI_JSON_MEMBER(secondFlag) CIAPI_JSON_MEMBER(requestType)
    CIAPI_JSON_MEMBER(firstData) CIAPI_JSON_MEMBER(secondData)
CIAPI_JSON_MEMBERS_END
CIAPI_JSON_MEMBERS_BEGIN(SContentSection)
    CIAPI_JSON_MEMBER(firstValue) CIAPI_JSON_MEMBER(secondValue)
CIAPI_JSON_MEMBERS_END
// clang-format on

#undef CIAPI_JSON_MEMBERS_BEGIN
#undef CIAPI_JSON_MEMBER
#undef CIAPI_JSON_MEMBERS_END

    /// Its own beginning leaves a member unset.
    template <>
    inline TSCIOperatorProfileData NewValue<TSCIOperatorProfileData>()
{
    TSCIOperatorProfileData profile;
    profile.profileType = OP_PROFILE_TYPE_NON_PROFILED;
    return profile;
}
} // namespace CIM::json
