#include <tvplatform/Formatter.h>
#include <tvplatform/Marshalable.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace
{

bool IsWidth(int typeCode) { return typeCode == 1 || typeCode == 2 || typeCode == 4 || typeCode == 8; }

} // namespace

TCTreeFormatter::~TCTreeFormatter() = default;
TCClassToTreeFormatter::~TCClassToTreeFormatter() = default;
TCTreeToClassFormatter::~TCTreeToClassFormatter() = default;

TCClassToTreeFormatter::TCClassToTreeFormatter(TCTreeBranch& branch) : TCTreeFormatter(branch) { branch.MarkAsMap(); }

bool TCClassToTreeFormatter::PushValue(unsigned tag, int typeCode, void* address)
{
    const bool isWritten = IsWidth(typeCode) && address &&
                           t_branch.AddNode(t_branch.NewLeaf(tag, static_cast<std::size_t>(typeCode), address));
    t_isSound &= isWritten;
    return isWritten;
}

bool TCClassToTreeFormatter::PushLengthArray(unsigned tag, unsigned long byteCount, void* data, bool lengthInformation)
{
    bool isWritten = (data || byteCount == 0) && byteCount <= std::numeric_limits<std::uint32_t>::max() - 4;
    if (isWritten && !lengthInformation)
    {
        isWritten = t_branch.AddNode(t_branch.NewReferringLeaf(tag, byteCount, data));
    }
    else if (isWritten)
    {
        const auto count = static_cast<std::uint32_t>(byteCount);
        char* out = nullptr;
        TCTreeNode* leaf = t_branch.NewLeafToFill(tag, sizeof(count) + byteCount, out);
        std::memcpy(out, &count, sizeof(count));
        if (byteCount != 0)
        {
            std::memcpy(out + sizeof(count), data, byteCount);
        }
        isWritten = t_branch.AddNode(leaf);
    }
    t_isSound &= isWritten;
    return isWritten;
}

bool TCClassToTreeFormatter::PushMarshalableClass(unsigned tag, TIMarshalable* object)
{
    bool isWritten = false;
    if (object)
    {
        TCTreeBranch* branch = t_branch.NewBranch(tag);
        isWritten = t_branch.AddNode(branch) && object->ClassToTree(*branch);
    }
    t_isSound &= isWritten;
    return isWritten;
}

TCTreeToClassFormatter::TCTreeToClassFormatter(TCTreeBranch& branch) : TCTreeFormatter(branch) {}

bool TCTreeToClassFormatter::PushValue(unsigned tag, int typeCode, void* address)
{
    bool isSound = IsWidth(typeCode) && address;
    const TCTreeNode* node = isSound ? FindNode(tag) : nullptr;
    if (node)
    {
        isSound = node->IsLeaf() && node->GetByteSize() == static_cast<unsigned long>(typeCode);
        if (isSound)
        {
            std::memcpy(address, node->GetData(), static_cast<std::size_t>(typeCode));
        }
    }
    t_isSound &= isSound;
    return isSound;
}

bool TCTreeToClassFormatter::PushLengthArray(unsigned tag, unsigned long byteCount, void* data, bool lengthInformation)
{
    bool isSound = data || byteCount == 0;
    const TCTreeNode* node = isSound ? FindNode(tag) : nullptr;
    if (node && node->IsLeaf())
    {
        const char* bytes = static_cast<const char*>(node->GetData());
        unsigned long left = node->GetByteSize();
        if (lengthInformation)
        {
            std::uint32_t count = 0;
            if (left >= sizeof(count))
            {
                std::memcpy(&count, bytes, sizeof(count));
                bytes += sizeof(count);
                left -= sizeof(count);
            }
            isSound = count == left;
            left = std::min<unsigned long>(left, count);
        }
        const unsigned long taken = std::min(left, byteCount);
        isSound = isSound && left == byteCount;
        if (taken != 0)
        {
            std::memcpy(data, bytes, taken);
        }
    }
    else if (node)
    {
        isSound = false;
    }
    t_isSound &= isSound;
    return isSound;
}

bool TCTreeToClassFormatter::PushMarshalableClass(unsigned tag, TIMarshalable* object)
{
    bool isSound = object != nullptr;
    TCTreeNode* node = isSound ? FindNode(tag) : nullptr;
    if (node)
    {
        TCTreeBranch* branch = node->AsBranch();
        isSound = branch && object->TreeToClass(*branch);
    }
    t_isSound &= isSound;
    return isSound;
}
