#pragma once

#include "Mmi.h"

#include <list>
#include <map>

namespace CIM::sim
{
/// CA systems, smart card, CA PMT, entitlement and descrambling.
class TCCa
{
public:
    TCCa(TSWorld& world, TCMmi& mmi) : m_world(world), m_mmi(mmi) {}

    void GetSystemIds(std::map<unsigned char, std::list<unsigned short>>& ids) const;
    /// \param[in] caSystemIds  CA systems that the service uses; empty: not said. A CAM that has none of them answers
    ///                         that descrambling is not possible.
    int SendPmt(unsigned char slot, const TVSHandle& pipeline, const std::list<unsigned short>& caSystemIds,
                ECaPmtCmd command);
    int SwitchDescrambling(const std::vector<TVSHandle>& pipelines, bool isEnabled);
    bool IsCopyProtected(const TVSHandle& pipeline) const;
    void ClearHistory() { m_history.clear(); }

    TSOutcome SetCard(unsigned slot, bool isIn);
    /// The CAM's rights change, and with them what it says about each pipeline that it serves.
    TSOutcome SetEntitlement(unsigned slot, int reply);
    /// Copy control of what a pipeline shows, whatever serves it.
    void SetEmi(const TVSHandle& pipeline, int emi) { m_emi[TKey(pipeline.profile, pipeline.handle)] = emi; }

    void OnCaInfo(TSSlot& slot);
    void OnCamGone(TSSlot& slot);
    json::TCDraft State() const;

private:
    using TKey = std::pair<int, unsigned short>;

    std::vector<unsigned short> m_Ids(const TSSlot& slot) const;
    void m_Reply(const TSSlot& slot, const TVSHandle& pipeline, int reply);
    void m_Leave(TSSlot& slot, const TVSHandle& pipeline);

    TSWorld& m_world;
    TCMmi& m_mmi;
    std::set<TKey> m_disabled;
    std::map<TKey, int> m_emi;
    std::vector<std::string> m_history; ///< of descrambling, the latest last
};
} // namespace CIM::sim
