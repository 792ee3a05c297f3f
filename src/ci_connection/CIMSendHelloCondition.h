#pragma once

#include <atomic>

namespace CIM
{
/// Whether calls carry the program's name: until the daemon has answered one, and again when it asks for it.
/// Calls on several threads may race here: at worst the name is sent once more.
class TCCIMSendHelloCondition
{
public:
    bool SendNow() const { return m_sendNow.load(std::memory_order_relaxed); }

    /// Takes the status byte of a reply. \return whether the daemon handled the call
    bool Update(unsigned char status)
    {
        const bool requested = (status & 0x80) != 0;
        m_requestedByDaemon.store(requested, std::memory_order_relaxed);
        if (requested)
        {
            m_sendNow.store(true, std::memory_order_relaxed);
        }
        return (status & 0x01) != 0;
    }

    void ClearIfSentOk()
    {
        if (!m_requestedByDaemon.load(std::memory_order_relaxed))
        {
            m_sendNow.store(false, std::memory_order_relaxed);
        }
    }

private:
    std::atomic<bool> m_sendNow{true};
    std::atomic<bool> m_requestedByDaemon{false};
};
} // namespace CIM
