#pragma once

#include <ciapi/CIGeneralDataType.h>

#include <map>
#include <utility>
#include <vector>

// Value types in one expression.

namespace CIM
{
inline TCIText Text(std::vector<unsigned short> units)
{
    TCIText text;
    text.text = std::move(units);
    return text;
}

inline TCSlotInfo Slot(unsigned char flag, long long value, std::vector<TVSHandle> handles,
                       std::vector<unsigned short> codes)
{
    TCSlotInfo slot;
    slot.slotFlag = flag;
    slot.slotValue = value;
    slot.handles = std::move(handles);
    slot.codes = std::move(codes);
    return slot;
}

inline TCCiStatus Status(std::map<int, TCSlotInfo> slots)
{
    TCCiStatus status;
    status.slots = std::move(slots);
    return status;
}
} // namespace CIM
