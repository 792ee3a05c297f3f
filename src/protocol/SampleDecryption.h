#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINames.h>
#include <ciapi/ICISampleDecryption.h>

// What crosses the bus for ICISampleDecryption: one line an operation, in slot order.
// A pipeline handle is two values here, its profile and its number.

namespace CIM::protocol
{
namespace sampleDecryption
{
// clang-format off
inline constexpr auto IsDRMSystemIdSupported = Operation(Overload<bool(TSDRMSystemId const&)>(&ICISampleDecryption::IsDRMSupported), 0, "IsDRMSupported", In("systemId"));
inline constexpr auto IsDRMUuidSupported = Operation(Overload<bool(TSDRMUuid const&)>(&ICISampleDecryption::IsDRMSupported), 1, "IsDRMSupported", In("uuid"));
inline constexpr auto StartWithTracks = Operation(Overload<bool(TVSHandle const&, std::vector<TSSampleTrackNonTSFormat> const&)>(&ICISampleDecryption::StartSampleDecryption), 2, "StartSampleDecryption", InMembers("handle"), In("tracks"));
inline constexpr auto StartWithRecords = Operation(Overload<bool(TVSHandle const&, unsigned short, std::vector<TSDRMMetadataRecord> const&)>(&ICISampleDecryption::StartSampleDecryption), 3, "StartSampleDecryption", InMembers("handle"), In("drmSystem"), In("records"));
inline constexpr auto UpdateWithTracks = Operation(Overload<bool(TVSHandle const&, std::vector<TSSampleTrackNonTSFormat> const&)>(&ICISampleDecryption::UpdateSampleDecryption), 4, "UpdateSampleDecryption", InMembers("handle"), In("tracks"));
inline constexpr auto UpdateWithRecords = Operation(Overload<bool(TVSHandle const&, std::vector<TSDRMMetadataRecord> const&)>(&ICISampleDecryption::UpdateSampleDecryption), 5, "UpdateSampleDecryption", InMembers("handle"), In("records"));
// clang-format on

inline constexpr auto OPERATIONS = std::tuple(IsDRMSystemIdSupported, IsDRMUuidSupported, StartWithTracks,
                                              StartWithRecords, UpdateWithTracks, UpdateWithRecords);
} // namespace sampleDecryption

template <>
struct TTable<ICISampleDecryption>
{
    static constexpr const char* NAME = "ICISampleDecryption";
    static const std::string& ConnectionName() { return CI_SAMPLE_DECRYPTION_CONNECTION_NAME; }
    static constexpr const auto& OPERATIONS = sampleDecryption::OPERATIONS;
};
} // namespace CIM::protocol
