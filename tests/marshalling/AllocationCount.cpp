#include "AllocationCount.h"

#include <cstdlib>
#include <new>

namespace
{

thread_local std::size_t theCount = 0;
thread_local std::size_t theBytes = 0;

} // namespace

void* operator new(std::size_t size)
{
    ++theCount;
    theBytes += size;
    if (void* result = std::malloc(size ? size : 1))
    {
        return result;
    }
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* address) noexcept { std::free(address); }
void operator delete[](void* address) noexcept { std::free(address); }
void operator delete(void* address, std::size_t) noexcept { std::free(address); }
void operator delete[](void* address, std::size_t) noexcept { std::free(address); }

TCAllocationCount::TCAllocationCount() : m_count(theCount), m_bytes(theBytes) {}
std::size_t TCAllocationCount::Count() const { return theCount - m_count; }
std::size_t TCAllocationCount::Bytes() const { return theBytes - m_bytes; }
