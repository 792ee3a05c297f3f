#include "ci_connection/SenderTrust.h"

#include <ciapi/CIDiagnostics.h>

#include "bus/BusCall.h"
#include "utils/CIAPILog.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <unistd.h>
#include <utility>

namespace CIM
{
namespace
{
// Strangers may come and go all day: what is known about the oldest is forgotten, and asked again if need be.
constexpr std::size_t MOST_SENDERS = 256;

// Less than libdbus lets a connection hold before it stops reading, or the answer would never be read.
constexpr std::size_t MOST_KEPT_BYTES = 32U << 20;

constexpr unsigned long ROOT = 0;

std::atomic<unsigned long long> g_dropped{0};

std::size_t SizeOf(DBusMessage* message)
{
    char* bytes = nullptr;
    int length = 0;
    if (!dbus_message_marshal(message, &bytes, &length))
    {
        return MOST_KEPT_BYTES;
    }
    dbus_free(bytes);
    return static_cast<std::size_t>(length);
}

template <class T>
bool ReadOne(DBusMessage* message, int type, T& value)
{
    return dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_METHOD_RETURN &&
           dbus_message_get_args(message, nullptr, type, &value, DBUS_TYPE_INVALID);
}
} // namespace

unsigned long long DroppedSignals() { return g_dropped.load(); }

TCSenderTrust::TCSenderTrust(std::string daemonName) : m_daemonName(std::move(daemonName)), m_ownUser(geteuid()) {}

void TCSenderTrust::Start(TCInbox& inbox)
{
    const std::lock_guard lock(m_mutex);
    m_inbox = &inbox;
    // First the rule, then the question: no change can fall between the two.
    const std::string rule = std::string("type='signal',sender='") + DBUS_SERVICE_DBUS + "',interface='" +
                             DBUS_INTERFACE_DBUS + "',member='NameOwnerChanged',arg0='" + m_daemonName + "'";
    if (const TCMessagePtr request = MakeBusCall("AddMatch", rule.c_str()))
    {
        dbus_message_set_no_reply(request.get(), TRUE);
        inbox.Send(request.get());
    }
    m_ownerQuestion = m_Ask("GetNameOwner", m_daemonName);
}

TCSenderTrust::EVerdict TCSenderTrust::Judge(DBusMessage* signal)
{
    const char* const name = dbus_message_get_sender(signal);
    const std::lock_guard lock(m_mutex);
    if (name != nullptr && (m_lastCounting == name || m_owner == name))
    {
        return EVerdict::COUNTS;
    }
    // What names no sender did not come over a bus.
    SSender* const sender = name != nullptr ? m_FindOrAdd(name) : nullptr;
    if (sender == nullptr)
    {
        ++g_dropped;
        return EVerdict::DROPPED;
    }
    const EVerdict verdict = m_Judge(*sender);
    if (verdict == EVerdict::COUNTS)
    {
        m_lastCounting = sender->name;
    }
    else if (verdict == EVerdict::DROPPED)
    {
        m_Drop(*sender, 1);
    }
    else if (!m_Keep(*sender, signal))
    {
        m_Drop(*sender, 1);
        return EVerdict::DROPPED;
    }
    return verdict;
}

bool TCSenderTrust::Observe(DBusMessage* message, std::vector<TCMessagePtr>& released)
{
    const int type = dbus_message_get_type(message);
    if (type == DBUS_MESSAGE_TYPE_SIGNAL)
    {
        const bool isOwnerChange = dbus_message_is_signal(message, DBUS_INTERFACE_DBUS, "NameOwnerChanged");
        const bool isEnd = !isOwnerChange && dbus_message_is_signal(message, DBUS_INTERFACE_LOCAL, "Disconnected");
        const char* name = nullptr;
        const char* before = nullptr;
        const char* now = nullptr;
        if (isEnd)
        {
            const std::lock_guard lock(m_mutex);
            m_Forget();
        }
        else if (isOwnerChange && dbus_message_has_sender(message, DBUS_SERVICE_DBUS) &&
                 dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING, &before,
                                       DBUS_TYPE_STRING, &now, DBUS_TYPE_INVALID) &&
                 m_daemonName == name)
        {
            const std::lock_guard lock(m_mutex);
            m_OwnerIs(now);
            m_Release(released);
        }
        return false;
    }
    if ((type != DBUS_MESSAGE_TYPE_METHOD_RETURN && type != DBUS_MESSAGE_TYPE_ERROR) ||
        !dbus_message_has_sender(message, DBUS_SERVICE_DBUS))
    {
        return false;
    }
    const std::lock_guard lock(m_mutex);
    const bool isAnswer = m_TakeAnswer(message);
    if (isAnswer)
    {
        m_Release(released);
    }
    return isAnswer;
}

// \return the question's serial; 0 when it could not be asked, so that the next signal tries again
dbus_uint32_t TCSenderTrust::m_Ask(const char* method, const std::string& name)
{
    const TCMessagePtr question = m_inbox != nullptr ? MakeBusCall(method, name.c_str()) : nullptr;
    return question ? m_inbox->Send(question.get()) : 0;
}

TCSenderTrust::SSender* TCSenderTrust::m_Find(const std::string& name)
{
    const auto place =
        std::find_if(m_senders.begin(), m_senders.end(), [&](const SSender& sender) { return sender.name == name; });
    return place != m_senders.end() ? &*place : nullptr;
}

// \return null when there are too many whose users the bus has not told yet
TCSenderTrust::SSender* TCSenderTrust::m_FindOrAdd(const std::string& name)
{
    if (SSender* const known = m_Find(name))
    {
        return known;
    }
    if (m_senders.size() == MOST_SENDERS)
    {
        const auto oldest =
            std::find_if(m_senders.begin(), m_senders.end(),
                         [&](const SSender& sender)
                         { return sender.question == 0 && sender.kept.empty() && sender.name != m_owner; });
        if (oldest == m_senders.end())
        {
            return nullptr;
        }
        m_senders.erase(oldest);
    }
    m_senders.emplace_back().name = name;
    return &m_senders.back();
}

TCSenderTrust::EVerdict TCSenderTrust::m_Judge(const SSender& sender)
{
    if (m_owner == sender.name) // whoever that runs as: it may be gone before the bus can be asked
    {
        return EVerdict::COUNTS;
    }
    if (sender.isUnknowable)
    {
        return EVerdict::DROPPED;
    }
    if (!sender.user)
    {
        return EVerdict::KEPT;
    }
    if (*sender.user == ROOT || *sender.user == m_ownUser)
    {
        return EVerdict::COUNTS;
    }
    if (!m_owner)
    {
        return m_ownerQuestion != 0 ? EVerdict::KEPT : EVerdict::DROPPED;
    }
    const SSender* const owner = m_Find(*m_owner);
    if (owner == nullptr || (!owner->user && owner->question == 0))
    {
        return EVerdict::DROPPED;
    }
    return !owner->user ? EVerdict::KEPT : owner->user == sender.user ? EVerdict::COUNTS : EVerdict::DROPPED;
}

// A sender gets at most half of the room that is left: none can take it all from the others.
bool TCSenderTrust::m_Keep(SSender& sender, DBusMessage* signal)
{
    if (!sender.user && sender.question == 0)
    {
        sender.question = m_Ask("GetConnectionUnixUser", sender.name);
        if (sender.question == 0)
        {
            return false;
        }
    }
    const std::size_t room = (MOST_KEPT_BYTES - m_keptBytes + sender.keptBytes) / 2;
    if (sender.keptBytes >= room)
    {
        return false;
    }
    const std::size_t size = SizeOf(signal);
    if (size > room - sender.keptBytes)
    {
        return false;
    }
    sender.kept.emplace_back(dbus_message_ref(signal));
    sender.keptBytes += size;
    m_keptBytes += size;
    return true;
}

void TCSenderTrust::m_Drop(SSender& sender, std::size_t count)
{
    g_dropped += count;
    if (count == 0 || std::exchange(sender.isTold, true))
    {
        return;
    }
    if (sender.user)
    {
        CIM_LOG_ERROR_AT(
            "t_MessageHandlerHelper", __LINE__,
            "[TCCIMIPCConnection::%s] Signals of %s are dropped: its user %lu is neither the daemon's, nor "
            "root, nor this process's own",
            "t_MessageHandlerHelper", sender.name.c_str(), *sender.user);
    }
    else
    {
        CIM_LOG_ERROR_AT("t_MessageHandlerHelper", __LINE__, "[TCCIMIPCConnection::%s] Signals of %s are dropped: %s",
                         "t_MessageHandlerHelper", sender.name.c_str(),
                         sender.isUnknowable ? "it left the bus before its user was known"
                                             : "there are too many of them before the bus has told its user");
    }
}

void TCSenderTrust::m_OwnerIs(const char* owner)
{
    m_ownerQuestion = 0; // its answer may speak of the one before
    m_lastCounting.clear();
    m_owner.emplace(owner);
    // For what others send who run as the same user.
    SSender* const sender = m_owner->empty() ? nullptr : m_FindOrAdd(*m_owner);
    if (sender != nullptr && !sender->user && sender->question == 0)
    {
        sender->question = m_Ask("GetConnectionUnixUser", sender->name);
    }
}

bool TCSenderTrust::m_TakeAnswer(DBusMessage* answer)
{
    const dbus_uint32_t question = dbus_message_get_reply_serial(answer);
    if (question == 0)
    {
        return false;
    }
    if (question == m_ownerQuestion)
    {
        const char* owner = nullptr;
        m_OwnerIs(ReadOne(answer, DBUS_TYPE_STRING, owner) ? owner : "");
        return true;
    }
    const auto sender = std::find_if(m_senders.begin(), m_senders.end(),
                                     [question](const SSender& one) { return one.question == question; });
    if (sender == m_senders.end())
    {
        return false;
    }
    sender->question = 0;
    dbus_uint32_t user = 0;
    if (ReadOne(answer, DBUS_TYPE_UINT32, user))
    {
        sender->user = user;
    }
    else
    {
        // A unique name does not come back. Whatever else the bus could not say is asked again with the next signal.
        sender->isUnknowable = dbus_message_is_error(answer, DBUS_ERROR_NAME_HAS_NO_OWNER);
        m_Drop(*sender, sender->kept.size());
        m_keptBytes -= std::exchange(sender->keptBytes, 0);
        sender->kept.clear();
    }
    return true;
}

void TCSenderTrust::m_Release(std::vector<TCMessagePtr>& released)
{
    for (SSender& sender : m_senders)
    {
        const EVerdict verdict = sender.kept.empty() ? EVerdict::KEPT : m_Judge(sender);
        if (verdict == EVerdict::KEPT)
        {
            continue;
        }
        m_keptBytes -= std::exchange(sender.keptBytes, 0);
        std::vector<TCMessagePtr> kept = std::exchange(sender.kept, {});
        if (verdict == EVerdict::DROPPED)
        {
            m_Drop(sender, kept.size());
        }
        else
        {
            std::move(kept.begin(), kept.end(), std::back_inserter(released));
        }
    }
}

// The bus is gone: nothing more will be said about anybody.
void TCSenderTrust::m_Forget()
{
    for (const SSender& sender : m_senders)
    {
        g_dropped += sender.kept.size();
    }
    m_senders.clear();
    m_keptBytes = 0;
    m_lastCounting.clear();
}
} // namespace CIM
