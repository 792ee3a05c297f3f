#include "support/Values.h"
#include "TreeText.h"

#include <ciapi/CIAuxiliaryFileSystemDataType.h>
#include <ciapi/CICAMPlayerDataType.h>
#include <ciapi/CIGeneralDataType.h>
#include <ciapi/CIOperatorProfileDataType.h>
#include <ciapi/CISampleDecryptionDataType.h>
#include <tvplatform/MessageBuffer.h>

#include "marshalling/MarshalableContainers.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <typeinfo>
#include <vector>

namespace CIM
{
namespace
{
/// A type with a value, as the tree that the daemon sees, and the value to read over.
struct STreeCase
{
    const char* name;
    std::shared_ptr<TCMarshalable> value;
    std::shared_ptr<TCMarshalable> target;
    const char* tree;
    std::function<bool()> equal;
};

template <class T>
STreeCase Case(const char* name, T value, T target, const char* tree, std::function<bool(const T&, const T&)> equal)
{
    auto from = std::make_shared<T>(std::move(value));
    auto to = std::make_shared<T>(std::move(target));
    return {name, from, to, tree, [from, to, equal] { return equal(*from, *to); }};
}

template <class T>
STreeCase Case(const char* name, T value, T target, const char* tree)
{
    return Case<T>(name, std::move(value), std::move(target), tree, [](const T& a, const T& b) { return a == b; });
}

const std::vector<unsigned char> SIXTEEN_BYTES = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

std::vector<STreeCase> Cases()
{
    const TSDRMMetadataRecord record(CENC_PSSH_BOX, TSDRMSystemId(0x0B00), TSDRMUuid(SIXTEEN_BYTES), {0xCA, 0xFE});
    const TSCIOperatorProfileData profile(ANTENNA_MODE_CABLE, SERVICE_MODE_OPERATOR, 2, {0x0041, 0x20AC},
                                          {ANTENNA_MODE_SATELLITE, ANTENNA_MODE_TERRESTRIAL},
                                          OP_PROFILE_TYPE_PROFILED_TYPE_2);
    const TSCIOperatorProfileData other(ANTENNA_MODE_NONE, SERVICE_MODE_NONE, 9, {7}, {ANTENNA_MODE_CABLE},
                                        OP_PROFILE_TYPE_NON_PROFILED);
    return {
        Case("text", Text({0x0041, 0x00E4}), Text({9}), "{0={4100e400}}"),
        Case("empty text", Text({}), Text({9}), "{0={}}"),
        Case("default slot", TCSlotInfo(), Slot(1, 2, {TVSHandle()}, {3}), "{0=00 1=ffffffffffffffff 2={} 3={}}"),
        Case("slot", Slot(3, 0x0102030405060708, {{PROFILE_SUB, 0x1122}}, {0x1800, 1}), TCSlotInfo(),
             "{0=03 1=0807060504030201 2={0100000022110000} 3={00180100}}"),
        Case("status", Status({{1, TCSlotInfo()}, {-1, Slot(1, 0, {}, {})}}), Status({{5, TCSlotInfo()}}),
             "{0={ffffffff {0=01 1=0000000000000000 2={} 3={}} 01000000 {0=00 1=ffffffffffffffff 2={} 3={}}}}"),
        Case("profile", profile, other, "{0=01000000 1=01000000 2=02 3={0=4100ac20} 4={00000000 02000000} 5=02000000}"),
        Case("system id", TSDRMSystemId(0x1234), TSDRMSystemId(), "{0=3412}"),
        Case("uuid", TSDRMUuid(SIXTEEN_BYTES), TSDRMUuid(), "{0={000102030405060708090a0b0c0d0e0f}}"),
        Case("record", record, TSDRMMetadataRecord(),
             "{0=03000000 1={0=000b} 2={0={000102030405060708090a0b0c0d0e0f}} 3={cafe}}"),
        Case("track", TSSampleTrackNonTSFormat(0x1FFF, {record}), TSSampleTrackNonTSFormat(1, {record, record}),
             "{0=ff1f 1={{0=03000000 1={0=000b} 2={0={000102030405060708090a0b0c0d0e0f}} 3={cafe}}}}"),
        Case("systems", TSDRMSystemsData({TSDRMSystemId(2), TSDRMSystemId(1)}, {TSDRMUuid()}),
             TSDRMSystemsData({TSDRMSystemId(9)}, {}),
             "{0={{0=0100} {0=0200}} 1={{0={ffffffffffffffffffffffffffffffff}}}}"),
        Case("player handle", TSCICAMPlayerHandle(7), TSCICAMPlayerHandle(), "{0=0700}"),
        Case<TSPlaybackSpeed>("speed", TSPlaybackSpeed(-100), TSPlaybackSpeed(), "{0=9cff}",
                              [](const auto& a, const auto& b) { return a.hundredths == b.hundredths; }),
        Case<TSPlaybackPosition>("position", TSPlaybackPosition(TSPlaybackPosition::SEEK_MODE_ABSOLUTE, 30),
                                 TSPlaybackPosition(), "{0=00000000 1=1e000000}",
                                 [](const auto& a, const auto& b)
                                 { return a.seekMode == b.seekMode && a.position == b.position; }),
        Case("location", TSIPServiceLocationData("ab"), TSIPServiceLocationData("xyz"), "{0={0=02000000 1=6162}}"),
        Case<TCCiAuxiliaryFileSystemDTO>("file system", TCCiAuxiliaryFileSystemDTO(3, -2, DOMAIN_IDS_CIMHEGP1),
                                         TCCiAuxiliaryFileSystemDTO(), "{0=0300 1=feffffff 2=02000000}",
                                         [](const auto& a, const auto& b) {
                                             return a.shortValue == b.shortValue && a.intValue == b.intValue &&
                                                    a.domainId == b.domainId;
                                         }),
        Case<TCCiFileAckDTO>("file acknowledgement", TCCiFileAckDTO(true, false, APP_REQUEST_DATA, {1, 2}, {3}),
                             TCCiFileAckDTO(false, true, static_cast<EFileRequestType>(0x1FF), {}, {9, 9}),
                             "{0=01 1=00 2=01 3={0102} 4={03}}",
                             [](const auto& a, const auto& b)
                             {
                                 return a.firstFlag == b.firstFlag && a.secondFlag == b.secondFlag &&
                                        a.requestType == b.requestType && a.firstData == b.firstData &&
                                        a.secondData == b.secondData;
                             }),
    };
}

/// The tree of a value, wrapped as a field of a root, stored in a buffer and read again.
template <class Check>
void Travel(TCMarshalable& value, const Check& check)
{
    TCTreeBranchList root(1u);
    TCTreeBranch* branch = root.NewBranch(0);
    ASSERT_TRUE(root.AddNode(branch));
    ASSERT_TRUE(value.ClassToTree(*branch));
    TCMessageBuffer buffer;
    ASSERT_TRUE(root.StoreInBuffer(buffer));
    TCTreeBranchList read(&buffer);
    ASSERT_TRUE(read.IsValid());
    ASSERT_NE(read.GetFirstNode(), nullptr);
    check(*read.GetFirstNode()->AsBranch());
}
/// Empty nodes in the place of elements are not worth the memory of the elements; what the elements write of themselves
/// is, however empty they are.
template <class TContainer, class TAdapter>
void CheckBudget(const TContainer& elements)
{
    SCOPED_TRACE(typeid(TContainer).name());
    TContainer sound(elements);
    TContainer again;
    TAdapter writer(&sound);
    TAdapter reader(&again);
    Travel(writer, [&](TCTreeBranch& branch) { EXPECT_TRUE(reader.TreeToClass(branch)); });
    EXPECT_EQ(again.size(), elements.size());

    TCTreeBranchList hollow(1u);
    for (std::size_t node = 0; node < 2 * elements.size(); ++node)
    {
        hollow.AddNode(hollow.NewBranch(0));
    }
    // With pointers of four bytes, an element may be as small as what an empty node is good for.
    const bool isSmall = sizeof(typename TContainer::value_type) <= 32;
    EXPECT_EQ(reader.TreeToClass(hollow), isSmall);
    EXPECT_EQ(again.empty(), !isSmall);
}

template <class TElement>
void CheckList(const TElement& element)
{
    constexpr std::size_t COUNT = 20000; // more than what is free
    using TContainer = std::vector<TElement>;
    CheckBudget<TContainer, TCMarshalableOneDimensionContainer<TContainer, TElement>>(TContainer(COUNT, element));
}
} // namespace

TEST(Trees, ContainersTakeNoMoreThanTheirBytesAreWorth)
{
    CheckList(TSCIOperatorProfileData());
    CheckList(TSDRMMetadataRecord());
    CheckList(TSSampleTrackNonTSFormat());
    std::map<int, TCSlotInfo> slots;
    for (int slot = 0; slot < 20000; ++slot)
    {
        slots[slot];
    }
    CheckBudget<decltype(slots), TCMarshalableMapContainer<decltype(slots), TCSlotInfo>>(slots);
}

TEST(Trees, EveryTypeTravelsInItsFormAndReplacesWhatWasThere)
{
    for (const STreeCase& row : Cases())
    {
        SCOPED_TRACE(row.name);
        Travel(*row.value,
               [&](TCTreeBranch& branch)
               {
                   EXPECT_EQ(TreeText(branch), row.tree);
                   EXPECT_FALSE(row.equal());
                   EXPECT_TRUE(row.target->TreeToClass(branch));
                   EXPECT_TRUE(row.equal());
               });
    }
}

TEST(Trees, AMissingFieldKeepsItsValueAndAMisfitIsReported)
{
    TCTreeBranchList empty(1u);
    TCSlotInfo slot = Slot(4, 5, {TVSHandle(PROFILE_MAIN, 1)}, {6});
    EXPECT_TRUE(slot.TreeToClass(empty));
    EXPECT_EQ(slot, Slot(4, 5, {TVSHandle(PROFILE_MAIN, 1)}, {6}));

    TCTreeBranchList narrow(1u);
    ASSERT_TRUE(narrow.AddNode(narrow.NewLeaf(1, 4, "abcd"))); // eight bytes are wanted
    EXPECT_FALSE(slot.TreeToClass(narrow));
    EXPECT_EQ(slot.slotValue, 5);
}

TEST(Trees, OfAFileRequestsTypeTheLowByteTravelsAndAFlagOfAnyByteIsTrue)
{
    TCCiFileAckDTO sent(false, false, static_cast<EFileRequestType>(0x1FF), {}, {});
    TCCiFileAckDTO received;
    received.requestType = APP_REQUEST_DATA;
    Travel(sent, [&](TCTreeBranch& branch) { EXPECT_TRUE(received.TreeToClass(branch)); });
    EXPECT_EQ(static_cast<int>(received.requestType), 0xFF);
    EXPECT_EQ(static_cast<int>(sent.requestType), 0x1FF);

    TCTreeBranchList strange(1u);
    ASSERT_TRUE(strange.AddNode(strange.NewLeaf(1, 1, "\x40")));
    EXPECT_TRUE(received.TreeToClass(strange));
    EXPECT_FALSE(received.firstFlag);
    EXPECT_TRUE(received.secondFlag);
}
} // namespace CIM
