#pragma once

#include <set>
#include <string>
#include <vector>

namespace CIM::sim
{
/// Sentences at the head of a story about what it does not hold.
class TCStoryNotes
{
public:
    explicit TCStoryNotes(std::vector<std::string> notes) : m_notes(std::move(notes)) {}

    void Add(const std::string& note) { m_notes.push_back(note); }
    /// The first note about a thing is enough.
    void AddOnce(const std::string& about, const std::string& note);

    /// As comments, a line each; not more than a reader can take.
    std::string Text() const;

private:
    std::vector<std::string> m_notes;
    std::set<std::string> m_noted;
};
} // namespace CIM::sim
