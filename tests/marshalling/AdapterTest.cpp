#include "TreeBytes.h"

#include "marshalling/MarshalableContainers.h"

#include <ciapi/CIAuxiliaryFileSystemDataType.h>
#include <ciapi/CIEnumerations.h>
#include <ciapi/CIGeneralDataType.h>
#include <ciapi/CIOperatorProfileDataType.h>
#include <ciapi/CISampleDecryptionDataType.h>
#include <ciapi/PvrCipDataType.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

using TWide = std::basic_string<unsigned short>;

template <class TContainer, class TElement>
struct TSequence
{
    using TTarget = TContainer;
    using TAdapter = CIM::TCMarshalableOneDimensionContainer<TContainer, TElement>;
};
template <class TElement>
struct TSet
{
    using TTarget = std::set<TElement>;
    using TAdapter = CIM::TCMarshalableSetContainer<TTarget, TElement>;
};
template <class TKey, class TValue>
struct TMap
{
    using TTarget = std::map<TKey, TValue>;
    using TAdapter = CIM::TCMarshalableMapContainer<TTarget, TValue>;
};

template <class T>
bool IsSame(const T& a, const T& b)
{
    return a == b;
}
bool IsSame(const CIM::TCCiAuxiliaryFileSystemDTO& a, const CIM::TCCiAuxiliaryFileSystemDTO& b)
{
    return a.shortValue == b.shortValue && a.intValue == b.intValue && a.domainId == b.domainId;
}
template <class T>
bool AreSame(const T& a, const T& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const auto& x, const auto& y) { return IsSame(x, y); });
}

CIM::TCIText Text(std::vector<unsigned short> units)
{
    CIM::TCIText text;
    text.text = std::move(units);
    return text;
}

CIM::TCSlotInfo Slot(unsigned char flag, long long value, std::vector<TVSHandle> handles,
                     std::vector<unsigned short> codes)
{
    CIM::TCSlotInfo slot;
    slot.slotFlag = flag;
    slot.slotValue = value;
    slot.handles = std::move(handles);
    slot.codes = std::move(codes);
    return slot;
}

// One full value of each kind of container that an interface carries.
void Set(std::vector<unsigned char>& v) { v = {0, 0x47, 0xff, 0x80}; }
void Set(std::vector<unsigned short>& v) { v = {1, 0xffff, 0x0500}; }
void Set(std::vector<TVSHandle>& v) { v = {{PROFILE_MAIN, 1}, {PROFILE_NONE, 0xffff}}; }
void Set(std::list<unsigned short>& v) { v = {0x0500, 0x0b00, 1}; }
void Set(std::list<std::string>& v) { v = {"first", "", std::string("with\0zero", 9)}; }
void Set(std::vector<CIM::TCIText>& v) { v = {Text({65, 0x20ac}), Text({}), Text({1})}; }
void Set(std::vector<CIM::TCCiAuxiliaryFileSystemDTO>& v)
{
    v = {{7, -9, static_cast<CIM::ECIAuxiliaryFileSystemDomainIds>(2)},
         {0xffff, 1 << 30, static_cast<CIM::ECIAuxiliaryFileSystemDomainIds>(77)}};
}
void Set(std::vector<CIM::SContentSection>& v) { v = {{1, -1}, {0x123456789abcLL, 0}}; }
void Set(std::list<CIM::TSCIOperatorProfileData>& v)
{
    v = {{ANTENNA_MODE_CABLE,
          SERVICE_MODE_OPERATOR,
          3,
          {80, 81},
          {ANTENNA_MODE_CABLE, ANTENNA_MODE_SATELLITE},
          static_cast<CIM::EOpProfileType>(2)},
         {ANTENNA_MODE_NONE, SERVICE_MODE_NONE, 255, {}, {}, static_cast<CIM::EOpProfileType>(0)}};
}
std::vector<CIM::TSDRMMetadataRecord> Records()
{
    const std::vector<unsigned char> uuid(16, 0xab);
    return {{static_cast<CIM::EDRMMetadataSource>(1), CIM::TSDRMSystemId(0x0b00), CIM::TSDRMUuid(uuid), {9, 8, 7}},
            {static_cast<CIM::EDRMMetadataSource>(0), CIM::TSDRMSystemId(0xffff), CIM::TSDRMUuid(), {}}};
}
void Set(std::vector<CIM::TSDRMMetadataRecord>& v) { v = Records(); }
void Set(std::vector<CIM::TSSampleTrackNonTSFormat>& v) { v = {{0x100, Records()}, {0x1fff, {}}}; }
void Set(std::set<EAntennaMode>& v) { v = {ANTENNA_MODE_NONE, ANTENNA_MODE_SATELLITE, static_cast<EAntennaMode>(99)}; }
void Set(std::set<CIM::TSDRMSystemId>& v) { v = {CIM::TSDRMSystemId(5), CIM::TSDRMSystemId(0xfffe)}; }
void Set(std::set<CIM::TSDRMUuid>& v)
{
    v = {CIM::TSDRMUuid(std::vector<unsigned char>(16, 1)), CIM::TSDRMUuid(std::vector<unsigned char>(16, 2))};
}
void Set(std::map<int, CIM::TCSlotInfo>& v)
{
    v = {{-1, Slot(1, 1LL << 40, {{PROFILE_SUB, 2}}, {3, 4})}, {7, Slot(0, -1, {}, {})}};
}
void Set(std::map<unsigned char, CIM::ECamMode>& v) { v = {{0, CIM::ECamMode(1)}, {255, CIM::ECamMode(-5)}}; }
void Set(std::map<unsigned char, CIM::ECamStatus>& v) { v = {{1, CIM::ECamStatus(2)}, {2, CIM::ECamStatus(0)}}; }
void Set(std::map<unsigned char, std::list<unsigned short>>& v) { v = {{0, {1, 2, 3}}, {1, {}}, {9, {0xffff}}}; }
void Set(std::map<TSTvMode, unsigned char>& v)
{
    v = {{{ANTENNA_MODE_CABLE, SERVICE_MODE_NONE}, 1}, {{ANTENNA_MODE_CABLE, SERVICE_MODE_OPERATOR}, 255}};
}
void Set(std::map<TSTvMode, TWide>& v)
{
    v = {{{ANTENNA_MODE_NONE, SERVICE_MODE_NONE}, {}}, {{ANTENNA_MODE_SATELLITE, SERVICE_MODE_GENERIC}, {65, 0xd800}}};
}
void Set(std::map<EAntennaMode, TWide>& v) { v = {{ANTENNA_MODE_CABLE, {65, 66}}, {ANTENNA_MODE_SATELLITE, {}}}; }
void Set(std::map<unsigned char, std::map<EAntennaMode, TWide>>& v)
{
    v = {{1, {{ANTENNA_MODE_CABLE, {65}}, {ANTENNA_MODE_SATELLITE, {66, 67}}}}, {2, {}}};
}

template <class T>
class AdapterRoundTrip : public testing::Test
{
};

using TInstantiations = testing::Types<
    TSequence<std::vector<unsigned char>, unsigned char>, TSequence<std::vector<unsigned short>, unsigned short>,
    TSequence<std::vector<TVSHandle>, TVSHandle>, TSequence<std::list<unsigned short>, unsigned short>,
    TSequence<std::list<std::string>, std::string>, TSequence<std::vector<CIM::TCIText>, CIM::TCIText>,
    TSequence<std::vector<CIM::TCCiAuxiliaryFileSystemDTO>, CIM::TCCiAuxiliaryFileSystemDTO>,
    TSequence<std::vector<CIM::SContentSection>, CIM::SContentSection>,
    TSequence<std::list<CIM::TSCIOperatorProfileData>, CIM::TSCIOperatorProfileData>,
    TSequence<std::vector<CIM::TSDRMMetadataRecord>, CIM::TSDRMMetadataRecord>,
    TSequence<std::vector<CIM::TSSampleTrackNonTSFormat>, CIM::TSSampleTrackNonTSFormat>, TSet<EAntennaMode>,
    TSet<CIM::TSDRMSystemId>, TSet<CIM::TSDRMUuid>, TMap<int, CIM::TCSlotInfo>, TMap<unsigned char, CIM::ECamMode>,
    TMap<unsigned char, CIM::ECamStatus>, TMap<unsigned char, std::list<unsigned short>>, TMap<TSTvMode, unsigned char>,
    TMap<TSTvMode, TWide>, TMap<EAntennaMode, TWide>, TMap<unsigned char, std::map<EAntennaMode, TWide>>>;
TYPED_TEST_SUITE(AdapterRoundTrip, TInstantiations);

} // namespace

TYPED_TEST(AdapterRoundTrip, WhatIsReadIsWhatWasWritten)
{
    using TTarget = typename TypeParam::TTarget;
    using TAdapter = typename TypeParam::TAdapter;
    TTarget written;
    Set(written);

    TCTreeBranchList tree(0);
    TAdapter writer(&written);
    ASSERT_TRUE(writer.ClassToTree(tree));
    EXPECT_EQ(writer.GetMarshalableStorageType(), 1);
    TSParsed parsed(Stored(tree));
    ASSERT_TRUE(parsed.tree->IsValid());

    // Twice into the same target: what it held before is gone.
    TTarget read;
    TAdapter reader(&read);
    for (int round = 0; round < 2; ++round)
    {
        ASSERT_TRUE(reader.TreeToClass(*parsed.tree));
        EXPECT_TRUE(AreSame(written, read)) << round;
    }

    // Nothing in, nothing out; an empty branch empties the target; no target is no error.
    TTarget empty;
    TCTreeBranchList emptyTree(0);
    EXPECT_TRUE(TAdapter(&empty).ClassToTree(emptyTree));
    EXPECT_TRUE(TAdapter(nullptr).ClassToTree(emptyTree));
    EXPECT_EQ(emptyTree.GetFirstNode(), nullptr);
    EXPECT_TRUE(TAdapter(nullptr).TreeToClass(*parsed.tree));
    EXPECT_TRUE(reader.TreeToClass(emptyTree));
    EXPECT_TRUE(read.empty());
}
