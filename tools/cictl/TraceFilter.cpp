#include "cictl/TraceFilter.h"

#include "cictl/Signals.h"

#include "commandline/Duration.h"
#include "commandline/Nearest.h"
#include "protocol/Envelope.h"

#include <ciapi/CINames.h>

#include <charconv>
#include <cstdlib>
#include <ctime>
#include <map>

namespace CIM::cictl
{
namespace
{
constexpr std::int64_t SECOND = 1'000'000'000;

/// A local time, as records show it, with or without its parts behind the minute.
std::int64_t TimeFrom(const char* option, const std::string& text)
{
    std::tm parts{};
    parts.tm_isdst = -1;
    const char* rest = strptime(text.c_str(), "%Y-%m-%dT%H:%M", &parts);
    char* end = nullptr;
    double seconds = 0;
    if (rest != nullptr && *rest == ':')
    {
        seconds = std::strtod(rest + 1, &end);
        rest = end;
    }
    const std::time_t time = rest != nullptr ? std::mktime(&parts) : -1;
    if (rest == nullptr || *rest != '\0' || time < 0 || !(seconds >= 0 && seconds < 61))
    {
        throw TCFailure(EXIT_USAGE, std::string(option) + ": a time such as 2026-01-31T20:15:04.117 is needed, not \"" +
                                        text + "\"");
    }
    return time * SECOND + static_cast<std::int64_t>(seconds * SECOND);
}
} // namespace

TCTraceFilter::TCTraceFilter(const TCArguments& arguments)
    : m_errorsOnly(arguments.IsSet("errors")), m_needsNames(arguments.IsSet("chart"))
{
    for (const std::string& word : arguments.Many("operation"))
    {
        m_TakeOperation(word);
    }
    for (const std::string& word : arguments.Many("signal"))
    {
        m_signals.insert(SignalTypeFromWord(word));
    }
    for (const std::string& word : arguments.Many("program"))
    {
        m_applications.insert(word);
        m_needsNames = true;
    }
    if (arguments.Has("slot"))
    {
        m_slot = arguments.Number("slot", 0, 254);
    }
    if (arguments.Has("slower-than"))
    {
        const std::string text = arguments.Text("slower-than");
        const auto limit = DurationFrom(text);
        if (!limit)
        {
            throw TCFailure(EXIT_USAGE, "slower-than: a time such as 50ms or 1.5s is needed, not \"" + text + "\"");
        }
        m_slowerThanMs = limit->count();
    }
    for (const auto& [option, place] : {std::pair("from", &m_from), std::pair("to", &m_to)})
    {
        if (arguments.Has(option))
        {
            *place = TimeFrom(option, arguments.Text(option));
        }
    }
    if (m_from && m_to && *m_from > *m_to)
    {
        throw TCFailure(EXIT_USAGE, "from: this is behind the time of --to");
    }
    if (m_slowerThanMs && !m_signals.empty())
    {
        throw TCFailure(EXIT_USAGE, "slower-than: a signal is never slow");
    }
}

void TCTraceFilter::m_TakeOperation(const std::string& word)
{
    const std::size_t dot = word.find('.');
    const std::string name = dot == word.npos ? word : word.substr(dot + 1);
    const std::size_t before = m_operations.size();
    for (const json::TCInterfaceForm& interface : json::Interfaces())
    {
        if (dot == word.npos || json::FindInterface(word.substr(0, dot)) == &interface)
        {
            const json::TCOperationForm* const whole = interface.Find(std::string_view(name));
            for (const json::TCOperationForm* const form :
                 whole != nullptr ? std::vector{whole} : interface.FindAll(name))
            {
                m_operations.insert(form);
            }
        }
    }
    if (m_operations.size() == before)
    {
        throw TCFailure(EXIT_USAGE, "operation: there is no operation \"" + word + "\"" +
                                        json::DidYouMeanOperation(word, /*isSent=*/true) + " (see cictl list)");
    }
}

TCTraceFilter::EInterest TCTraceFilter::InterestIn(const recording::TSMessageHead& head,
                                                   const recording::TSMoment& moment,
                                                   const TCDissector& dissector) const
{
    if (IsOver(moment.real))
    {
        return EInterest::NONE;
    }
    const bool isEarly = m_from && moment.real < *m_from;
    switch (head.type)
    {
    case DBUS_MESSAGE_TYPE_METHOD_CALL:
        if (m_needsNames && (protocol::FlagsOf(head.FirstNumber()) & protocol::CALL_FLAG_HELLO) != 0)
        {
            return EInterest::WHOLE;
        }
        if ((!m_signals.empty() && m_operations.empty()) || !m_IsWantedCall(head) || !m_IsOfWanted(head.sender))
        {
            return EInterest::NONE;
        }
        // Only its reply may be wanted then.
        return (isEarly || m_slowerThanMs) && !m_slot ? EInterest::NOTE : EInterest::WHOLE;
    case DBUS_MESSAGE_TYPE_METHOD_RETURN:
    case DBUS_MESSAGE_TYPE_ERROR:
        if (const std::optional<double> ms = dissector.Waited(head, moment))
        {
            return isEarly || (m_slowerThanMs && *ms <= *m_slowerThanMs) ? EInterest::NOTE : EInterest::WHOLE;
        }
        return EInterest::NONE;
    case DBUS_MESSAGE_TYPE_SIGNAL:
        return !isEarly && m_IsWantedSignal(head) && m_IsOfWanted(head.destination) ? EInterest::WHOLE
                                                                                    : EInterest::NONE;
    default:
        return EInterest::NONE;
    }
}

bool TCTraceFilter::m_IsWantedCall(const recording::TSMessageHead& head) const
{
    const json::TCInterfaceForm* const interface = traffic::InterfaceOfCall(head);
    if (interface == nullptr || m_operations.empty())
    {
        return interface != nullptr;
    }
    return m_operations.count(interface->Find(protocol::MethodIdOf(head.FirstNumber()))) > 0;
}

bool TCTraceFilter::m_IsWantedSignal(const recording::TSMessageHead& head) const
{
    if (head.interface != CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME || m_signals.empty())
    {
        return head.interface == CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME ? m_operations.empty()
                                                                     : head.interface == traffic::MARK_INTERFACE;
    }
    const std::string_view identifier = head.FirstText();
    int type = 0;
    return std::from_chars(identifier.data(), identifier.data() + identifier.size(), type).ec == std::errc() &&
           m_signals.count(static_cast<ECISignalType>(type)) > 0;
}

bool TCTraceFilter::m_IsOfWanted(std::string_view application) const
{
    return m_applications.empty() || application.empty() || m_applications.count(application) > 0 ||
           m_callers.count(application) > 0;
}

bool TCTraceFilter::IsOfWanted(const TCDissector::TSDescribed& described) const
{
    return m_IsOfWanted(described.application);
}

void TCTraceFilter::Meet(const TCDissector::TSDescribed& described)
{
    if (m_applications.empty() || !described.record.is_object() || described.record["kind"] != "call")
    {
        return;
    }
    constexpr std::size_t MOST = 4096;
    std::string program = described.record.value("program", "");
    if ((m_applications.count(described.application) > 0 || m_applications.count(program) > 0) &&
        m_callers.size() < MOST)
    {
        m_callers.insert(described.application);
    }
    if (!program.empty() && m_programs.size() < MOST)
    {
        m_programs.insert(std::move(program));
    }
}

std::string TCTraceFilter::Missing() const
{
    if (m_applications.empty() || !m_callers.empty())
    {
        return {};
    }
    const TNames known(m_programs.begin(), m_programs.end());
    return "no call is known to be of an application \"" + *m_applications.begin() + "\"" +
           (known.empty() ? "" : "; " + ThereAre(known, *m_applications.begin()));
}

bool TCTraceFilter::IsWanted(const TCDissector::TSDescribed& described) const
{
    const TJson& record = described.record;
    if (record.is_null())
    {
        return false;
    }
    const std::string kind = record["kind"];
    if (kind == "mark")
    {
        return true;
    }
    if (!IsOfWanted(described) || (m_slot && described.slot != m_slot) || (m_errorsOnly && !IsFailure(described)) ||
        (m_slowerThanMs && (!described.ms || *described.ms <= *m_slowerThanMs)) ||
        (m_from && described.moment.real < *m_from) || IsOver(described.moment.real))
    {
        return false;
    }
    if (kind == "signal")
    {
        return m_signals.empty() ? m_operations.empty() : described.signal && m_signals.count(*described.signal) > 0;
    }
    return m_operations.empty() ? m_signals.empty() : m_operations.count(described.operation) > 0;
}

bool IsFailure(const TCDissector::TSDescribed& described)
{
    const TJson& record = described.record;
    const auto result = record.find("result");
    const bool isRefusal =
        result != record.end() && described.operation != nullptr && described.operation->IsRefusal(*result);
    return isRefusal || record.contains("error");
}
} // namespace CIM::cictl
