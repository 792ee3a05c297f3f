#pragma once

#include "json/OperationForm.h"

#include <dbus/dbus.h>

#include <chrono>
#include <map>
#include <string>

namespace CIM::cictl
{
using json::TJson;

/// Turns the messages between applications and the CI daemon into records, each reply with the call that it answers.
/// The messages may be anybody's: what is wrong with one stands in its record. Bound to its thread.
class TCDissector
{
public:
    /// \param[in] showSecrets  also PINs and what viewers type
    explicit TCDissector(bool showSecrets) : m_showSecrets(showSecrets) {}
    /// \return what a message says; null when it is none of the CI daemon's
    TJson Describe(DBusMessage* message);

private:
    struct TSCall
    {
        const json::TCOperationForm* operation; ///< null when the interface has none of that identifier
        std::string name;
        std::chrono::steady_clock::time_point sent;
        bool isForeign = false; ///< of another member or object than the daemon's calls
    };
    using TKey = std::pair<std::string, dbus_uint32_t>; // who called, and the call's serial

    TJson m_DescribeCall(DBusMessage* message);
    TJson m_DescribeForeignCall(DBusMessage* message, const json::TCInterfaceForm& interface);
    void m_AwaitReply(DBusMessage* message, TSCall call);
    TJson m_DescribeReply(DBusMessage* message);
    TJson m_DescribeSignal(DBusMessage* message);

    bool m_showSecrets;
    std::map<TKey, TSCall> m_calls;
};
} // namespace CIM::cictl
