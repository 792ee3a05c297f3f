#include "json/SecretBytes.h"

#include <tvplatform/Tree.h>

#include <algorithm>
#include <cstring>

namespace CIM::json
{
namespace
{
constexpr char COVER = '*';
constexpr std::size_t VERSION_BYTES = 4;

struct TSNode
{
    std::uint8_t type = 0;
    std::uint16_t tag = 0;
    std::span<char> content;
};

void Cover(std::span<char> bytes) { std::fill(bytes.begin(), bytes.end(), COVER); }

/// Cuts the first node off. \return false when there is no whole one
bool TakeNode(std::span<char>& bytes, TSNode& node)
{
    constexpr std::size_t HEAD = 8;
    if (bytes.size() < HEAD)
    {
        return false;
    }
    std::uint32_t size = 0;
    node.type = static_cast<std::uint8_t>(bytes[0]);
    std::memcpy(&node.tag, bytes.data() + 2, sizeof node.tag);
    std::memcpy(&size, bytes.data() + 4, sizeof size);
    bytes = bytes.subspan(HEAD);
    if (size > bytes.size())
    {
        return false;
    }
    node.content = bytes.first(size);
    bytes = bytes.subspan(size);
    return true;
}

/// Overwrites the bytes of all leaves. \return false when there is something else than nodes
bool CoverLeaves(const TSNode& node, unsigned depth)
{
    if (node.type == TREE_NODE_LEAF)
    {
        Cover(node.content);
        return true;
    }
    if (node.type != TREE_NODE_BRANCH_LIST && node.type != TREE_NODE_BRANCH_MAP)
    {
        return false;
    }
    std::span<char> rest = node.content;
    TSNode child;
    while (!rest.empty())
    {
        if (depth == TREE_MAXIMUM_DEPTH || !TakeNode(rest, child) || !CoverLeaves(child, depth + 1))
        {
            return false;
        }
    }
    return true;
}

bool IsSecret(const TCOperationForm& operation, unsigned tag)
{
    const auto parameters = operation.Parameters();
    return std::any_of(parameters.begin(), parameters.end(),
                       [tag](const TSParameter& parameter) {
                           return parameter.IsSecret() && tag >= parameter.position &&
                                  tag < parameter.position + parameter.nodeCount;
                       });
}

/// \return false when the payload is not what the operation sends, so that nobody knows where a secret stands
bool CoverArguments(const TCOperationForm& operation, std::span<char> payload)
{
    if (payload.size() < VERSION_BYTES)
    {
        return false;
    }
    std::span<char> rest = payload.subspan(VERSION_BYTES);
    TSNode root;
    if (!TakeNode(rest, root) || !rest.empty() || root.type != TREE_NODE_BRANCH_LIST)
    {
        return false;
    }
    TSNode argument;
    for (rest = root.content; !rest.empty();)
    {
        if (!TakeNode(rest, argument) || (IsSecret(operation, argument.tag) && !CoverLeaves(argument, 2)))
        {
            return false;
        }
    }
    return true;
}
} // namespace

void OverwriteSecrets(const TCInterfaceForm* interface, const TCOperationForm* operation, std::span<char> payload)
{
    const bool isElsewhere = MayHideSecrets(interface, operation, {payload.data(), payload.size()});
    const bool hasSecrets = operation != nullptr && operation->HasSecrets();
    if (isElsewhere || (hasSecrets && !CoverArguments(*operation, payload)))
    {
        Cover(payload);
    }
}
} // namespace CIM::json
