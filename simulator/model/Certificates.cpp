#include "Certificates.h"

namespace CIM::sim
{
namespace
{
bool Holds(const TSCertificateStore& store, ECICipCertificateKind kind)
{
    // The kinds are bits: standard 1, ECP 2, both 3.
    return store.type != CIP_CERTIFICATE_TYPE_INVALID &&
           (kind == CIP_CERTIFICATE_KIND_NONE ? store.kind != CIP_CERTIFICATE_KIND_NONE : (store.kind & kind) == kind);
}

json::TCDraft ToJson(const TSCertificateStore& store)
{
    return json::Record({{"type", EnumName(store.type)}, {"kind", EnumName(store.kind)}});
}
} // namespace

bool TCCertificates::Has(ECICipCertificateKind kind) const { return Holds(m_storage, kind) || Holds(m_eeprom, kind); }

EWriteCipKeyResult TCCertificates::Write(ECICipCertificateType type, ECICipCertificateKind kind)
{
    if (!m_isWritable)
    {
        return WRITE_CIP_NA;
    }
    if (type <= CIP_CERTIFICATE_TYPE_INVALID || EnumName(type).empty() || kind <= CIP_CERTIFICATE_KIND_NONE ||
        EnumName(kind).empty())
    {
        return WRITE_CIP_FAIL;
    }
    m_storage = {type, kind};
    return WRITE_CIP_SUCCESS;
}

bool TCCertificates::MoveToStorage()
{
    if (!Holds(m_eeprom, CIP_CERTIFICATE_KIND_NONE))
    {
        return false;
    }
    m_storage = m_eeprom;
    m_eeprom = {};
    return true;
}

json::TCDraft TCCertificates::State() const
{
    return json::Record(
        {{"secureStorage", ToJson(m_storage)}, {"eeprom", ToJson(m_eeprom)}, {"writable", m_isWritable}});
}
} // namespace CIM::sim
