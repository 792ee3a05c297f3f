#include "Condition.h"

#include "simulator/daemon/Clients.h"
#include "json/Signals.h"
#include "json/ValueForms.h"

#include <ciapi/CIPlatformEnumNames.h>

#include <algorithm>

namespace CIM::sim
{
namespace
{
using json::TJson;

TSTyped<std::string> Since()
{
    return Optional<std::string>("since", "", "name of an event; without: what came from the begin of the story on");
}

std::string Times(unsigned times) { return times == 1 ? "" : " " + std::to_string(times) + " times"; }

/// Counts, from one look to the next, what has come since an event.
template <class T>
class TCCounter
{
public:
    TCCounter(TCArrivals<T> TSHistory::*arrivals, std::uint64_t TSMoment::*number, std::optional<std::size_t> since)
        : m_arrivals(arrivals), m_number(number), m_since(since)
    {
    }

    template <class IsMeant>
    unsigned Count(const TSHistory& history, IsMeant isMeant)
    {
        const TCArrivals<T>& arrivals = history.*m_arrivals;
        const std::optional<TSMoment> begin = m_since ? history.events[*m_since] : std::nullopt;
        m_next = std::max({m_next, arrivals.Begin(), begin ? (*begin).*m_number : 0});
        for (; m_next < arrivals.End(); ++m_next)
        {
            m_count += isMeant(arrivals[m_next]) ? 1 : 0;
        }
        return m_count;
    }

private:
    TCArrivals<T> TSHistory::*m_arrivals;
    std::uint64_t TSMoment::*m_number;
    std::optional<std::size_t> m_since;
    std::uint64_t m_next = 0;
    unsigned m_count = 0;
};

TSCondition Called(TSConditionReader& reader, const std::string& operation, const TJson& arguments, unsigned times,
                   const std::string& since)
{
    const TCCallPattern pattern(operation, arguments, *reader.path);
    const auto event = reader.Event(since, "since");
    if (times == 0)
    {
        reader.Refuse("times", "at least 1 call is waited for");
    }
    TCCounter<TSMadeCall> counter(&TSHistory::calls, &TSMoment::calls, event);
    return {"for " + pattern.Words() + Times(times),
            [pattern, times, counter](const TSScene& scene) mutable {
                return counter.Count(scene.history, [&](const TSMadeCall& call) { return pattern.Matches(call); }) >=
                       times;
            },
            {},
            pattern,
            event};
}

TSCondition Subscribed(TSConditionReader& reader, ECISignalType signal, EProfile profile, unsigned short handle,
                       unsigned clients)
{
    if (clients == 0)
    {
        reader.Refuse("clients", "at least 1 client subscribes");
    }
    return {"for the subscription of " + std::string(EnumName(signal)) + " for handle " + std::to_string(handle) +
                (clients == 1 ? "" : " by " + std::to_string(clients) + " clients"),
            [=](const TSScene& scene) { return scene.clients.CountSubscribers(signal, profile, handle) >= clients; }};
}

TSCondition Signalled(TSConditionReader& reader, ECISignalType signal, std::optional<unsigned char> slot,
                      const std::optional<json::TSSignalCode>& givenCode,
                      const std::optional<json::TSSignalId>& givenId,
                      const std::optional<json::TSSignalValue>& givenValue, unsigned times, const std::string& since)
{
    const auto event = reader.Event(since, "since");
    std::string words = "until " + std::string(EnumName(signal)) + " is raised";
    if (slot)
    {
        words += " with slot " + std::to_string(*slot);
    }
    unsigned withCode = 0;
    const auto take = [&](const char* name, const auto& given) -> std::optional<std::uint32_t>
    {
        if (!given)
        {
            return std::nullopt;
        }
        const std::uint32_t number = given->For(signal, withCode, json::TCJsonPath(*reader.path, name));
        words += " with " + std::string(name) + " " +
                 (given->name.empty() ? std::to_string(number) : std::string(given->name));
        return number;
    };
    const auto code = take("code", givenCode);
    withCode = code.value_or(0);
    const auto id = take("id", givenId);
    const auto value = take("value", givenValue);
    TCCounter<TSSignal> counter(&TSHistory::signals, &TSMoment::signals, event);
    const auto isMeant = [=](const TSSignal& raised)
    {
        const TSSignalFields fields = UnpackSignalData(raised.data);
        return raised.type == signal && slot.value_or(fields.slot) == fields.slot &&
               code.value_or(fields.code) == fields.code && id.value_or(fields.id) == fields.id &&
               value.value_or(fields.value) == fields.value;
    };
    return {words + Times(times),
            [isMeant, times, counter](const TSScene& scene) mutable
            { return counter.Count(scene.history, isMeant) >= times; },
            {},
            {},
            event};
}
} // namespace

std::vector<TSConditionRow> HistoryConditionRows()
{
    return {
        ConditionRow("called", "the application has made a call",
                     Taking(Needed<std::string>("operation", "as in the journal"),
                            Optional<TJson>("arguments", TJson(), "those that matter, by name"),
                            Optional<unsigned>("times", 1, "how often, at least"), Since()),
                     Called),
        ConditionRow("subscribed", "the application has subscribed a signal",
                     Taking(Needed<ECISignalType>("signal", "which"),
                            Optional<EProfile>("profile", PROFILE_MAIN, "of the TV pipeline"),
                            Optional<unsigned short>("handle", 0, "of the TV pipeline, or the slot"),
                            Optional<unsigned>("clients", 1, "how many applications, at least")),
                     Subscribed),
        ConditionRow(
            "signalled", "a signal was raised",
            Taking(Needed<ECISignalType>("signal", "which"),
                   Optional<std::optional<unsigned char>>("slot", {}, "a field of the data"),
                   Optional<std::optional<json::TSSignalCode>>("code", {}, "a field of the data, also by name"),
                   Optional<std::optional<json::TSSignalId>>("id", {}, "a field of the data, also by name"),
                   Optional<std::optional<json::TSSignalValue>>("value", {}, "a field of the data, also by name"),
                   Optional<unsigned>("times", 1, "how often, at least"), Since()),
            Signalled),
    };
}
} // namespace CIM::sim
