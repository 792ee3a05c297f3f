#include "support/InChild.h"

#include <ciapi/CIAuxiliaryFileSystemDataType.h>
#include <ciapi/CICAMPlayerDataType.h>
#include <ciapi/CIGeneralDataType.h>
#include <ciapi/CIOperatorProfileDataType.h>
#include <ciapi/CISampleDecryptionDataType.h>

#include <gtest/gtest.h>

namespace CIM
{
namespace
{
std::vector<unsigned char> Bytes(const std::string& text) { return {text.begin(), text.end()}; }

/// Built before main, perhaps before the library's own statics.
const TSSampleDecryptionStatus earlyStatus;
} // namespace

TEST(Values, IdentifiersKnowWhetherTheyAreValid)
{
    EXPECT_FALSE(TSDRMSystemId().IsValid());
    EXPECT_TRUE(TSDRMSystemId(0).IsValid());
    EXPECT_TRUE(TSDRMSystemId(0xFFFE).IsValid());
    EXPECT_EQ(TSDRMSystemId(0x0B00), 0x0B00);

    const TSDRMUuid cut(std::vector<unsigned char>(15, 1));
    EXPECT_EQ(cut, TSDRMUuid::UUID_INVALID);
    EXPECT_FALSE(cut.IsValid());
    EXPECT_EQ(TSDRMUuid(std::vector<unsigned char>(17, 1)), TSDRMUuid::UUID_INVALID);
    EXPECT_EQ(TSDRMUuid().uuid, std::vector<unsigned char>(16, 0xFF));
    EXPECT_TRUE(TSDRMUuid(std::vector<unsigned char>(16, 0)).IsValid());
    TSDRMUuid fromDaemon;
    fromDaemon.uuid = {1, 2, 3};
    EXPECT_FALSE(fromDaemon.IsValid());

    EXPECT_EQ(earlyStatus, TSSampleDecryptionStatus());
    EXPECT_EQ(earlyStatus.drmUuid, TSDRMUuid::UUID_INVALID);

    EXPECT_EQ(TSPlaybackSpeed(-100).HundrethsOfNominal(), 65436);
    EXPECT_EQ(TSIPServiceLocationData("ab").ToRawData(), Bytes("ab"));
}

TEST(Values, OneDifferingMemberMakesThemUnequal)
{
    const TSDRMUuid zeros(std::vector<unsigned char>(16, 0));
    const TSDRMMetadataRecord record(CENC_PSSH_BOX, TSDRMSystemId(1), TSDRMUuid(), {1});
    for (const TSDRMMetadataRecord& other : {TSDRMMetadataRecord(UNDEFINED, TSDRMSystemId(1), TSDRMUuid(), {1}),
                                             TSDRMMetadataRecord(CENC_PSSH_BOX, TSDRMSystemId(2), TSDRMUuid(), {1}),
                                             TSDRMMetadataRecord(CENC_PSSH_BOX, TSDRMSystemId(1), zeros, {1}),
                                             TSDRMMetadataRecord(CENC_PSSH_BOX, TSDRMSystemId(1), TSDRMUuid(), {2})})
    {
        EXPECT_NE(record, other);
    }
    EXPECT_NE(TSSampleTrackNonTSFormat(1, {}), TSSampleTrackNonTSFormat(1, {record}));
    EXPECT_NE(TSDRMSystemsData({}, {TSDRMUuid()}), TSDRMSystemsData({}, {zeros}));

    TSSampleDecryptionStatus changed[5];
    changed[0].transmissionStatus = CI_SD_TX_STATUS_READY_TO_RECEIVE;
    changed[1].drmStatus = CI_SD_DRM_STATUS_DECRYPTION_POSSIBLE;
    changed[2].drmSystemId = TSDRMSystemId(1);
    changed[3].drmUuid = zeros;
    changed[4].bufferSize = 1;
    for (const TSSampleDecryptionStatus& status : changed)
    {
        EXPECT_NE(status, TSSampleDecryptionStatus());
    }

    TCCiStatus one;
    one.slots[0].handles = {TVSHandle(PROFILE_MAIN, 1)};
    TCCiStatus two = one;
    EXPECT_TRUE(one == two);
    two.slots[0].handles = {TVSHandle(PROFILE_MAIN, 2)};
    EXPECT_FALSE(one == two);
}

TEST(Values, ProfilesAreOrderedByModeSlotAndNameOnly)
{
    using TWide = std::basic_string<unsigned short>;
    const auto make = [](int antenna, int service, unsigned char slot, TWide name)
    {
        return TSCIOperatorProfileData(static_cast<EAntennaMode>(antenna), static_cast<EServiceMode>(service), slot,
                                       name, {}, OP_PROFILE_TYPE_NON_PROFILED);
    };
    // Ascending, each by another member or rule than the one before.
    const TSCIOperatorProfileData ascending[] = {
        make(-1, 5, 9, {9}),   make(0, -1, 9, {9}),      make(0, 0, 1, {9}),    make(0, 0, 0xFF, {}),
        make(0, 0, 0xFF, {1}), make(0, 0, 0xFF, {1, 0}), make(0, 0, 0xFF, {2}), make(0, 0, 0xFF, {0x8000}),
    };
    for (std::size_t i = 0; i < std::size(ascending); ++i)
    {
        for (std::size_t j = 0; j < std::size(ascending); ++j)
        {
            EXPECT_EQ(ascending[i] < ascending[j], i < j) << i << " " << j;
            EXPECT_EQ(ascending[i] == ascending[j], i == j) << i << " " << j;
        }
    }

    const TSCIOperatorProfileData profile = ascending[3];
    TSCIOperatorProfileData otherType = profile;
    otherType.profileType = OP_PROFILE_TYPE_PROFILED_TYPE_1;
    TSCIOperatorProfileData otherModes = profile;
    otherModes.supportedAntennaModes = {ANTENNA_MODE_CABLE};
    for (const TSCIOperatorProfileData& twin : {otherType, otherModes})
    {
        EXPECT_FALSE(profile < twin || twin < profile);
        EXPECT_NE(profile, twin);
    }
    EXPECT_EQ((std::set<TSCIOperatorProfileData>{profile, otherType, otherModes}).begin()->profileType,
              OP_PROFILE_TYPE_NON_PROFILED);
}

TEST(Values, ByteOrderedKeys)
{
    TSDRMUuid prefix;
    prefix.uuid = {0xFF};
    EXPECT_LT(prefix, TSDRMUuid());
    EXPECT_LT(TSDRMUuid(std::vector<unsigned char>(16, 0x7F)), TSDRMUuid(std::vector<unsigned char>(16, 0x80)));
    EXPECT_LT(TSIPServiceLocationData("a\x7F"), TSIPServiceLocationData("a\x80"));
    EXPECT_LT(TSIPServiceLocationData("a"), TSIPServiceLocationData("aa"));
    EXPECT_FALSE(TSIPServiceLocationData("a") < TSIPServiceLocationData("a"));
    EXPECT_LT(TSDRMSystemId(0x7FFF), TSDRMSystemId(0x8000));
}

TEST(Values, ADomainIsFoundByItsExactName)
{
    const std::pair<std::string, int> cases[] = {
        {"UKMHEGP1", 1}, {"CIMHEGP1", 2},  {"HbbTVEngineProfile1", 3},        {"", 4},
        {"ukmhegp1", 4}, {"UKMHEGP1 ", 4}, {std::string("UKMHEGP1\0", 9), 4}, {"UKMHEGP", 4},
    };
    for (const auto& [raw, domain] : cases)
    {
        EXPECT_EQ(RawDataToEnum(Bytes(raw)), static_cast<ECIAuxiliaryFileSystemDomainIds>(domain)) << raw;
    }
}

// In a process of its own: the identifiers are counted from its start.
TEST(Values, PlayerHandlesCountUpAndSkipTheInvalidOne)
{
    InChild(
        []
        {
            int next = 0;
            while (next < 0xFFFF && TSCICAMPlayerHandle::Create().identifier == next)
            {
                ++next;
            }
            EXPECT_EQ(next, 0xFFFF);
            EXPECT_EQ(TSCICAMPlayerHandle::Create().identifier, 0);
            EXPECT_EQ(TSCICAMPlayerHandle::Create().identifier, 1);
        });
}
} // namespace CIM
