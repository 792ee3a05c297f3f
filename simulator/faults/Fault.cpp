#include "Fault.h"

#include <algorithm>

namespace CIM::sim
{
bool TSFault::IsAbout(std::string_view interface, std::string_view key) const
{
    std::string_view wanted = operation;
    if (const std::size_t dot = wanted.find('.'); dot != std::string_view::npos)
    {
        if (wanted.substr(0, dot) != interface)
        {
            return false;
        }
        wanted.remove_prefix(dot + 1);
    }
    return wanted == "*" || wanted == key || wanted == key.substr(0, key.find('#'));
}

unsigned TCFaults::Add(TSFault fault)
{
    m_faults.push_back({std::move(fault), ++m_lastNumber});
    return m_lastNumber;
}

bool TCFaults::Remove(unsigned number)
{
    return std::erase_if(m_faults, [&](const TSActive& active) { return active.number == number; }) > 0;
}

std::optional<TSFault> TCFaults::Meet(const std::string& interface, const std::string& operation,
                                      std::optional<unsigned> slot)
{
    std::optional<TSFault> met;
    for (TSActive& active : m_faults)
    {
        const TSFault& fault = active.fault;
        if (!fault.IsAbout(interface, operation) || (fault.slot && fault.slot != slot))
        {
            continue;
        }
        ++active.met;
        const bool isItsTurn = fault.nth == 0 || fault.nth == active.met;
        // Drawn for every call that matches, so that what one fault does leaves the luck of the others alone.
        const bool isLucky = fault.probability >= 1 || m_random.Below(1'000'000) < fault.probability * 1'000'000;
        if (isItsTurn && isLucky && !met)
        {
            ++active.happened;
            met = fault;
        }
    }
    std::erase_if(m_faults, [](const TSActive& active)
                  { return active.fault.times != 0 && active.happened >= active.fault.times; });
    return met;
}

json::TJson TCFaults::List() const
{
    json::TJson list = json::TJson::array();
    for (const TSActive& active : m_faults)
    {
        json::TJson entry =
            json::Record({{"number", active.number}, {"met", active.met}, {"happened", active.happened}}).Take();
        entry.update(ToJson(active.fault));
        list.push_back(std::move(entry));
    }
    return list;
}
} // namespace CIM::sim
