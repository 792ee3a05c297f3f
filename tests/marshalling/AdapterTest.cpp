#include "TreeBytes.h"

#include "marshalling/MarshalableContainers.h"
#include "support/Values.h"

#include <ciapi/CIEnumerations.h>
#include <ciapi/CISampleDecryptionDataType.h>

#include <gtest/gtest.h>

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

using CIM::Slot;
using CIM::Text;

// One full value of each form that a container's elements have: packed, strings, objects, keys with values, containers.
// That every container of an interface travels is what golden_test shows.
void Set(std::vector<unsigned short>& v) { v = {1, 0xffff, 0x0500}; }
void Set(std::list<std::string>& v) { v = {"first", "", std::string("with\0zero", 9)}; }
void Set(std::vector<CIM::TCIText>& v) { v = {Text({65, 0x20ac}), Text({}), Text({1})}; }
void Set(std::set<EAntennaMode>& v) { v = {ANTENNA_MODE_NONE, ANTENNA_MODE_SATELLITE, static_cast<EAntennaMode>(99)}; }
void Set(std::set<CIM::TSDRMUuid>& v)
{
    v = {CIM::TSDRMUuid(std::vector<unsigned char>(16, 1)), CIM::TSDRMUuid(std::vector<unsigned char>(16, 2))};
}
void Set(std::map<int, CIM::TCSlotInfo>& v)
{
    v = {{-1, Slot(1, 1LL << 40, {{PROFILE_SUB, 2}}, {3, 4})}, {7, Slot(0, -1, {}, {})}};
}
void Set(std::map<unsigned char, std::list<unsigned short>>& v) { v = {{0, {1, 2, 3}}, {1, {}}, {9, {0xffff}}}; }
void Set(std::map<TSTvMode, TWide>& v)
{
    v = {{{ANTENNA_MODE_NONE, SERVICE_MODE_NONE}, {}}, {{ANTENNA_MODE_SATELLITE, SERVICE_MODE_GENERIC}, {65, 0xd800}}};
}
void Set(std::map<unsigned char, std::map<EAntennaMode, TWide>>& v)
{
    v = {{1, {{ANTENNA_MODE_CABLE, {65}}, {ANTENNA_MODE_SATELLITE, {66, 67}}}}, {2, {}}};
}

template <class T>
class AdapterRoundTrip : public testing::Test
{
};

using TInstantiations =
    testing::Types<TSequence<std::vector<unsigned short>, unsigned short>,
                   TSequence<std::list<std::string>, std::string>, TSequence<std::vector<CIM::TCIText>, CIM::TCIText>,
                   TSet<EAntennaMode>, TSet<CIM::TSDRMUuid>, TMap<int, CIM::TCSlotInfo>,
                   TMap<unsigned char, std::list<unsigned short>>, TMap<TSTvMode, TWide>,
                   TMap<unsigned char, std::map<EAntennaMode, TWide>>>;
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
        EXPECT_EQ(written, read) << round;
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
