#pragma once

#include <cstddef>

namespace CIM
{
/// The length of a payload as its sender states it, checked against the array that really came with it.
/// \param operation  who reads, for the error line when the two disagree
/// \return how many bytes may be read: the smaller of the two
std::size_t CheckedLength(const char* operation, int statedLength, int arrayLength);
} // namespace CIM
