#include "bus/MessageBlock.h"

#include <cstdlib>
#include <sys/mman.h>

namespace CIM
{
namespace
{
// The heap keeps what was freed for the next one, up to twice the largest that it has seen: good between calls of some
// size, too much to keep behind a single large one.
constexpr std::size_t SMALLEST_MAPPED = 4 << 20;
} // namespace

TCMessageBlock::TCMessageBlock(std::size_t size) : m_size(size)
{
    if (size < SMALLEST_MAPPED)
    {
        m_bytes.reset(static_cast<char*>(std::malloc(size)));
        return;
    }
    void* const pages = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages != MAP_FAILED)
    {
        madvise(pages, size, MADV_HUGEPAGE); // where the system has them: touching small ones costs more than the bytes
        m_bytes = {static_cast<char*>(pages), SRelease{size}};
    }
}

void TCMessageBlock::SRelease::operator()(char* bytes) const
{
    if (mapped != 0)
    {
        munmap(bytes, mapped);
    }
    else
    {
        std::free(bytes);
    }
}
} // namespace CIM
