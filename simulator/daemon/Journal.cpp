#include "Journal.h"

#include "json/Scalars.h"

namespace CIM::sim
{
namespace
{
constexpr std::size_t SHOWN_BYTES = 4096; ///< a larger payload is not spelled out: every such list has to fit a message

std::string Hex(const std::string& bytes)
{
    return json::BytesToHex({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
}

void AddPayload(json::TJson& entry, const char* name, const std::string& payload)
{
    entry[std::string(name) + "Bytes"] = payload.size();
    if (!payload.empty() && payload.size() <= SHOWN_BYTES)
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
    json::TSDecoded arguments;
    arguments.error = "unknown";
    if (operation != nullptr && request.size() <= SHOWN_BYTES)
    {
        arguments = operation->RequestToJson(request);
    }
    if (arguments.error.empty())
    {
        json::HideSecrets(interface + "." + OperationName(), arguments.json);
        entry["arguments"] = arguments.json;
    }
    else
    {
        AddPayload(entry, "request", request);
    }
    if (operation != nullptr && !reply.empty() && reply.size() <= SHOWN_BYTES)
    {
        entry.update(operation->ReplyToJson(reply).json);
    }
    else if (!reply.empty())
    {
        AddPayload(entry, "reply", reply);
    }
    return entry;
}

const TSJournalEntry& TCJournal::Add(TSJournalEntry entry)
{
    entry.number = ++m_lastNumber;
    m_bytes += entry.request.size() + entry.reply.size();
    m_entries.push_back(std::move(entry));
    while (m_entries.size() > MAXIMUM_ENTRIES || (m_bytes > MAXIMUM_BYTES && m_entries.size() > 1))
    {
        m_bytes -= m_entries.front().request.size() + m_entries.front().reply.size();
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
