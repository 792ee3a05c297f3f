#pragma once

#include <ciapi/ICISignalSubscriber.h>

#include "json/Draft.h"

#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace CIM::sim
{
struct TSCall;

/// Who calls, and who has subscribed what: a process is known by its unique bus name until it leaves the bus. The list
/// is a record, not a filter: who receives a signal is decided by the bus.
class TCClients final : public ICISignalSubscriber
{
public:
    /// \param[in] model  hears of every subscription as well; outlives this
    explicit TCClients(ICISignalSubscriber& model) : m_model(model) {}

    /// Remembers who makes the call that is handled next.
    void OnCall(const TSCall& call);
    /// Whether the program that makes this call has never said its name.
    bool IsHelloWanted() const;
    /// The program's name; empty when it has not said it.
    std::string ProgramOf(const std::string& uniqueName) const;
    void OnGone(const std::string& uniqueName);
    /// As a daemon that has just started: nobody is known.
    void ForgetAll();

    /// \return 1, also when this client has subscribed the signal already
    int Subscribe(ECISignalType signalType, void* userData, EProfile profile, unsigned short handle,
                  long processId) override;
    /// \return 1; 0 when this client has no such subscription
    int Unsubscribe(ECISignalType signalType, EProfile profile, unsigned short handle, long processId) override;
    /// The daemon has no callback: does nothing.
    void SetCallback(TCISignalCallback) override {}

    /// The unique names of all clients with a subscription.
    std::vector<std::string> Subscribers() const;
    /// How many clients have subscribed a signal.
    std::size_t CountSubscribers(ECISignalType type, EProfile profile, unsigned short handle) const;
    json::TCDraft Subscriptions() const;

private:
    using TKey = std::tuple<ECISignalType, EProfile, unsigned short>;
    struct TSClient
    {
        long processId = 0; ///< as the client states it
        std::string program;
        std::map<TKey, long> subscriptions; ///< with the process id stated for each
    };

    void m_Withdraw(TSClient& client);

    ICISignalSubscriber& m_model;
    std::map<std::string, TSClient> m_clients;
    std::string m_caller;
};
} // namespace CIM::sim
