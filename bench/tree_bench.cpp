#include "marshalling/MarshalableContainers.h"

#include <ciapi/CIGeneralDataType.h>

#include <tvplatform/MarshallingHelper.h>
#include <tvplatform/MessageBuffer.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

// What a call pays for its argument tree: writing and reading, with the allocations of both.

namespace
{
std::size_t theAllocations = 0;

CIM::TCCiStatus FourSlots()
{
    CIM::TCCiStatus status;
    for (int slot = 0; slot < 4; ++slot)
    {
        CIM::TCSlotInfo& info = status.slots[slot];
        info.slotFlag = 1;
        info.slotValue = slot * 1000;
        info.handles = {{PROFILE_MAIN, 1}, {PROFILE_SUB, 2}};
        info.codes = {0x0500, 0x0b00, 0x1800, 0x4aee};
    }
    return status;
}

void Count(benchmark::State& state, std::size_t before)
{
    state.counters["allocations"] =
        benchmark::Counter(static_cast<double>(theAllocations - before), benchmark::Counter::kAvgIterations);
}

bool Encode(TCMarshallingHelper& frame, TCMessageBuffer& buffer)
{
    TCTreeBranchList tree(1);
    tree.SetDataLifetime(TREE_DATA_OUTLIVES_BUFFER);
    if (!frame.ClassToTree(tree))
    {
        return false;
    }
    buffer.Reserve(tree.GetNodeSize());
    return tree.StoreInBuffer(buffer);
}

bool Decode(TCMarshallingHelper& frame, const TCMessageBuffer& buffer)
{
    TCTreeBranchList tree(&buffer);
    return tree.IsValid() && frame.TreeToClass(tree);
}

// An object that goes both ways: what is sent is read back into the same variable.
void EncodeAndDecode(benchmark::State& state, TIMarshalable& object)
{
    const std::size_t before = theAllocations;
    for (auto _ : state)
    {
        TCMarshallingHelperProxy frame;
        frame.PushMarshalableClass(MARSHALLING_DIRECTION_IN_OUT, &object);
        TCMessageBuffer buffer;
        if (!Encode(frame, buffer) || !Decode(frame, buffer))
        {
            state.SkipWithError("not a round trip");
            break;
        }
    }
    Count(state, before);
}

void CiStatusEncode(benchmark::State& state)
{
    CIM::TCCiStatus status = FourSlots();
    const std::size_t before = theAllocations;
    for (auto _ : state)
    {
        TCMarshallingHelperProxy frame;
        frame.PushMarshalableClass(MARSHALLING_DIRECTION_IN, &status);
        TCMessageBuffer buffer;
        benchmark::DoNotOptimize(Encode(frame, buffer));
        state.counters["bytes"] = static_cast<double>(buffer.GetUnreadSize());
    }
    Count(state, before);
}
BENCHMARK(CiStatusEncode);

void CiStatusEncodeAndDecode(benchmark::State& state)
{
    CIM::TCCiStatus status = FourSlots();
    EncodeAndDecode(state, status);
}
BENCHMARK(CiStatusEncodeAndDecode);

void SmallCall(benchmark::State& state)
{
    unsigned char slot = 1;
    int result = -1;
    unsigned short session = 3;
    TVSHandle handle(PROFILE_MAIN, 1);
    std::vector<unsigned char> bytes(64, 0x47);
    const std::size_t before = theAllocations;
    for (auto _ : state)
    {
        CIM::TCMarshalableOneDimensionContainer<decltype(bytes), unsigned char> adapter(&bytes);
        TCMarshallingHelperProxy frame;
        frame.PushValue(MARSHALLING_DIRECTION_OUT, sizeof(result), &result);
        frame.PushValue(MARSHALLING_DIRECTION_IN, sizeof(slot), &slot);
        frame.PushValue(MARSHALLING_DIRECTION_IN, sizeof(session), &session);
        frame.PushValue(MARSHALLING_DIRECTION_IN_OUT, sizeof(handle), &handle);
        frame.PushMarshalableClass(MARSHALLING_DIRECTION_IN, &adapter);
        TCMessageBuffer buffer;
        benchmark::DoNotOptimize(Encode(frame, buffer) && Decode(frame, buffer));
    }
    Count(state, before);
}
BENCHMARK(SmallCall);

// One argument of many bytes, there and back. The buffer refers to the caller's bytes, so that the reply is copied
// first, as a connection would receive it; what that copy costs is what PlainCopy shows.
void Bytes(benchmark::State& state)
{
    const auto size = static_cast<std::size_t>(state.range(0));
    std::vector<unsigned char> bytes(size, 0x47);
    CIM::TCMarshalableOneDimensionContainer<decltype(bytes), unsigned char> adapter(&bytes);
    const std::size_t before = theAllocations;
    for (auto _ : state)
    {
        TCMarshallingHelperProxy frame;
        frame.PushMarshalableClass(MARSHALLING_DIRECTION_IN_OUT, &adapter);
        TCMessageBuffer request;
        benchmark::DoNotOptimize(Encode(frame, request));
        benchmark::DoNotOptimize(Decode(frame, request));
    }
    Count(state, before);
    state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
}
BENCHMARK(Bytes)->Arg(4 << 10)->Arg(1 << 20)->Arg(16 << 20);

void PlainCopy(benchmark::State& state)
{
    const auto size = static_cast<std::size_t>(state.range(0));
    const std::vector<unsigned char> from(size, 0x47);
    std::vector<unsigned char> to(size);
    for (auto _ : state)
    {
        std::memcpy(to.data(), from.data(), size);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
}
BENCHMARK(PlainCopy)->Arg(4 << 10)->Arg(1 << 20)->Arg(16 << 20);
} // namespace

// Not inlined, or the compiler takes the pairs of malloc and delete that it then sees for mistakes.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    ++theAllocations;
    if (void* result = std::malloc(size ? size : 1))
    {
        return result;
    }
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* address) noexcept { std::free(address); }
[[gnu::noinline]] void operator delete(void* address, std::size_t) noexcept { std::free(address); }
