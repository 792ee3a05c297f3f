#include "World.h"

#include <algorithm>

namespace CIM::sim
{
const char* ToName(ECamPhase phase)
{
    switch (phase)
    {
    case CAM_PHASE_INIT:
        return "init";
    case CAM_PHASE_READY:
        return "ready";
    case CAM_PHASE_FAILED:
        return "failed";
    case CAM_PHASE_ABSENT:
        break;
    }
    return "absent";
}

TSWorld::TSWorld(TSSetDefinition aDefinition, std::uint64_t seed)
    : random(seed), definition(std::move(aDefinition)),
      slots(static_cast<std::size_t>(std::clamp(definition.slots, 0, 255)))
{
    for (std::size_t i = 0; i < slots.size(); ++i)
    {
        slots[i].number = static_cast<unsigned char>(i);
    }
}

TSSlot* TSWorld::Find(unsigned slot) { return slot < slots.size() ? &slots[slot] : nullptr; }

TSSlot* TSWorld::FindReady(unsigned slot)
{
    TSSlot* const found = Find(slot);
    return found && found->IsReady() ? found : nullptr;
}

TSSlot* TSWorld::FirstReady()
{
    const auto found = std::find_if(slots.begin(), slots.end(), [](const TSSlot& slot) { return slot.IsReady(); });
    return found == slots.end() ? nullptr : &*found;
}

TSSlot* TSWorld::ServingOrFirstReady(const TVSHandle& pipeline)
{
    for (TSSlot& slot : slots)
    {
        if (slot.IsReady() && std::count(slot.pipelines.begin(), slot.pipelines.end(), pipeline) > 0)
        {
            return &slot;
        }
    }
    return FirstReady();
}

TTime TSWorld::Varied(const TSSlot& slot, TTime duration)
{
    const TTime most = duration * std::clamp(slot.cam.jitterPercent, 0, 100) / 100;
    return most <= 0 ? duration : duration - most + static_cast<TTime>(random.Below(2 * most + 1));
}
} // namespace CIM::sim
