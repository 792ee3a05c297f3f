#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINameLiterals.h>
#include <ciapi/ICISampleDecryption.h>

// What crosses the bus for ICISampleDecryption: one line an operation, in slot order.
// A pipeline handle is two values here, its profile and its number.

namespace CIM::protocol
{
template <>
struct TTable<ICISampleDecryption>
{
    using I = ICISampleDecryption;
    using THandle = TVSHandle const&;
    using TTracks = std::vector<TSSampleTrackNonTSFormat> const&;
    using TRecords = std::vector<TSDRMMetadataRecord> const&;

    static constexpr const char* ConnectionName() { return literals::CI_SAMPLE_DECRYPTION_CONNECTION_NAME; }

    // clang-format off
    static constexpr std::tuple ROWS{
    Row<Taking<TSDRMSystemId const&>(&I::IsDRMSupported)>(0, In("systemId")),
    Row<Taking<TSDRMUuid const&>(&I::IsDRMSupported)>(1, In("uuid")),
    Row<Taking<THandle, TTracks>(&I::StartSampleDecryption)>(2, InMembers("handle"), In("tracks")),
    Row<Taking<THandle, unsigned short>(&I::StartSampleDecryption)>(3, InMembers("handle"), In("drmSystem", "records")),
    Row<Taking<THandle, TTracks>(&I::UpdateSampleDecryption)>(4, InMembers("handle"), In("tracks")),
    Row<Taking<THandle, TRecords>(&I::UpdateSampleDecryption)>(5, InMembers("handle"), In("records")),
    };
    // clang-format on
};
} // namespace CIM::protocol
