#include <ciapi/CIOperatorProfileDataType.h>

#include <gtest/gtest.h>
#include <new>
#include <stdexcept>

namespace CIM
{
namespace
{
using TBytes = std::vector<unsigned char>;
using TCProfiles = std::list<TSCIOperatorProfileData>;

TSCIOperatorProfileData Profile(unsigned short seed)
{
    return {ANTENNA_MODE_CABLE,
            SERVICE_MODE_OPERATOR,
            static_cast<unsigned char>(seed),
            {0x0041, seed, 0xFFFF},
            {ANTENNA_MODE_TERRESTRIAL, ANTENNA_MODE_SATELLITE},
            OP_PROFILE_TYPE_PROFILED_TYPE_1};
}

TBytes Serialized(const TCProfiles& profiles)
{
    TBytes data;
    EXPECT_TRUE(TSCIOperatorProfileData::Serialize(profiles, data));
    return data;
}

TCProfiles Deserialized(const TBytes& data)
{
    // A copy of exactly this size, so that a read past its end is seen by the sanitizers.
    const TBytes exact(data.begin(), data.end());
    TCProfiles profiles;
    EXPECT_TRUE(TSCIOperatorProfileData::Deserialize(exact, profiles));
    return profiles;
}

TSCIOperatorProfileData DeserializedOne(const TBytes& data, std::ptrdiff_t& taken)
{
    auto position = data.begin() + taken;
    TSCIOperatorProfileData profile;
    EXPECT_TRUE(TSCIOperatorProfileData::Deserialize(data, position, profile));
    taken = position - data.begin();
    return profile;
}
} // namespace

TEST(Serialization, KnownBytes)
{
    TSCIOperatorProfileData bare;
    bare.profileType = static_cast<EOpProfileType>(0x01020304);
    TBytes data = {0xEE};
    EXPECT_TRUE(TSCIOperatorProfileData::Serialize(bare, data));
    EXPECT_EQ(data, (TBytes{0xEE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0xFF,
                            0,    0,    0,    0,    0,    0,    0,    0,    1,    2, 3, 4}));

    const TSCIOperatorProfileData named(ANTENNA_MODE_SATELLITE, SERVICE_MODE_GENERIC, 1, {0x0041, 0x0042},
                                        {static_cast<EAntennaMode>(3), static_cast<EAntennaMode>(1)},
                                        OP_PROFILE_TYPE_PROFILED_TYPE_2);
    EXPECT_EQ(Serialized({named}),
              (TBytes{0, 0,    0, 1,    /**/ 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 1, /**/ 0, 0, 0, 2,
                      0, 0x41, 0, 0x42, /**/ 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 3, /**/ 0, 0, 0, 2}));
    EXPECT_TRUE(Serialized({}).empty());

    TCProfiles profiles = {bare};
    EXPECT_TRUE(TSCIOperatorProfileData::Deserialize(Serialized({named, Profile(7)}), profiles));
    EXPECT_EQ(profiles, (TCProfiles{bare, named, Profile(7)}));
}

TEST(Serialization, MissingBytesBecomeFallbacks)
{
    const TSCIOperatorProfileData nothing(ANTENNA_MODE_TERRESTRIAL, SERVICE_MODE_GENERIC, 0, {}, {},
                                          static_cast<EOpProfileType>(-1));
    EXPECT_EQ(Deserialized({0, 0, 0, 2, 9, 9}), (TCProfiles{nothing, nothing}));
    for (const TBytes& data : {TBytes{}, TBytes{0, 0, 1}, TBytes{0, 0, 0, 0, 1}})
    {
        EXPECT_TRUE(Deserialized(data).empty());
    }

    // A name of five characters of which one and a half are there; what follows is missing, the odd byte stays unread.
    std::ptrdiff_t taken = 0;
    const TSCIOperatorProfileData cut =
        DeserializedOne({0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 9, 8, 0, 0, 0, 5, 0x12, 0x34, 0x56}, taken);
    EXPECT_EQ(cut, TSCIOperatorProfileData(ANTENNA_MODE_CABLE, SERVICE_MODE_OPERATOR, 8, {0x1234, 0, 0, 0, 0}, {},
                                           static_cast<EOpProfileType>(-1)));
    EXPECT_EQ(taken, 18);

    // Four thousand million modes of which two are there, one of them twice.
    taken = 1;
    const TBytes modes = {0xEE, 0,    0,    0,    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                          0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 2, 7};
    const TSCIOperatorProfileData many = DeserializedOne(modes, taken);
    EXPECT_EQ(many.supportedAntennaModes,
              (std::set<EAntennaMode>{ANTENNA_MODE_NONE, ANTENNA_MODE_CABLE, ANTENNA_MODE_SATELLITE}));
    EXPECT_EQ(taken, static_cast<std::ptrdiff_t>(modes.size()) - 1);
    EXPECT_EQ(many.profileType, static_cast<EOpProfileType>(-1));
}

TEST(Serialization, CountsBeyondReasonAreRefusedBeforeMemoryIsTaken)
{
    TCProfiles profiles = {Profile(1)};
    for (const TBytes& data : {TBytes{0xFF, 0xFF, 0xFF, 0xFF, 0, 0}, TBytes{0, 1, 0, 1}})
    {
        EXPECT_THROW(TSCIOperatorProfileData::Deserialize(data, profiles), std::length_error);
    }
    EXPECT_EQ(Deserialized({0, 1, 0, 0}).size(), 65536u);

    TBytes name(12, 0);
    name.insert(name.end(), {0xFF, 0xFF, 0xFF, 0xFF, 0, 0x41});
    TSCIOperatorProfileData profile = Profile(1);
    auto position = name.cbegin();
    EXPECT_THROW(TSCIOperatorProfileData::Deserialize(name, position, profile), std::length_error);
    EXPECT_EQ(profile, Profile(1));
    EXPECT_EQ(position, name.cbegin());

    name.insert(name.begin(), {0, 0, 0, 1});
    EXPECT_THROW(TSCIOperatorProfileData::Deserialize(name, profiles), std::length_error);
    EXPECT_EQ(profiles, TCProfiles{Profile(1)});
}

TEST(Serialization, EveryTruncationKeepsWhatIsThere)
{
    TCProfiles profiles;
    for (unsigned short i = 0; i < 50; ++i)
    {
        profiles.push_back(Profile(i));
    }
    const TBytes data = Serialized(profiles);
    const std::size_t each = (data.size() - 4) / 50;
    for (std::size_t size = 0; size <= data.size(); ++size)
    {
        const TCProfiles read = Deserialized(TBytes(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(size)));
        ASSERT_EQ(read.size(), size < 4 ? 0u : 50u) << size;
        const std::size_t whole = size < 4 ? 0 : (size - 4) / each;
        ASSERT_TRUE(
            std::equal(read.begin(), std::next(read.begin(), static_cast<std::ptrdiff_t>(whole)), profiles.begin()))
            << size;
        ASSERT_TRUE(whole == read.size() || read.back() != profiles.back()) << size;
    }
}

TEST(Serialization, TextForm)
{
    std::string text = "old";
    EXPECT_TRUE(SerializedDataToString({0x0A, 0xFF}, text));
    EXPECT_EQ(text, "0x0a 0xff ");
    EXPECT_TRUE(SerializedDataToString({}, text));
    EXPECT_EQ(text, "");

    TBytes data = {0xEE};
    EXPECT_TRUE(StringToSerializedData("0x1 ff  10", data));
    EXPECT_TRUE(StringToSerializedData(" 1ff 0X0A\t ", data));
    EXPECT_EQ(data, (TBytes{0xEE, 0x01, 0xFF, 0x10, 0xFF, 0x0A}));

    TBytes partial;
    EXPECT_THROW(StringToSerializedData("1 2 zz 3", partial), std::invalid_argument);
    EXPECT_EQ(partial, (TBytes{1, 2}));
    EXPECT_THROW(StringToSerializedData("3 10000000000000000", partial), std::out_of_range);
    EXPECT_EQ(partial, (TBytes{1, 2, 3}));

    TBytes all(256);
    for (int i = 0; i < 256; ++i)
    {
        all[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i);
    }
    TBytes back;
    EXPECT_TRUE(SerializedDataToString(all, text));
    EXPECT_TRUE(StringToSerializedData(text, back));
    EXPECT_EQ(back, all);
}
} // namespace CIM
