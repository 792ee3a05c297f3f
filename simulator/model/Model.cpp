#include "Model.h"

#include "Parts.h"

#include "json/Json.h"

#include <stdexcept>

namespace CIM::sim
{
TSParts::TSParts(TSWorld& world)
    : crypto(world.definition.keys), certificates(world.definition), pin(world), mmi(world, pin), ca(world, mmi),
      sas(world), host(world), lifecycle(world, *this),
      upgrade(world, mmi, [this](unsigned char slot) { lifecycle.Reset(slot); }), appMmi(world), fileSystems(world),
      player(world), decryption(world), profiles(world), pvr(world, ca),
      general({world, mmi, pin, ca, sas, upgrade, host, certificates, crypto}), debug(world, *this)
{
}

TCModel::TCModel(TSSetDefinition definition, std::uint64_t seed)
    : m_world(std::make_unique<TSWorld>(std::move(definition), seed)), m_parts(std::make_unique<TSParts>(*m_world)),
      // In the order of the list: the compiler refuses any other, and a gap.
      m_interfaces(m_parts->general, m_parts->appMmi, m_parts->profiles, m_parts->pvr, m_parts->debug,
                   m_parts->fileSystems, m_parts->subscriber, m_parts->player, m_parts->decryption)
{
    for (const auto& [slot, cam] : m_world->definition.inserted)
    {
        if (const TSOutcome outcome = InsertCam(static_cast<unsigned>(slot), cam); !outcome)
        {
            throw std::invalid_argument(outcome.error);
        }
    }
}

TCModel::~TCModel() = default;

TCSubscriber& TCModel::Subscriptions() { return m_parts->subscriber; }

void TCModel::SetSignalSink(std::function<void(const TSSignal&)> sink) { m_world->sink = std::move(sink); }

TTime TCModel::Now() const { return m_world->clock.Now(); }
std::optional<TTime> TCModel::NextEventAt() const { return m_world->clock.NextEventAt(); }
void TCModel::AdvanceTo(TTime time) { m_world->clock.AdvanceTo(time); }

TSOutcome TCModel::InsertCam(unsigned slot, const std::string& cam) { return m_parts->lifecycle.Insert(slot, cam); }
TSOutcome TCModel::RemoveCam(unsigned slot) { return m_parts->lifecycle.Remove(slot); }
TSOutcome TCModel::ResetCam(unsigned slot) { return m_parts->lifecycle.Reset(slot); }
void TCModel::ResetAllCams() { m_parts->lifecycle.ResetAll(); }
void TCModel::RaiseSignal(const TSSignal& signal) { m_world->Raise(signal); }

json::TJson TCModel::State() const
{
    json::TCDraft state = m_parts->lifecycle.State();
    state.Put("now", Now());
    state.Put("mmi", m_parts->mmi.State());
    state.Put("pin", m_parts->pin.State());
    state.Put("ca", m_parts->ca.State());
    state.Put("sas", m_parts->sas.State());
    state.Put("upgrade", m_parts->upgrade.State());
    state.Put("host", m_parts->host.State());
    state.Put("certificates", m_parts->certificates.State());
    state.Put("appMmi", m_parts->appMmi.State());
    state.Put("fileSystems", m_parts->fileSystems.State());
    state.Put("player", m_parts->player.State());
    state.Put("sampleDecryption", m_parts->decryption.State());
    state.Put("profiles", m_parts->profiles.State());
    state.Put("pvr", m_parts->pvr.State());
    state.Put("debug", m_parts->debug.State());
    state.Put("subscriptions", m_parts->subscriber.State());
    return state.Take();
}
} // namespace CIM::sim
