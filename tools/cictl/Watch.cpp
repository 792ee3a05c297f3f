#include "cictl/Condition.h"
#include "cictl/Output.h"
#include "cictl/Signals.h"
#include "cictl/Time.h"
#include "cictl/Verb.h"

#include "json/ToJson.h"

#include <cstring>

namespace CIM::cictl
{
namespace
{
constexpr TSField SIGNAL_FIELDS[] = {
    {"time", ""},     {"type", ""},       {"profile", "profile"}, {"handle", "handle"},
    {"data", "data"}, {"int32", "int32"}, {"bytes", "bytes"},
};

std::vector<ECISignalType> SignalsFromWords(const std::vector<std::string>& words)
{
    std::vector<ECISignalType> types;
    for (const std::string& word : words)
    {
        types.push_back(SignalFromWord(word));
    }
    if (words.empty())
    {
        for (const auto& entry : TSEnumNames<ECISignalType>::entries)
        {
            if (entry.value != SIGNAL_CI_TYPE_BEGIN && entry.value != SIGNAL_CI_TYPE_END)
            {
                types.push_back(entry.value);
            }
        }
    }
    return types;
}

TJson Record(const TSSignal& signal)
{
    std::int32_t numbers[2];
    std::memcpy(numbers, signal.data.bytes, sizeof numbers);
    return {{"time", Now()},
            {"type", json::ToJson(signal.type)},
            {"profile", json::ToJson(signal.profile)},
            {"handle", signal.handle},
            {"data", json::ToJson(signal.data)},
            {"int32", numbers},
            {"bytes", signal.data.bytes}};
}
} // namespace

ECISignalType SignalFromWord(const std::string& word)
{
    for (const char* prefix : {"", "SIGNAL_", "SIGNAL_CI_"})
    {
        if (const auto type = EnumValue<ECISignalType>(prefix + word))
        {
            return *type;
        }
    }
    return json::FromJson<ECISignalType>(word, json::TCJsonPath("type"));
}

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
                          if (count == 0 || seen < count)
                          {
                              PrintEvent(SIGNAL_FIELDS, Record(signal), arguments.IsJson());
                              ++seen;
                          }
                          if (seen == count)
                          {
                              loop->Quit();
                          }
                      });
    loop = &signals;
    for (const unsigned short handle : handles)
    {
        for (const ECISignalType type : types)
        {
            signals.Subscribe(type, profile, handle);
        }
    }
    std::fprintf(stderr, "cictl: watching, Ctrl-C ends\n");
    signals.WatchDaemon();
    const bool isInTime = signals.Run(timeout ? static_cast<unsigned>(timeout->count()) : 0);
    return signals.Unless(isInTime || count == 0 ? EXIT_ANSWERED : EXIT_TIMEOUT);
}
} // namespace CIM::cictl
