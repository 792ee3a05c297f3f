#include "Hand.h"

#include "commandline/Nearest.h"
#include "simulator/control/Controls.h"
#include "simulator/daemon/Verbs.h"
#include "simulator/model/Model.h"
#include "simulator/scenario/Scenario.h"
#include "json/Document.h"
#include "json/Secret.h"

#include <algorithm>
#include <stdexcept>

namespace CIM::sim
{
namespace
{
using json::TJson;

constexpr std::size_t MOST_EVENTS = 10'000;

/// What a verb is called in a scenario, with its arguments; null when it is nothing that a scenario does.
TJson DeedOf(const std::string& verb, const TJson& arguments)
{
    for (const TSControl& control : Controls())
    {
        if (control.verb == verb)
        {
            return {{control.name, arguments}};
        }
    }
    const auto argument = [&](const char* name, TJson initial)
    { return arguments.contains(name) ? arguments[name] : std::move(initial); };
    if (verb == "Control")
    {
        return {{arguments.at("name").get<std::string>(), argument("arguments", TJson::object())}};
    }
    if (verb == "AdvanceClock")
    {
        return {{"advance", argument("ms", 0)}};
    }
    if (verb == "AddFault")
    {
        return {{"fault", argument("fault", TJson::object())}};
    }
    if (verb == "ClearFaults")
    {
        return {{"clear-faults", TJson::object()}};
    }
    if (verb == "Restart")
    {
        return {{"fault", {{"kind", "restart"}, {"ms", argument("ms", 0)}}}};
    }
    return {};
}

bool IsAsking(std::string_view operation)
{
    return operation.starts_with("Get") || operation.starts_with("Is") || operation.starts_with("Subscribe") ||
           operation.starts_with("Unsubscribe");
}
} // namespace

TCHand::TCHand(TCSimulatedDaemon& daemon, const TSScenario* story, std::map<int, std::string> inserted)
    : m_daemon(daemon), m_story(story), m_inserted(std::move(inserted))
{
}

TTime TCHand::m_Now() { return m_daemon.Model().Now(); }

std::string TCHand::Do(const std::string& name, const TJson& arguments)
{
    const TSVerb* const verb = FindVerb(name);
    if (verb == nullptr)
    {
        throw std::runtime_error(NoSuchVerb(name));
    }
    const TCModelUse use(m_daemon.Clock());
    const TTime now = m_Now();
    std::string result = verb->run(m_daemon, arguments, json::TCJsonPath());
    const TJson deed = DeedOf(name, arguments);
    if (!deed.is_null() && m_events.size() < MOST_EVENTS)
    {
        if (!m_call.is_null())
        {
            const std::string operation = m_call["operation"].get<std::string>();
            m_AddEvent("the application calls " + operation, {{"when", {{"called", std::move(m_call)}}}}, m_callTime);
            m_call = nullptr;
        }
        TJson members = TJson::object();
        if (now > m_last)
        {
            members["when"] = {{"after", now - m_last}};
        }
        members["do"] = TJson::array({deed});
        m_AddEvent(verb->help, std::move(members), m_Now());
        ++m_deeds;
    }
    return result;
}

void TCHand::m_AddEvent(std::string says, TJson members, TTime at)
{
    TJson event = {{"name", "step-" + std::to_string(m_events.size() + 1)}, {"says", std::move(says)}};
    event.update(members);
    m_events.push_back(std::move(event));
    m_last = at;
}

void TCHand::OnCall(const TSJournalEntry& call)
{
    if (call.operation == nullptr || IsAsking(call.operation->Name()))
    {
        return;
    }
    json::TSDecoded decoded = call.operation->RequestToJson(call.request);
    const json::TCWipeAtEnd wipe(decoded.json);
    if (!decoded.error.empty())
    {
        return;
    }
    TJson arguments = TJson::object();
    for (const auto& [name, value] : decoded.json.items())
    {
        const json::TSParameter* const parameter = call.operation->FindParameter(name);
        if (parameter != nullptr && !parameter->IsSecret() && (value.is_number() || value.is_boolean()))
        {
            arguments[name] = value;
        }
    }
    m_call = {{"operation", call.operation->FullName()}, {"arguments", std::move(arguments)}};
    if (!m_events.empty())
    {
        m_call["since"] = m_events.back()["name"];
    }
    m_callTime = m_Now();
}

std::string TCHand::Story() const
{
    TJson story = {{"name", "by-hand"}, {"description", "what was done by hand"}};
    TJson events = TJson::array();
    if (m_story != nullptr)
    {
        const json::TCJsonDocument file = json::TCJsonDocument::Load(m_story->file);
        for (const auto& [name, value] : file.Root().items())
        {
            const auto others = {"name", "description", "tells", "story", "timeline", "expect", "never"};
            if (std::find(others.begin(), others.end(), name) == others.end())
            {
                story[name] = value;
            }
        }
    }
    else
    {
        TJson inserted = TJson::object();
        for (const auto& [slot, cam] : m_inserted)
        {
            inserted[std::to_string(slot)] = cam;
        }
        story["set"] = {{"base", "default"}, {"inserted", std::move(inserted)}};
        if (m_begin > 0)
        {
            events.push_back({{"says", "the CAMs become ready"}, {"do", {{{"advance", m_begin}}}}});
        }
    }
    for (const TJson& event : m_events)
    {
        events.push_back(event);
    }
    story["story"] = std::move(events);
    std::string text = json::Dump(story, 2) + "\n";
    try
    {
        ReadScenario(json::TCJsonDocument::Parse("story", text));
    }
    catch (const json::TCFileError& error)
    {
        std::string words = error.what();
        for (std::size_t end = 0; (end = words.find('\n', end)) != words.npos; end += 4)
        {
            words.replace(end, 1, "\n// ");
        }
        text = "// " + words + "\n" + text;
    }
    return text;
}
} // namespace CIM::sim
