#include "Memory.h"

#include "Input.h"

#include <sanitizer/allocator_interface.h>

namespace CIM::fuzz
{
namespace
{
// Of the one thread that fuzzes; libFuzzer's own allocates nothing while an input runs.
bool isWatching = false;
std::size_t inUse = 0;
std::size_t most = 0;

void OnTaken(const volatile void*, std::size_t size)
{
    inUse += isWatching ? size : 0;
    if (isWatching && inUse > most)
    {
        isWatching = false; // libFuzzer needs memory to keep the input
        Require(false);
    }
}

void OnGivenBack(const volatile void* memory)
{
    if (isWatching && memory != nullptr)
    {
        // What was taken before the watch began may be given back during it.
        inUse -= std::min(inUse, __sanitizer_get_allocated_size(const_cast<void*>(memory)));
    }
}
} // namespace

TCMemoryBound::TCMemoryBound(std::size_t bytes)
{
    static const bool isInstalled = __sanitizer_install_malloc_and_free_hooks(OnTaken, OnGivenBack) != 0;
    Require(isInstalled);
    inUse = 0;
    most = bytes;
    isWatching = true;
}

TCMemoryBound::~TCMemoryBound() { isWatching = false; }
} // namespace CIM::fuzz
