#include "Clients.h"

#include "Messages.h"

#include <algorithm>

namespace CIM::sim
{
void TCClients::OnCall(const TSCall& call)
{
    m_caller = call.sender;
    TSClient& client = m_clients[call.sender];
    client.processId = call.envelope.processId;
    if (call.envelope.CarriesProgram())
    {
        client.program = call.envelope.program;
    }
}

bool TCClients::IsHelloWanted() const
{
    const auto found = m_clients.find(m_caller);
    return found == m_clients.end() || found->second.program.empty();
}

std::string TCClients::ProgramOf(const std::string& uniqueName) const
{
    const auto found = m_clients.find(uniqueName);
    return found != m_clients.end() ? found->second.program : std::string();
}

void TCClients::OnGone(const std::string& uniqueName)
{
    const auto found = m_clients.find(uniqueName);
    if (found != m_clients.end())
    {
        m_Withdraw(found->second);
        m_clients.erase(found);
    }
}

void TCClients::ForgetAll()
{
    for (auto& [name, client] : m_clients)
    {
        m_Withdraw(client);
    }
    m_clients.clear();
}

int TCClients::Subscribe(ECISignalType signalType, void* userData, EProfile profile, unsigned short handle,
                         long processId)
{
    if (m_clients[m_caller].subscriptions.emplace(TKey(signalType, profile, handle), processId).second)
    {
        m_model.Subscribe(signalType, userData, profile, handle, processId);
    }
    return 1;
}

int TCClients::Unsubscribe(ECISignalType signalType, EProfile profile, unsigned short handle, long)
{
    auto& subscriptions = m_clients[m_caller].subscriptions;
    const auto found = subscriptions.find(TKey(signalType, profile, handle));
    if (found == subscriptions.end())
    {
        return 0;
    }
    m_model.Unsubscribe(signalType, profile, handle, found->second);
    subscriptions.erase(found);
    return 1;
}

std::vector<std::string> TCClients::Subscribers() const
{
    std::vector<std::string> names;
    for (const auto& [name, client] : m_clients)
    {
        if (!client.subscriptions.empty())
        {
            names.push_back(name);
        }
    }
    return names;
}

std::size_t TCClients::CountSubscribers(ECISignalType type, EProfile profile, unsigned short handle) const
{
    const auto count = std::count_if(m_clients.begin(), m_clients.end(),
                                     [&](const auto& entry) {
                                         return entry.second.subscriptions.contains({type, profile, handle});
                                     });
    return static_cast<std::size_t>(count);
}

json::TCDraft TCClients::Subscriptions() const
{
    json::TCDraft result = json::List();
    for (const auto& [name, client] : m_clients)
    {
        for (const auto& [key, processId] : client.subscriptions)
        {
            const auto& [type, profile, handle] = key;
            result.Append(json::Record({{"type", EnumName(type)},
                                        {"number", static_cast<int>(type)},
                                        {"profile", static_cast<int>(profile)},
                                        {"handle", handle},
                                        {"processId", processId},
                                        {"program", client.program},
                                        {"client", name}}));
        }
    }
    return result;
}

void TCClients::m_Withdraw(TSClient& client)
{
    for (const auto& [key, processId] : client.subscriptions)
    {
        const auto& [type, profile, handle] = key;
        m_model.Unsubscribe(type, profile, handle, processId);
    }
    client.subscriptions.clear();
}
} // namespace CIM::sim
