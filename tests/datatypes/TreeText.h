#pragma once

#include <tvplatform/Tree.h>

#include <string>

namespace CIM
{
/// A tree as one line: a leaf as its bytes in hexadecimal ("-" for none), a branch in braces; the fields of an object
/// with their tags, "0=0a0b", the elements of a container without.
inline std::string TreeText(const TCTreeNode& node)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    if (const TCTreeBranch* branch = node.AsBranch())
    {
        const bool tagged = branch->GetNodeType() == TREE_NODE_BRANCH_MAP;
        text = "{";
        for (const TCTreeNode* child = branch->GetFirstNode(); child; child = child->GetNextNode())
        {
            text += child == branch->GetFirstNode() ? "" : " ";
            text += (tagged ? std::to_string(child->GetTag()) + "=" : "") + TreeText(*child);
        }
        return text + "}";
    }
    const auto* bytes = static_cast<const unsigned char*>(node.GetData());
    for (unsigned long i = 0; i < node.GetByteSize(); ++i)
    {
        text += {kDigits[bytes[i] >> 4], kDigits[bytes[i] & 0x0F]};
    }
    return text.empty() ? "-" : text;
}
} // namespace CIM
