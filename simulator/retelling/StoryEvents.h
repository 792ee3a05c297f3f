#pragma once

#include "json/Json.h"

#include <map>
#include <optional>

#include <string>
#include <vector>

namespace CIM::sim
{
/// The events and expectations of a story that is being written.
class TCStoryEvents
{
public:
    /// Adds an event. \param[in] word  what it may be called by others \return its index
    std::size_t Add(const std::string& word, const std::string& says, const json::TJson& when,
                    const json::TJson& deeds);
    /// Adds to what the last event does.
    void AddDeed(const json::TJson& deed) { m_events.back().deeds.push_back(deed); }
    /// Waits longer for the last event than usual.
    void WaitFor(unsigned withinMs) { m_events.back().json["within"] = withinMs; }

    void Expect(const std::string& says, const json::TJson& call, std::optional<std::size_t> after,
                std::optional<std::size_t> before);

    /// The name of an event, for one that refers to it.
    std::string NameOf(std::size_t event);
    bool IsEmpty() const { return m_events.empty(); }
    std::size_t Size() const { return m_events.size(); }

    /// Puts "story" and "expect" into a scenario.
    void Write(json::TJson& scenario) const;

private:
    struct TSWritten
    {
        std::string word;
        std::string name; ///< empty: nobody refers to it
        json::TJson json;
        json::TJson deeds = json::NewList();
    };

    std::vector<TSWritten> m_events;
    std::map<std::string, unsigned> m_names; ///< how many events have a word as their name
    json::TJson m_expectations = json::NewList();
};

/// A scenario as a person would lay it out: short values on one line.
std::string LaidOut(const json::TJson& json);
} // namespace CIM::sim
