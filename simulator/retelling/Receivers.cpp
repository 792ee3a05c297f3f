#include "Receivers.h"

#include <cstring>

namespace CIM::sim
{
bool TCReceivers::IsForAnother(const TSRecordedEvent& event, const TSSignal& signal)
{
    const char* const to = dbus_message_get_destination(event.signal.get());
    if (to == nullptr)
    {
        return false;
    }
    constexpr std::int64_t TOGETHER = 50 * NS_PER_MS;
    if (m_last && event.at - m_lastAt < TOGETHER && IsSame(*m_last, signal) && m_receivers.insert(to).second)
    {
        return true;
    }
    m_last = signal;
    m_lastAt = event.at;
    m_receivers = {to};
    return false;
}
} // namespace CIM::sim
