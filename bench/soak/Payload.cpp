#include "soak/Payload.h"

#include <algorithm>
#include <cstring>

namespace CIM::soak
{
namespace
{
using TWords = std::linear_congruential_engine<std::uint64_t, 6364136223846793005, 1442695040888963407, 0>;

template <class Integer>
void Append(std::string& tree, Integer value)
{
    tree.append(reinterpret_cast<const char*>(&value), sizeof value);
}

enum ENode : char
{
    LEAF = 1,
    LIST = 2,
};

void AppendNode(std::string& tree, ENode kind, short tag, std::size_t size)
{
    tree += {kind, 0};
    Append(tree, tag);
    Append(tree, static_cast<std::uint32_t>(size));
}
} // namespace

std::string BytesOf(std::uint64_t number, short method, EMeaning meaning, std::size_t length)
{
    TWords words((number * 4 + meaning) * 1024 + static_cast<std::uint64_t>(method));
    std::string bytes(length, '\0');
    for (std::size_t at = 0; at < length; at += sizeof(std::uint64_t))
    {
        const std::uint64_t word = words();
        std::memcpy(bytes.data() + at, &word, std::min(sizeof word, length - at));
    }
    return bytes;
}

std::string MakeRequest(const SRequest& request, short method)
{
    return std::string(reinterpret_cast<const char*>(&request), sizeof request) +
           BytesOf(request.number, method, MEANING_REQUEST, request.length - sizeof request);
}

std::optional<SRequest> ReadRequest(std::string_view bytes, short method)
{
    SRequest request;
    if (bytes.size() < sizeof request)
    {
        return std::nullopt;
    }
    std::memcpy(&request, bytes.data(), sizeof request);
    const bool isWhole = request.length == bytes.size() && request.fault < FAULT_COUNT &&
                         request.answerLength >= SMALLEST_ANSWER && request.answerLength <= LARGEST_PAYLOAD &&
                         bytes == MakeRequest(request, method);
    return isWhole ? std::optional(request) : std::nullopt;
}

std::int32_t ResultOf(std::uint64_t number, EMeaning meaning)
{
    return static_cast<std::int32_t>(number % 100'000) + static_cast<std::int32_t>(meaning) * 1'000'000;
}

std::string TreeOf(short method, std::int32_t result, std::optional<std::string_view> bytes)
{
    std::string tree;
    tree.reserve(40 + (bytes ? bytes->size() : 0));
    Append(tree, std::uint32_t{1});
    AppendNode(tree, LIST, method, 12 + (bytes ? 16 + bytes->size() : 0));
    AppendNode(tree, LEAF, 0, sizeof result);
    Append(tree, result);
    if (bytes)
    {
        AppendNode(tree, LIST, 3, bytes->size() + 8);
        AppendNode(tree, LEAF, 0, bytes->size());
        tree += *bytes;
    }
    return tree;
}
} // namespace CIM::soak
