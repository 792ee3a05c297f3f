#pragma once

#include "protocol/SignalData.h"
#include "json/OperationForm.h"

#include <dbus/dbus.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>

namespace CIM::cictl
{
using json::TJson;

/// A signal as it is on the bus.
struct TSSignalRead
{
    std::optional<protocol::SSignal> signal; ///< nothing when its type or its data cannot be read
    std::string type;                        ///< as it was sent
    std::string bytes;                       ///< of its data, as far as they are there, in hexadecimal digits
    std::string error;                       ///< what is wrong with it; empty: nothing
};
TSSignalRead ReadSignal(DBusMessage* message);

/// Adds what a signal says to its record: in words for people, and for programs also its parts.
/// \param[in] isRaw  also the bytes of its data
void AddSignal(TJson& record, const protocol::SSignal& signal, bool asJson, bool isRaw);

/// Turns the messages between applications and the CI daemon into records, each reply with the call that it answers.
/// The messages may be anybody's: what is wrong with one stands in its record. Bound to its thread.
class TCDissector
{
public:
    struct TSWishes
    {
        bool showSecrets = false; ///< also PINs and what viewers type
        bool showRaw = false;     ///< also the bytes of signals
        bool asJson = false;      ///< for programs: also the parts of what text tells in words
    };
    explicit TCDissector(const TSWishes& wishes) : m_wishes(wishes) {}
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

    TSWishes m_wishes;
    std::map<TKey, TSCall> m_calls;
};
} // namespace CIM::cictl
