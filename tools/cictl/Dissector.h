#pragma once

#include "recording/MessageHead.h"
#include "recording/Moment.h"
#include "traffic/Messages.h"

#include <dbus/dbus.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace CIM::cictl
{
using json::TJson;

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
    /// A message, told.
    struct TSDescribed
    {
        TJson record;                                     ///< null when it is none of the CI daemon's
        const json::TCOperationForm* operation = nullptr; ///< of a call or reply; null: unknown, or a signal
        std::optional<std::int64_t> slot;                 ///< that a call, its reply or a signal is about
        std::optional<ECISignalType> signal;              ///< of a signal whose data can be read
        std::string application;                          ///< unique bus name: who calls, or is answered; empty: all
        std::optional<double> ms;                         ///< from the call to this reply
        bool isOfBadCall = false;                         ///< a reply to a call whose record has told an error
        recording::TSMoment moment;
    };
    /// \param[in] moment  when it came; of two messages the monotonic clock counts where both have it
    TSDescribed Describe(DBusMessage* message, const recording::TSMoment& moment);
    /// Takes a message without describing it, for less. \return whether it is the CI daemon's
    bool PassOver(DBusMessage* message);
    /// Takes a call or a reply by its head alone, which is all that is needed where nothing is told of it: of a call's reply
    /// only the slot will not be known. \return whether a call needs no more than that
    bool Note(const recording::TSMessageHead& head, const recording::TSMoment& moment);
    /// How long the call has waited that this answers, in milliseconds; nothing: no call that is known.
    std::optional<double> Waited(const recording::TSMessageHead& reply, const recording::TSMoment& moment) const;
    /// Calls that wait for their replies, each as a record that says so, by the time of the call.
    std::vector<TSDescribed> UnansweredCalls() const;

private:
    struct TSCall
    {
        const json::TCOperationForm* operation = nullptr; ///< null when the interface has none of that identifier
        std::string name;
        recording::TSMoment sent;
        std::optional<std::int64_t> slot = {};
        bool isForeign = false; ///< of another member or object than the daemon's calls
        bool isBad = false;     ///< its record tells an error
    };
    using TKey = std::pair<std::string, dbus_uint32_t>; // who called, and the call's serial

    void m_DescribeCall(DBusMessage* message, TSDescribed& described);
    void m_AwaitReply(DBusMessage* message, TSCall call);
    void m_AwaitReply(TKey key, TSCall call);
    void m_DescribeReply(DBusMessage* message, TSDescribed& described);
    void m_AddMember(DBusMessage* message, TJson& record) const;
    void m_DescribeSignal(DBusMessage* message, TSDescribed& described);

    TSWishes m_wishes;
    recording::TSMoment m_moment; ///< of the message that is being described
    std::map<TKey, TSCall> m_calls;
};
} // namespace CIM::cictl
