#include "CallRecord.h"

#include "Changes.h"

#include "json/Scalars.h"

namespace CIM::test
{
namespace
{
TSCall CallOf(const sim::TSJournalEntry& entry)
{
    TSCall call;
    call.interface = entry.interface;
    call.operation = entry.OperationName();
    call.fault = entry.fault;
    call.program = entry.program;
    call.processId = entry.processId;
    call.isOneWay = entry.isOneWay;
    json::TSDecoded arguments;
    arguments.error = "unknown";
    if (entry.operation != nullptr)
    {
        arguments = entry.operation->RequestToJson(entry.request);
    }
    if (!arguments.error.empty())
    {
        const std::span bytes(reinterpret_cast<const unsigned char*>(entry.request.data()), entry.request.size());
        arguments.json = {{"request", json::BytesToHex(bytes)}};
    }
    call.arguments = arguments.json.dump();
    return call;
}
} // namespace

std::string TSCall::Argument(const std::string& name) const
{
    const json::TJson json = json::TJson::parse(arguments, nullptr, false);
    const auto found = json.find(name);
    return found != json.end() ? found->dump() : std::string();
}

void TCCallRecord::Add(const sim::TSJournalEntry& entry)
{
    {
        const std::lock_guard lock(m_mutex);
        m_entries.push_back(entry);
        m_entries.back().reply.clear();
        if (m_entries.size() > MAXIMUM)
        {
            m_entries.pop_front();
        }
        ++m_counts[entry.operation];
    }
    TellChange();
}

void TCCallRecord::Clear()
{
    const std::lock_guard lock(m_mutex);
    m_entries.clear();
    m_counts.clear();
}

unsigned TCCallRecord::Count(const json::TCOperationForm& operation) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_counts.find(&operation);
    return found != m_counts.end() ? found->second : 0;
}

std::vector<TSCall> TCCallRecord::Calls(const json::TCOperationForm* operation) const
{
    const std::lock_guard lock(m_mutex);
    std::vector<TSCall> calls;
    for (const sim::TSJournalEntry& entry : m_entries)
    {
        if (operation == nullptr || entry.operation == operation)
        {
            calls.push_back(CallOf(entry));
        }
    }
    return calls;
}
} // namespace CIM::test
