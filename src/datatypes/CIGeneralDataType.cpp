#include <ciapi/CIGeneralDataType.h>

#include "marshalling/MarshalableMapContainer.h"
#include "PushTree.h"

namespace CIM
{
CIM_DEFINE_TREE_OPERATIONS(TCIText)

bool TCIText::operator==(const TCIText& other) const { return protocol::EqualMembers(*this, other); }

CIM_DEFINE_TREE_OPERATIONS(TCSlotInfo)

bool TCSlotInfo::operator==(const TCSlotInfo& other) const { return protocol::EqualMembers(*this, other); }

CIM_DEFINE_TREE_OPERATIONS(TCCiStatus)

bool TCCiStatus::operator==(const TCCiStatus& other) const { return protocol::EqualMembers(*this, other); }
} // namespace CIM
