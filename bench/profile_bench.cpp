#include "marshalling/MarshalableOneDimensionContainer.h"

#include <ciapi/CIOperatorProfileDataType.h>
#include <tvplatform/MessageBuffer.h>
#include <tvplatform/Tree.h>

#include <benchmark/benchmark.h>

// A list of 50 operator profiles, as a CAM of a large operator offers: through the argument tree, as it crosses the
// bus, and as the compact bytes that applications keep. Copying the list is the measure to compare with.

namespace CIM
{
namespace
{
using TCProfiles = std::list<TSCIOperatorProfileData>;

TCProfiles FiftyProfiles()
{
    TCProfiles profiles;
    for (int i = 0; i < 50; ++i)
    {
        std::basic_string<unsigned short> name;
        for (const char character : "Operator profile " + std::to_string(i))
        {
            name.push_back(static_cast<unsigned char>(character));
        }
        profiles.emplace_back(ANTENNA_MODE_CABLE, SERVICE_MODE_OPERATOR, static_cast<unsigned char>(i % 2), name,
                              std::set<EAntennaMode>{ANTENNA_MODE_CABLE, ANTENNA_MODE_SATELLITE},
                              OP_PROFILE_TYPE_PROFILED_TYPE_1);
    }
    return profiles;
}

bool Encode(TCProfiles& profiles, TCMessageBuffer& buffer)
{
    TCTreeBranchList tree(4u);
    TCMarshalableOneDimensionContainer<TCProfiles, TSCIOperatorProfileData> adapter(&profiles);
    return adapter.ClassToTree(tree) && tree.StoreInBuffer(buffer);
}

void CopyProfiles(benchmark::State& state)
{
    const TCProfiles profiles = FiftyProfiles();
    for (auto _ : state)
    {
        TCProfiles copy = profiles;
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(CopyProfiles);

void EncodeProfiles(benchmark::State& state)
{
    TCProfiles profiles = FiftyProfiles();
    std::size_t size = 0;
    for (auto _ : state)
    {
        TCMessageBuffer buffer;
        if (!Encode(profiles, buffer))
        {
            state.SkipWithError("not encoded");
            break;
        }
        size = buffer.GetUnreadSize();
    }
    state.counters["bytes"] = static_cast<double>(size);
}
BENCHMARK(EncodeProfiles);

void DecodeProfiles(benchmark::State& state)
{
    TCProfiles profiles = FiftyProfiles();
    TCMessageBuffer buffer;
    Encode(profiles, buffer);
    TCProfiles decoded;
    for (auto _ : state)
    {
        TCTreeBranchList tree(&buffer);
        TCMarshalableOneDimensionContainer<TCProfiles, TSCIOperatorProfileData> adapter(&decoded);
        benchmark::DoNotOptimize(adapter.TreeToClass(tree));
    }
    if (decoded != profiles)
    {
        state.SkipWithError("decoded other profiles");
    }
}
BENCHMARK(DecodeProfiles);

void SerializeProfiles(benchmark::State& state)
{
    const TCProfiles profiles = FiftyProfiles();
    std::vector<unsigned char> data;
    for (auto _ : state)
    {
        data.clear();
        benchmark::DoNotOptimize(TSCIOperatorProfileData::Serialize(profiles, data));
    }
    state.counters["bytes"] = static_cast<double>(data.size());
}
BENCHMARK(SerializeProfiles);

void DeserializeProfiles(benchmark::State& state)
{
    const TCProfiles profiles = FiftyProfiles();
    std::vector<unsigned char> data;
    TSCIOperatorProfileData::Serialize(profiles, data);
    for (auto _ : state)
    {
        TCProfiles read;
        TSCIOperatorProfileData::Deserialize(data, read);
        if (read.size() != profiles.size())
        {
            state.SkipWithError("read other profiles");
            break;
        }
    }
}
BENCHMARK(DeserializeProfiles);
} // namespace
} // namespace CIM
