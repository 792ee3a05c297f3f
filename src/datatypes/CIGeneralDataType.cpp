#include <ciapi/CIGeneralDataType.h>

#include "marshalling/MarshalableMapContainer.h"
#include "PushTree.h"

namespace CIM
{
CIM_DEFINE_TREE_OPERATIONS(TCIText)

void TCIText::t_PushTree(TCTreeFormatter& formatter) { PushSequence(formatter, 0, text); }

bool TCIText::operator==(const TCIText& other) const { return text == other.text; }

CIM_DEFINE_TREE_OPERATIONS(TCSlotInfo)

void TCSlotInfo::t_PushTree(TCTreeFormatter& formatter)
{
    PushPlain(formatter, 0, slotFlag);
    PushPlain(formatter, 1, slotValue);
    PushSequence(formatter, 2, handles);
    PushSequence(formatter, 3, codes);
}

bool TCSlotInfo::operator==(const TCSlotInfo& other) const
{
    return slotFlag == other.slotFlag && slotValue == other.slotValue && handles == other.handles &&
           codes == other.codes;
}

CIM_DEFINE_TREE_OPERATIONS(TCCiStatus)

void TCCiStatus::t_PushTree(TCTreeFormatter& formatter)
{
    TCMarshalableMapContainer<std::map<int, TCSlotInfo>, TCSlotInfo> adapter(&slots);
    formatter.PushMarshalableClass(0, &adapter);
}

bool TCCiStatus::operator==(const TCCiStatus& other) const { return slots == other.slots; }
} // namespace CIM
