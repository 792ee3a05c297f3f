#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

// What is asked and what has to come back. A request carries a number, a length and the fault that it asks for; every
// byte behind them, and every byte of the answer, follows from these, so that both ends know what is right.

namespace CIM::soak
{
/// What the daemon does to an answer.
enum EFault : std::uint32_t
{
    FAULT_NONE,
    FAULT_LATE,            ///< in time, but late
    FAULT_TWICE,           ///< the right answer two times
    FAULT_UNKNOWN_SERIAL,  ///< a lie for a call that nobody made, then the right answer
    FAULT_FORGED,          ///< a lie from another connection, then the right answer
    FAULT_LENGTH_LONGER,   ///< the stated length is more than there is
    FAULT_LENGTH_SHORTER,  ///< the stated length is half of what there is
    FAULT_LENGTH_NEGATIVE, ///< the stated length is below 0
    FAULT_ERROR,           ///< an error reply
    FAULT_REFUSED,         ///< the status says: not handled
    FAULT_EMPTY,           ///< a reply without arguments
    FAULT_TYPE_STATUS,     ///< another type in the place of the status
    FAULT_TYPE_LENGTH,
    FAULT_TYPE_BYTES,
    FAULT_TREE_CUT,    ///< an argument tree that ends too early
    FAULT_TREE_DEEP,   ///< deeper than any tree may be
    FAULT_TREE_KIND,   ///< a branch in the place of a value, a value in the place of a branch
    FAULT_TREE_SIZES,  ///< a node that claims more than there is
    FAULT_TREE_RANDOM, ///< bytes without a meaning
    FAULT_SILENT,      ///< no reply in time
    FAULT_COUNT,
};

/// Bytes that follow from a number: the right answer, a lie, the rest of a request. By method, so that the answer of one
/// operation is no other's.
enum EMeaning : unsigned
{
    MEANING_REQUEST,
    MEANING_ANSWER,
    MEANING_LIE,
};

struct SRequest
{
    std::uint64_t number = 0;
    std::uint32_t length = 0;       ///< of the request, these fields among it
    std::uint32_t answerLength = 0; ///< at least SMALLEST_ANSWER
    std::uint32_t fault = FAULT_NONE;
    std::uint32_t delayMs = 0; ///< with FAULT_LATE; with FAULT_SILENT a reply that comes too late, 0 for none
};
inline constexpr std::uint32_t SMALLEST_ANSWER = 16;
inline constexpr std::uint32_t LARGEST_PAYLOAD = 16 * 1024 * 1024 - 256; ///< room for the tree around it

/// A simple, fast and repeatable source of numbers.
class TCRandom
{
public:
    explicit TCRandom(std::uint64_t seed) : m_state(seed) {}
    std::uint64_t Next();
    std::uint32_t Below(std::uint32_t bound) { return bound == 0 ? 0 : static_cast<std::uint32_t>(Next() % bound); }
    bool OneIn(std::uint32_t count) { return count != 0 && Below(count) == 0; }

private:
    std::uint64_t m_state;
};

void Fill(std::uint64_t number, short method, EMeaning meaning, unsigned char* bytes, std::size_t length);
std::vector<unsigned char> BytesOf(std::uint64_t number, short method, EMeaning meaning, std::size_t length);
bool AreBytesOf(std::uint64_t number, short method, EMeaning meaning, const unsigned char* bytes, std::size_t length);

std::vector<unsigned char> MakeRequest(const SRequest& request, short method);
/// \return nothing when a byte is not what the request's number says
std::optional<SRequest> ReadRequest(const unsigned char* bytes, std::size_t length, short method);

/// The result of an operation that goes with its bytes.
std::int32_t ResultOf(std::uint64_t number, EMeaning meaning);

// Argument trees, written here by hand: what the library's own code gets wrong must not be mirrored.
inline constexpr std::size_t TREE_REQUEST_FRONT = 38; ///< bytes in front of those of a two-argument request
/// A reply with a result, and bytes at an argument's place.
std::vector<unsigned char> TreeOf(short method, std::int32_t result, const std::vector<unsigned char>* bytes);
/// A tree that is wrong in the way of a fault.
std::vector<unsigned char> BrokenTree(const SRequest& request, short method);
} // namespace CIM::soak
