#pragma once

#include "bus/Handles.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace CIM::cictl
{
/// cictl's own connection to the system bus, beside the library's: to find out at once what the library would wait for
/// or end the process for, and to hear who comes and goes. Bound to its thread.
class TCBus
{
public:
    /// Which bus name has a new owner; empty when it has none any more.
    struct TSOwnerChange
    {
        std::string name;
        std::string owner;
    };

    /// \param[in] patience  how long each answer of the bus is waited for
    /// \throws TCFailure when there is no bus, or it does not let this user in
    explicit TCBus(std::optional<std::chrono::milliseconds> patience = {});
    /// The unique name that owns a bus name; empty when nobody does. Blocks for the bus's answer.
    /// \throws TCFailure when the bus is gone
    std::string OwnerOf(const std::string& name);
    /// What the bus knows of a connection. \param[in] method  such as GetConnectionUnixUser
    /// \return nothing when it does not tell: the connection may be gone
    std::optional<std::uint32_t> NumberOf(const char* method, const std::string& name);
    /// Has the bus send on what fits a match rule. \param[in] what  failed when it does not, for the failure's text
    /// \throws TCFailure
    void AddMatch(const std::string& rule, const char* what);
    /// Blocks for the reply to a call. \return null, with the error set, when there is none or it is an error
    TCMessagePtr Ask(DBusMessage* call, TCDBusError& error);
    /// \throws TCFailure when the bus does not let this user be an application: the library would end the process
    void RequireApplicationName();

    /// From now on, the owners of the names below the daemon's are told by TakeOwnerChanges. \throws TCFailure
    void FollowOwners();
    /// What has changed. Does not block. \throws TCFailure when the bus is gone
    std::vector<TSOwnerChange> TakeOwnerChanges();
    /// Called behind an answer that came behind a change: the descriptor will not tell of that change.
    void OnHiddenChange(std::function<void()> handler) { m_onHiddenChange = std::move(handler); }
    /// Becomes readable when something comes.
    int Descriptor() const;
    DBusConnection* Get() const { return m_connection.get(); }

private:
    const std::chrono::milliseconds m_patience;
    TCConnectionPtr m_connection;
    std::function<void()> m_onHiddenChange;
};

/// What the failure of a question to the bus comes to.
[[noreturn]] void FailForBus(const std::string& what, const TCDBusError& error);
} // namespace CIM::cictl
