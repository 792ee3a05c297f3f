#pragma once

#include <cstddef>

namespace CIM::fuzz
{
/// Holds the code between its beginning and its end to a bound: the memory in use at any time, beyond what was in use
/// before. One at a time.
class TCMemoryBound
{
public:
    explicit TCMemoryBound(std::size_t bytes);
    ~TCMemoryBound();
    TCMemoryBound(const TCMemoryBound&) = delete;
    TCMemoryBound& operator=(const TCMemoryBound&) = delete;
};
} // namespace CIM::fuzz
