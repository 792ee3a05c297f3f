#include "soak/Payload.h"

#include <algorithm>
#include <cstring>

namespace CIM::soak
{
namespace
{
constexpr unsigned char LEAF = 1;
constexpr unsigned char LIST = 2;
constexpr unsigned TOO_DEEP = 200;

std::uint64_t Mixed(std::uint64_t value)
{
    value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9;
    value = (value ^ (value >> 27)) * 0x94d049bb133111eb;
    return value ^ (value >> 31);
}

std::uint64_t KeyOf(std::uint64_t number, short method, EMeaning meaning)
{
    return Mixed(number * 4 + meaning) ^ Mixed(0x10000U + static_cast<std::uint16_t>(method));
}

template <class Integer>
void Append(std::vector<unsigned char>& tree, Integer value)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&value);
    tree.insert(tree.end(), bytes, bytes + sizeof value);
}

void AppendNode(std::vector<unsigned char>& tree, unsigned char kind, std::uint16_t tag, std::size_t size)
{
    tree.push_back(kind);
    tree.push_back(0);
    Append(tree, tag);
    Append(tree, static_cast<std::uint32_t>(size));
}

void Begin(std::vector<unsigned char>& tree, short method, std::size_t size)
{
    tree.reserve(size + 12);
    Append(tree, std::uint32_t{1});
    AppendNode(tree, LIST, static_cast<std::uint16_t>(method), size);
}
} // namespace

std::uint64_t TCRandom::Next() { return Mixed(m_state += 0x9e3779b97f4a7c15); }

void Fill(std::uint64_t number, short method, EMeaning meaning, unsigned char* bytes, std::size_t length)
{
    std::uint64_t word = KeyOf(number, method, meaning);
    for (std::size_t at = 0; at < length; at += sizeof word)
    {
        std::memcpy(bytes + at, &word, std::min(sizeof word, length - at));
        word = word * 6364136223846793005 + 1442695040888963407;
    }
}

std::vector<unsigned char> BytesOf(std::uint64_t number, short method, EMeaning meaning, std::size_t length)
{
    std::vector<unsigned char> bytes(length);
    Fill(number, method, meaning, bytes.data(), length);
    return bytes;
}

bool AreBytesOf(std::uint64_t number, short method, EMeaning meaning, const unsigned char* bytes, std::size_t length)
{
    std::uint64_t word = KeyOf(number, method, meaning);
    for (std::size_t at = 0; at < length; at += sizeof word)
    {
        if (std::memcmp(bytes + at, &word, std::min(sizeof word, length - at)) != 0)
        {
            return false;
        }
        word = word * 6364136223846793005 + 1442695040888963407;
    }
    return true;
}

std::vector<unsigned char> MakeRequest(const SRequest& request, short method)
{
    std::vector<unsigned char> bytes(request.length);
    std::memcpy(bytes.data(), &request, sizeof request);
    Fill(request.number, method, MEANING_REQUEST, bytes.data() + sizeof request, bytes.size() - sizeof request);
    return bytes;
}

std::optional<SRequest> ReadRequest(const unsigned char* bytes, std::size_t length, short method)
{
    SRequest request;
    if (length < sizeof request)
    {
        return std::nullopt;
    }
    std::memcpy(&request, bytes, sizeof request);
    const bool isWhole =
        request.length == length && request.fault < FAULT_COUNT && request.answerLength >= SMALLEST_ANSWER &&
        request.answerLength <= LARGEST_PAYLOAD &&
        AreBytesOf(request.number, method, MEANING_REQUEST, bytes + sizeof request, length - sizeof request);
    return isWhole ? std::optional(request) : std::nullopt;
}

std::int32_t ResultOf(std::uint64_t number, EMeaning meaning)
{
    return static_cast<std::int32_t>(number % 100'000) + static_cast<std::int32_t>(meaning) * 1'000'000;
}

std::vector<unsigned char> TreeOf(short method, std::int32_t result, const std::vector<unsigned char>* bytes)
{
    std::vector<unsigned char> tree;
    Begin(tree, method, 12 + (bytes != nullptr ? 16 + bytes->size() : 0));
    AppendNode(tree, LEAF, 0, sizeof result);
    Append(tree, result);
    if (bytes != nullptr)
    {
        AppendNode(tree, LIST, 3, bytes->size() + 8);
        AppendNode(tree, LEAF, 0, bytes->size());
        tree.insert(tree.end(), bytes->begin(), bytes->end());
    }
    return tree;
}

std::vector<unsigned char> BrokenTree(const SRequest& request, short method)
{
    const std::vector<unsigned char> lie =
        BytesOf(request.number, method, MEANING_LIE, std::min<std::uint32_t>(request.answerLength, 4096));
    std::vector<unsigned char> tree = TreeOf(method, ResultOf(request.number, MEANING_LIE), &lie);
    switch (request.fault)
    {
    case FAULT_TREE_CUT:
        tree.resize(1 + request.number % (tree.size() - 1));
        break;
    case FAULT_TREE_DEEP:
        tree.clear();
        Begin(tree, method, TOO_DEEP * 8);
        for (unsigned depth = TOO_DEEP; depth > 0; --depth)
        {
            AppendNode(tree, LIST, depth == TOO_DEEP ? 3 : 0, (depth - 1) * 8);
        }
        break;
    case FAULT_TREE_KIND:
        tree.clear();
        Begin(tree, method, 16 + 12);
        AppendNode(tree, LIST, 0, 8);
        AppendNode(tree, LEAF, 0, 0);
        AppendNode(tree, LEAF, 3, 4);
        Append(tree, std::uint32_t{7});
        break;
    case FAULT_TREE_SIZES:
    {
        constexpr std::size_t SIZES[] = {8, 16, 28, 36}; // of the four nodes
        const std::uint32_t size = 0xFFFFFFF0U - static_cast<std::uint32_t>(request.number % 1000);
        std::memcpy(tree.data() + SIZES[request.number % 4], &size, sizeof size);
        break;
    }
    default:
        tree = lie;
    }
    return tree;
}
} // namespace CIM::soak
