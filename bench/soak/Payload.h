#pragma once

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>

// What is asked and what has to come back. A request carries a number, a length and the fault that it asks for; every
// byte behind them, and every byte of the answer, follows from these, so that both ends know what is right.

namespace CIM::soak
{
/// What the daemon does to an answer.
enum EFault : std::uint32_t
{
    FAULT_NONE,
    FAULT_LATE,           ///< in time, but late
    FAULT_TWICE,          ///< the right answer two times
    FAULT_UNKNOWN_SERIAL, ///< a lie for a call that nobody made, then the right answer
    FAULT_LENGTH_SHORTER, ///< the stated length is half of what there is
    FAULT_ERROR,          ///< an error reply
    FAULT_REFUSED,        ///< the status says: not handled
    FAULT_EMPTY,          ///< a reply without arguments
    FAULT_TREE_CUT,       ///< an argument tree that ends too early
    FAULT_TREE_RANDOM,    ///< bytes without a meaning
    FAULT_SILENT,         ///< no reply in time
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

/// Numbers that a seed repeats.
class TCRandom
{
public:
    explicit TCRandom(std::uint64_t seed) : m_engine(seed) {}
    std::uint32_t Below(std::uint32_t bound) { return static_cast<std::uint32_t>(m_engine() % bound); }
    bool OneIn(std::uint32_t count) { return Below(count) == 0; }

private:
    std::mt19937_64 m_engine;
};

std::string BytesOf(std::uint64_t number, short method, EMeaning meaning, std::size_t length);

std::string MakeRequest(const SRequest& request, short method);
/// \return nothing when a byte is not what the request's number says
std::optional<SRequest> ReadRequest(std::string_view bytes, short method);

/// The result of an operation that goes with its bytes.
std::int32_t ResultOf(std::uint64_t number, EMeaning meaning);

// Argument trees, written here by hand: what the library's own code gets wrong must not be mirrored.
inline constexpr std::size_t TREE_REQUEST_FRONT = 38; ///< bytes in front of those of a two-argument request
/// A reply with a result, and bytes at an argument's place.
std::string TreeOf(short method, std::int32_t result, std::optional<std::string_view> bytes);
} // namespace CIM::soak
