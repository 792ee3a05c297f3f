#pragma once

#include "simulator/definition/Definition.h"

#include "json/Draft.h"

namespace CIM::sim
{
/// The set's CI Plus certificates and key, in the EEPROM and in the secure storage.
class TCCertificates
{
public:
    explicit TCCertificates(const TSSetDefinition& definition)
        : m_storage(definition.secureStorage), m_eeprom(definition.eeprom), m_isWritable(definition.isKeyWritable)
    {
    }

    /// Whether certificates of a kind are there, in either place; NONE: of any kind.
    bool Has(ECICipCertificateKind kind) const;
    EWriteCipKeyResult Write(ECICipCertificateType type, ECICipCertificateKind kind);
    void ResetEeprom() { m_eeprom = {}; }
    void ResetStorage() { m_storage = {}; }
    /// \return false when the EEPROM holds none
    bool MoveToStorage();
    json::TCDraft State() const;

private:
    TSCertificateStore m_storage;
    TSCertificateStore m_eeprom;
    bool m_isWritable;
};
} // namespace CIM::sim
