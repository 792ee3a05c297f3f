#pragma once

#include "bus/Inbox.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace CIM
{
/// Tells the signals that count from those that anybody on the bus can send: one counts when its sender runs as the
/// user that owns the daemon's name, as root, or as this process's own user. Anything else is dropped unread, counted,
/// and logged once a sender.
///
/// The bus is asked for a sender's user once, without waiting: what the sender has sent until the answer is kept, within
/// bounds, in its order. Who owns the daemon's name is asked for before its first signal can come, and followed, in the
/// order of the signals: what the owner itself sends counts at once, also when it has died meanwhile. Thread-safe.
class TCSenderTrust
{
public:
    enum class EVerdict
    {
        COUNTS,
        DROPPED,
        KEPT, ///< until the bus has answered: Observe hands it out
    };

    /// \param daemonName  the bus name whose owner is the daemon
    explicit TCSenderTrust(std::string daemonName);

    /// Begins to follow who owns the daemon's name. Once, before the inbox hands on what comes.
    void Start(TCInbox& inbox);

    /// Looks at the sender of a signal. Does not wait.
    EVerdict Judge(DBusMessage* signal);

    /// Looks at everything that the inbox brings, for what the bus says about senders.
    /// \param[out] released  signals that are found to count, in order
    /// \return whether it was an answer to a question of this object
    bool Observe(DBusMessage* message, std::vector<TCMessagePtr>& released);

private:
    struct SSender
    {
        std::string name;
        std::optional<unsigned long> user;
        bool isUnknowable = false;      ///< it left the bus before its user was known
        bool isTold = false;            ///< the log says that its signals are dropped
        dbus_uint32_t question = 0;     ///< what asks the bus for its user; 0: nothing does
        std::vector<TCMessagePtr> kept; ///< in the order of their coming
        std::size_t keptBytes = 0;
    };

    dbus_uint32_t m_Ask(const char* method, const std::string& name);
    SSender* m_Find(const std::string& name);
    SSender* m_FindOrAdd(const std::string& name);
    EVerdict m_Judge(const SSender& sender);
    bool m_Keep(SSender& sender, DBusMessage* signal);
    void m_Drop(SSender& sender, std::size_t count);
    void m_OwnerIs(const char* owner);
    bool m_TakeAnswer(DBusMessage* answer);
    void m_Release(std::vector<TCMessagePtr>& released);
    void m_Forget();

    const std::string m_daemonName;
    const unsigned long m_ownUser;

    std::mutex m_mutex; // comes after every other lock of the library but the inbox's
    TCInbox* m_inbox = nullptr;
    std::optional<std::string> m_owner; ///< of the daemon's name: empty when nobody owns it, nothing when not known yet
    dbus_uint32_t m_ownerQuestion = 0;
    std::vector<SSender> m_senders; ///< the oldest first
    std::string m_lastCounting;     ///< the common case beside the owner: the same sender again
    std::size_t m_keptBytes = 0;
};
} // namespace CIM
