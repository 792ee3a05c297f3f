#pragma once

#include <cstddef>
#include <memory>

namespace CIM
{
/// Memory for one message. Of a large one nothing stays with the heap: the pages go back with the block, and come only
/// as bytes are written.
class TCMessageBlock
{
public:
    TCMessageBlock() = default;
    /// Without memory the block is empty, whatever the size.
    explicit TCMessageBlock(std::size_t size);

    char* Data() const { return m_bytes.get(); }
    std::size_t Size() const { return m_bytes ? m_size : 0; }

private:
    struct SRelease
    {
        std::size_t mapped; ///< 0, as it begins: from the heap
        void operator()(char* bytes) const;
    };
    std::unique_ptr<char, SRelease> m_bytes;
    std::size_t m_size = 0;
};
} // namespace CIM
