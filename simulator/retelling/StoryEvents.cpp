#include "StoryEvents.h"

namespace CIM::sim
{
using json::TJson;

namespace
{
constexpr std::size_t WIDTH = 118;

std::string OneLine(const TJson& json)
{
    if (!json.is_structured() || json.empty())
    {
        return json::Dump(json);
    }
    std::string text;
    for (const auto& item : json.items())
    {
        text += text.empty() ? "" : ", ";
        text += (json.is_object() ? json::Dump(TJson(item.key())) + ": " : "") + OneLine(item.value());
    }
    return json.is_object() ? "{ " + text + " }" : "[" + text + "]";
}

/// \param[in] used  what stands before and behind it on its line
void LayOut(const TJson& json, std::size_t indent, std::size_t used, std::string& text)
{
    const std::string line = OneLine(json);
    if (!json.is_structured() || json.empty() || (indent > 0 && indent + used + line.size() <= WIDTH))
    {
        text += line;
        return;
    }
    text += json.is_object() ? "{" : "[";
    const std::string margin = "\n" + std::string(indent + 2, ' ');
    const char* comma = "";
    for (const auto& item : json.items())
    {
        const std::string name = json.is_object() ? json::Dump(TJson(item.key())) + ": " : "";
        text += comma + margin + name;
        LayOut(item.value(), indent + 2, name.size() + 1, text);
        comma = ",";
    }
    text += "\n" + std::string(indent, ' ') + (json.is_object() ? "}" : "]");
}
} // namespace

std::size_t TCStoryEvents::Add(const std::string& word, const std::string& says, const TJson& when, const TJson& deeds)
{
    TSWritten event{word, {}, {{"says", says}}};
    if (!when.empty())
    {
        event.json["when"] = when;
    }
    event.deeds = deeds;
    m_events.push_back(std::move(event));
    return m_events.size() - 1;
}

void TCStoryEvents::Expect(const std::string& says, const TJson& call, std::optional<std::size_t> after,
                           std::optional<std::size_t> before)
{
    TJson expectation = {{"says", says}, {"call", call}};
    if (after)
    {
        expectation["after"] = NameOf(*after);
    }
    if (before)
    {
        expectation["before"] = NameOf(*before);
    }
    m_expectations.push_back(std::move(expectation));
}

std::string TCStoryEvents::NameOf(std::size_t event)
{
    TSWritten& written = m_events[event];
    if (written.name.empty())
    {
        const unsigned number = ++m_names[written.word];
        written.name = written.word + (number == 1 ? "" : "-" + std::to_string(number));
    }
    return written.name;
}

void TCStoryEvents::Write(TJson& scenario) const
{
    TJson& story = scenario["story"] = json::NewList();
    for (const TSWritten& written : m_events)
    {
        TJson event = json::NewObject();
        if (!written.name.empty())
        {
            event["name"] = written.name;
        }
        event.update(written.json);
        if (!written.deeds.empty())
        {
            event["do"] = written.deeds;
        }
        story.push_back(std::move(event));
    }
    if (!m_expectations.empty())
    {
        scenario["expect"] = m_expectations;
    }
}

std::string LaidOut(const TJson& json)
{
    std::string text;
    LayOut(json, 0, 0, text);
    return text + "\n";
}
} // namespace CIM::sim
