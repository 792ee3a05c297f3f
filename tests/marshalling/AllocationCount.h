#pragma once

#include <cstddef>

/// Counts what this thread allocates from its construction on.
class TCAllocationCount
{
public:
    TCAllocationCount();
    std::size_t Count() const;
    std::size_t Bytes() const;

private:
    std::size_t m_count;
    std::size_t m_bytes;
};
