#include <tvplatform/Marshalable.h>
#include <tvplatform/MessageBuffer.h>
#include <tvplatform/Tree.h>

TIMarshalable::~TIMarshalable() = default;
TCMarshalable::~TCMarshalable() = default;

bool TCMarshalable::GetSizeOfMarshalled(unsigned long& size)
{
    TCTreeBranchList root(0U);
    const unsigned long frame = root.GetNodeSize();
    root.SetDataLifetime(TREE_DATA_OUTLIVES_TREE);
    if (!ClassToTree(root))
    {
        return false;
    }
    const unsigned long whole = root.GetNodeSize();
    if (whole == 0)
    {
        return false;
    }
    size = whole - frame;
    return true;
}

EMarshalableStorageType TCMarshalable::GetMarshalableStorageType() { return MARSHALABLE_STORAGE_BRANCH; }

bool TCMarshalable::Store(TCMessageBuffer& buffer)
{
    TCTreeBranchList root(0U);
    root.SetDataLifetime(TREE_DATA_OUTLIVES_TREE);
    return ClassToTree(root) && root.StoreInBuffer(buffer);
}

bool TCMarshalable::Load(TCMessageBuffer& buffer)
{
    TCTreeBranchList root(0U);
    std::size_t taken = 0;
    if (!root.ReadFront(buffer, taken))
    {
        return false;
    }
    const bool isLoaded = TreeToClass(root);
    buffer.Skip(taken);
    return isLoaded;
}
