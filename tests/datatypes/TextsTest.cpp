#include <ciapi/CICAMPlayerDataType.h>
#include <ciapi/CIGeneralDataType.h>
#include <ciapi/CIOperatorProfileDataType.h>
#include <ciapi/CISampleDecryptionDataType.h>
#include <ciapi/CITextUtils.h>

#include <gtest/gtest.h>

namespace CIM
{
namespace
{
using TWide = std::basic_string<unsigned short>;

std::string Repeated(int count, const std::string& text)
{
    std::string result;
    for (; count > 0; --count)
    {
        result += text;
    }
    return result;
}
} // namespace

TEST(Texts, NumbersAndByteStrings)
{
    EXPECT_EQ(ToString(0), "0x00");
    EXPECT_EQ(ToString(0xA), "0x0a");
    EXPECT_EQ(ToString(0x1F2), "0x1f2");
    EXPECT_EQ(ToString(-1), "0xffffffff");

    EXPECT_EQ(ByteArrayToString({}), "SIZE(0) ");
    EXPECT_EQ(ByteArrayToString({0x0A, 0xFF}), "SIZE(2)  0x0a 0xff");
    EXPECT_EQ(ByteArrayToString(std::vector<unsigned char>(100, 1)), "SIZE(100) " + Repeated(100, " 0x01"));
    EXPECT_EQ(ByteArrayToString(std::vector<unsigned char>(101, 1)),
              "SIZE(101) PRINT LIMITED TO(100) " + Repeated(100, " 0x01"));

    std::vector<unsigned char> bytes = {0};
    Put8(bytes, 0xF1);
    Put16(bytes, 0xF203);
    Put32(bytes, 0xF4050607);
    Put64(bytes, 0xF8090A0B0C0D0E0F);
    EXPECT_EQ(bytes, (std::vector<unsigned char>{0, 0xF1, 0xF2, 3, 0xF4, 5, 6, 7, 0xF8, 9, 10, 11, 12, 13, 14, 15}));
}

TEST(Texts, UnicodeBecomesUtf8WhateverTheCamSends)
{
    const std::string kReplacement = "\xEF\xBF\xBD";
    const std::pair<TWide, std::string> cases[] = {
        {{}, ""},
        {{'A', 0x00E4, 0x20AC}, "A\xC3\xA4\xE2\x82\xAC"},
        {{0xD83D, 0xDE00}, "\xF0\x9F\x98\x80"},
        {{'a', 0, 'b'}, std::string("a\0b", 3)},
        {{0xFEFF, 'a'},
         "\xEF\xBB\xBF"
         "a"},
        {{0xD83D, 'x'}, kReplacement + "x"},            // a first half without its second
        {{'x', 0xDE00, 'y'}, "x" + kReplacement + "y"}, // a second half alone
        {{'x', 0xD83D}, "x" + kReplacement},            // the text ends inside a pair
        {{0xD83D, 0xD83D, 0xDE00}, kReplacement + "\xF0\x9F\x98\x80"},
        {{0xDE00, 0xDE00, 0xD800}, kReplacement + kReplacement + kReplacement},
    };
    for (const auto& [units, utf8] : cases)
    {
        EXPECT_EQ(TCUnicodeUtils::UnicodeToUtf8(units), utf8);
        TCIText text;
        text.text.assign(units.begin(), units.end());
        EXPECT_EQ(text.ToUtf8(), utf8);
    }
    EXPECT_EQ(TCUnicodeUtils::UnicodeToUtf8(TWide(10000, 0xD800)), Repeated(10000, kReplacement));
}

TEST(Texts, FromUtf8)
{
    using TUnits = std::vector<unsigned short>;
    const std::pair<std::string, TUnits> cases[] = {
        {"", {}},
        {"A\xC3\xA4\xE2\x82\xAC", {'A', 0x00E4, 0x20AC}},
        {"\xF0\x9F\x98\x80", {0xD83D, 0xDE00}},
        {std::string("a\0b", 3), {'a', 0, 'b'}},
        {"\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", {0xFFFF, 0xD800, 0xDC00, 0xDBFF, 0xDFFF}},
        // What is no UTF-8: each such byte is replaced, and what follows is read.
        {"\xC3(", {0xFFFD, '('}},                                     // a character that breaks off
        {"x\xE2\x82", {'x', 0xFFFD, 0xFFFD}},                         // at the end, too
        {"\xBFx", {0xFFFD, 'x'}},                                     // the middle of one
        {"\xC0\x80", {0xFFFD, 0xFFFD}},                               // longer than need be
        {"\xED\xA0\xBD", {0xFFFD, 0xFFFD, 0xFFFD}},                   // a surrogate
        {"\xF4\x90\x80\x80x", {0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD, 'x'}}, // beyond U+10FFFF
        {"\xFF\xFE", {0xFFFD, 0xFFFD}},
    };
    for (const auto& [utf8, units] : cases)
    {
        EXPECT_EQ(TCIText::FromUtf8(utf8).text, units) << utf8;
    }
}

TEST(Texts, OperatorProfile)
{
    const TSCIOperatorProfileData profile(ANTENNA_MODE_CABLE, SERVICE_MODE_NONE, 0xFF, {0x0041, 0x20AC},
                                          {ANTENNA_MODE_SATELLITE, ANTENNA_MODE_TERRESTRIAL},
                                          OP_PROFILE_TYPE_PROFILED_TYPE_1);
    EXPECT_EQ(ToString(profile),
              "antennaMode[ 0x01 ], serviceMode[ 0xffffffff ], slotId[ 255 ], profileName (2 bytes) [ A\xE2\x82\xAC ], "
              "supportedAntennaModes ( 2 antenna modes ) [ 0x00, 0x02, ], profileType[ "
              "OP_PROFILE_TYPE_PROFILED_TYPE_1 ]");
    const TSCIOperatorProfileData bare(ANTENNA_MODE_TERRESTRIAL, SERVICE_MODE_GENERIC, 0, {}, {},
                                       static_cast<EOpProfileType>(3));
    EXPECT_EQ(ToString(bare), "antennaMode[ 0x00 ], serviceMode[ 0x00 ], slotId[ 0 ], profileName (0 bytes) [  ], "
                              "supportedAntennaModes ( 0 antenna modes ) [ ], profileType[  ]");
}

TEST(Texts, SampleDecryption)
{
    const std::string invalid = "SIZE(16) " + Repeated(16, " 0xff");
    const TSDRMMetadataRecord record(static_cast<EDRMMetadataSource>(5), TSDRMSystemId(0xB00), TSDRMUuid(), {0xCA});
    const std::string recordText =
        "source[NOT_SUPPORTED(5)] systemId[2816] uuid[" + invalid + "] metadata[SIZE(1)  0xca]";
    EXPECT_EQ(ToString(TSDRMSystemId(0xB00)), "2816");
    EXPECT_EQ(ToString(TSDRMUuid()), invalid);
    EXPECT_EQ(ToString(record), recordText);
    EXPECT_EQ(ToString(TSSampleTrackNonTSFormat(17, {})), "trackPid[17] drmRecords[[size=0]]");
    EXPECT_EQ(ToString(TSSampleTrackNonTSFormat(17, {record, record})),
              "trackPid[17] drmRecords[[size=2] [" + recordText + "] [" + recordText + "]]");
    EXPECT_EQ(ToString(TSDRMSystemsData({TSDRMSystemId(1), TSDRMSystemId(2)}, {TSDRMUuid()})),
              "drmSystemIds[[size=2] [1] [2]] drmUuids[[size=1] [" + invalid + "]] ");
    TSSampleDecryptionStatus status;
    EXPECT_EQ(ToString(status), "transmissionStatus[CI_SD_TX_STATUS_ERROR_OTHER_REASON] "
                                "drmStatus[CI_SD_DRM_STATUS_STATUS_CURRENTLY_UNDETERMINED] drmSystemIds[0] drmUuid[" +
                                    invalid + "] bufferSize[0] ");
}

TEST(Texts, CamPlayer)
{
    EXPECT_EQ(ToString(TSCICAMPlayerHandle(7)), "CICAMPlayerHandle[7]");
    EXPECT_EQ(ToString(TSCICAMPlayerHandle()), "CICAMPlayerHandle[INVALID]");
    EXPECT_EQ(ToString(TSPlaybackSpeed(-100)), "65436  hundreths of the nominal speed");
    EXPECT_EQ(ToString(TSPlaybackSpeed(0)), "0 (pause)  hundreths of the nominal speed");
    EXPECT_EQ(ToString(TSPlaybackPosition()), "-1 (jump to live) relative");
    EXPECT_EQ(ToString(TSPlaybackPosition(TSPlaybackPosition::SEEK_MODE_ABSOLUTE, 30)), "30 absolute");
    EXPECT_EQ(ToString(TSPlaybackPosition(static_cast<TSPlaybackPosition::ESeekMode>(-3), 0)), "0 relative");
    EXPECT_EQ(ToString(TSIPServiceLocationData("dvb://1")), "dvb://1");
}
} // namespace CIM
