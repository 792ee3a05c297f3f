#include "Journal.h"

#include "json/Scalars.h"
#include "json/Secret.h"

namespace CIM::sim
{
namespace
{
constexpr std::size_t SHOWN_BYTES = 4096; ///< a larger payload is not spelled out: every such list has to fit a message

std::string Hex(const std::string& bytes)
{
    return json::BytesToHex({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
}

void AddPayload(json::TJson& entry, const char* name, const std::string& payload, bool isShown)
{
    entry[std::string(name) + "Bytes"] = payload.size();
    if (isShown && !payload.empty() && payload.size() <= SHOWN_BYTES)
    {
        entry[name] = Hex(payload);
    }
}
} // namespace

std::string TSJournalEntry::OperationName() const
{
    return operation != nullptr ? operation->Key() : std::to_string(methodId);
}

json::TJson TSJournalEntry::ToJson() const
{
    json::TJson entry = {
        {"number", number},   {"time", time},     {"interface", interface}, {"operation", OperationName()},
        {"oneWay", isOneWay}, {"client", client}, {"processId", processId}, {"program", program},
        {"outcome", outcome}};
    if (!fault.empty())
    {
        entry["fault"] = fault;
    }
    if (!sealed.is_null())
    {
        entry.update(sealed);
    }
    else
    {
        entry.update(m_RequestToJson());
    }
    if (operation != nullptr && !reply.empty() && reply.size() <= SHOWN_BYTES)
    {
        entry.update(operation->ReplyToJson(reply).json);
    }
    else if (!reply.empty())
    {
        AddPayload(entry, "reply", reply, true);
    }
    return entry;
}

json::TJson TSJournalEntry::m_RequestToJson() const
{
    json::TSDecoded arguments;
    arguments.error = "unknown";
    if (operation != nullptr && request.size() <= SHOWN_BYTES)
    {
        arguments = operation->RequestToJson(request);
    }
    json::TJson shown;
    if (arguments.error.empty())
    {
        operation->HideSecrets(arguments.json);
        shown["arguments"] = std::move(arguments.json);
        return shown;
    }
    json::Wipe(arguments.json);
    const bool isSecret = operation != nullptr && operation->HasSecrets();
    AddPayload(shown, "request", request, !isSecret && !m_MayHideSecrets());
    return shown;
}

bool TSJournalEntry::m_MayHideSecrets() const
{
    return json::MayHideSecrets(json::FindInterface(interface), operation, request);
}

void TSJournalEntry::Seal()
{
    if ((operation != nullptr && operation->HasSecrets()) || m_MayHideSecrets())
    {
        sealed = m_RequestToJson();
        json::Wipe(request);
    }
}

void TCJournal::SealLast()
{
    if (!m_entries.empty())
    {
        m_bytes -= m_entries.back().Size();
        m_entries.back().Seal();
        m_bytes += m_entries.back().Size();
    }
}

const TSJournalEntry& TCJournal::Add(TSJournalEntry entry)
{
    entry.number = ++m_lastNumber;
    m_bytes += entry.Size();
    m_entries.push_back(std::move(entry));
    while (m_entries.size() > MAXIMUM_ENTRIES || (m_bytes > MAXIMUM_BYTES && m_entries.size() > 1))
    {
        m_bytes -= m_entries.front().Size();
        m_entries.pop_front();
    }
    return m_entries.back();
}

json::TJson TCJournal::ToJson() const
{
    json::TJson list = json::TJson::array();
    for (const TSJournalEntry& entry : m_entries)
    {
        list.push_back(entry.ToJson());
    }
    return list;
}
} // namespace CIM::sim
