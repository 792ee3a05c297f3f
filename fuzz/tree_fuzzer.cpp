#include "marshalling/MarshalableContainers.h"

#include <ciapi/CIGeneralDataType.h>
#include <ciapi/CIOperatorProfileDataType.h>
#include <ciapi/CISampleDecryptionDataType.h>

#include <tvplatform/ApiAssert.h>
#include <tvplatform/MessageBuffer.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

// Property: bytes are either refused, leaving an empty tree, or a tree whose stored form is those very bytes; what an
// object read from any tree is written and read again as itself.

namespace
{
void Require(bool condition)
{
    if (!condition)
    {
        std::abort();
    }
}

// Reading what was written reads the same: the second form equals the first.
template <class TSObject>
void ReadWriteRead(TCTreeBranch& branch, TSObject& object)
{
    object.TreeToClass(branch);
    TCMessageBuffer first;
    Require(object.Store(first));
    const std::string bytes(first.GetAsCStr(0), first.GetUnreadSize());
    Require(object.Load(first));
    TCMessageBuffer second;
    Require(object.Store(second));
    Require(bytes.size() == second.GetUnreadSize());
    Require(std::memcmp(bytes.data(), second.GetAsCStr(0), bytes.size()) == 0);
}

template <class TContainer, class TAdapter>
void ReadContainer(TCTreeBranch& branch)
{
    TContainer container;
    TAdapter adapter(&container);
    ReadWriteRead(branch, adapter);
}

void Read(unsigned char reader, TCTreeBranch& branch)
{
    using namespace CIM;
    using TWide = std::basic_string<unsigned short>;
    switch (reader % 10)
    {
    case 0:
    {
        TCCiStatus status;
        return ReadWriteRead(branch, status);
    }
    case 1:
    {
        std::list<TSCIOperatorProfileData> profiles;
        TCMarshalableOneDimensionContainer<decltype(profiles), TSCIOperatorProfileData> adapter(&profiles);
        adapter.TreeToClass(branch); // a profile without a type leaves it unset: not for comparing
        return;
    }
    case 2:
        using TTracks = std::vector<TSSampleTrackNonTSFormat>;
        return ReadContainer<TTracks, TCMarshalableOneDimensionContainer<TTracks, TSSampleTrackNonTSFormat>>(branch);
    case 3:
        using THandles = std::vector<TVSHandle>;
        return ReadContainer<THandles, TCMarshalableOneDimensionContainer<THandles, TVSHandle>>(branch);
    case 4:
        using TStrings = std::list<std::string>;
        return ReadContainer<TStrings, TCMarshalableOneDimensionContainer<TStrings, std::string>>(branch);
    case 5:
        using TUuids = std::set<TSDRMUuid>;
        return ReadContainer<TUuids, TCMarshalableSetContainer<TUuids, TSDRMUuid>>(branch);
    case 6:
        using TLists = std::map<unsigned char, TCodeList>;
        return ReadContainer<TLists, TCMarshalableMapContainer<TLists, TCodeList>>(branch);
    case 7:
        using TNames = std::map<unsigned char, TModeNames>;
        return ReadContainer<TNames, TCMarshalableMapContainer<TNames, TModeNames>>(branch);
    case 8:
        using TLabels = std::map<TSTvMode, TWide>;
        return ReadContainer<TLabels, TCMarshalableMapContainer<TLabels, TWide>>(branch);
    default:
    {
        std::string text;
        TCMarshalableString adapter(&text);
        return ReadWriteRead(branch, adapter);
    }
    }
}
} // namespace

// A malformed map is reported as an assertion; here it is an ordinary input.
TVPLATFORM_EXPORT void _TCApiAssert(const char*, const char*, int, const char*) {}

// The first byte chooses the reader, the rest is the payload.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
    {
        return 0;
    }
    TCMessageBuffer buffer;
    buffer.PushBorrowed(size - 1, data + 1);
    TCTreeBranchList tree(&buffer);
    if (!tree.IsValid())
    {
        Require(tree.GetFirstNode() == nullptr);
        return 0;
    }
    TCMessageBuffer again;
    Require(tree.StoreInBuffer(again));
    Require(again.GetUnreadSize() == size - 1);
    Require(std::memcmp(again.GetAsCStr(0), data + 1, size - 1) == 0);
    Read(data[0], tree);
    for (TCTreeNode* node = tree.GetFirstNode(); node; node = node->GetNextNode())
    {
        if (TCTreeBranch* branch = node->AsBranch())
        {
            Read(data[0], *branch);
        }
    }
    return 0;
}
