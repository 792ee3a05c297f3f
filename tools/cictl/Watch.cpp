#include "cictl/Dissector.h"
#include "cictl/Output.h"
#include "cictl/Signals.h"
#include "cictl/Time.h"
#include "cictl/Verb.h"

#include "json/Signals.h"
#include "json/ToJson.h"

#include <algorithm>
#include <set>

namespace CIM::cictl
{
namespace
{
constexpr TSField SIGNAL_FIELDS[] = {
    {"time", ""}, {"type", ""},       {"profile", "profile"}, {"handle", "handle"}, {"slot", "slot"}, {"code", "code"},
    {"id", "id"}, {"value", "value"}, {"meaning", ""},        {"words", ""},        {"data", "data"},
};

std::vector<ECISignalType> SignalsFromWords(const std::vector<std::string>& words)
{
    std::vector<ECISignalType> types;
    for (const std::string& word : words)
    {
        types.push_back(SignalTypeFromWord(word));
    }
    if (words.empty())
    {
        for (const protocol::SSignalRow& row : protocol::SIGNAL_ROWS)
        {
            types.push_back(row.type);
        }
    }
    return types;
}

/// Tells the daemon what is wanted: it may raise nothing that nobody has asked for. Its slots are known; the pipelines
/// are their applications', which ask for what they need.
void SubscribeSlots(TCDaemonAccess& daemon, TCSignals& signals, const std::vector<ECISignalType>& types)
{
    constexpr unsigned MOST_SLOTS = 12; // the bus allows 512 rules
    std::set<unsigned short> slots{0};
    try
    {
        for (const auto& entry : daemon.SlotStatuses())
        {
            if (entry.first < MOST_SLOTS)
            {
                slots.insert(entry.first);
            }
        }
    }
    catch (const TCFailure& failure)
    {
        std::fprintf(stderr, "cictl: only slot 0 is subscribed: %s\n", Harmless(failure.what()).c_str());
    }
    for (const unsigned short slot : slots)
    {
        for (const ECISignalType type : types)
        {
            if (slot == 0 || protocol::SignalRow(type).subject != protocol::ESubject::PIPELINE)
            {
                signals.Subscribe(type, PROFILE_MAIN, slot);
            }
        }
    }
}
} // namespace

EExit WatchVerb(const TCArguments& arguments)
{
    const std::vector<ECISignalType> types = SignalsFromWords(arguments.Many("type"));
    const auto profile = json::FromJson<EProfile>(arguments.Text("profile", "0"), json::TCJsonPath("profile"));
    std::vector<unsigned short> handles;
    for (const std::string& word : arguments.Many("handle"))
    {
        handles.push_back(json::FromJson<unsigned short>(word, json::TCJsonPath("handle")));
    }
    if (handles.empty())
    {
        handles.push_back(0);
    }
    const long count = arguments.Number("count", 1, 1'000'000'000, 0);
    const auto timeout = arguments.Seconds("timeout");

    TCDaemonAccess daemon;
    long seen = 0;
    TCSignals* loop = nullptr;
    TCSignals signals(daemon,
                      [&](const TSSignal& signal)
                      {
                          const bool isWanted = std::find(types.begin(), types.end(), signal.type) != types.end() ||
                                                arguments.Many("type").empty();
                          if (!isWanted)
                          {
                              return;
                          }
                          if (count == 0 || seen < count)
                          {
                              TJson record = {{"time", Now()}};
                              AddSignal(record, signal, arguments.IsJson(), arguments.IsSet("raw"));
                              PrintEvent(SIGNAL_FIELDS, record, arguments.IsJson());
                              ++seen;
                          }
                          if (seen == count)
                          {
                              loop->Quit();
                          }
                      });
    loop = &signals;
    if (!arguments.Has("profile") && !arguments.Has("handle"))
    {
        daemon.Require(*json::FindInterface("ICISignalSubscriber"));
        signals.HearAll();
        SubscribeSlots(daemon, signals, types);
    }
    else
    {
        for (const unsigned short handle : handles)
        {
            for (const ECISignalType type : types)
            {
                signals.Subscribe(type, profile, handle);
            }
        }
    }
    std::fprintf(stderr, "cictl: watching, Ctrl-C ends\n");
    signals.WatchDaemon();
    const bool isInTime = signals.Run(timeout ? static_cast<unsigned>(timeout->count()) : 0);
    return signals.Unless(isInTime || count == 0 ? EXIT_ANSWERED : EXIT_TIMEOUT);
}
} // namespace CIM::cictl
