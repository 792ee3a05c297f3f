#include "StoryNotes.h"

#include "json/Harmless.h"

#include <algorithm>

namespace CIM::sim
{
void TCStoryNotes::AddOnce(const std::string& about, const std::string& note)
{
    if (m_noted.insert(about).second)
    {
        Add(note);
    }
}

std::string TCStoryNotes::Text() const
{
    constexpr std::size_t MOST = 40;
    std::string text;
    for (std::size_t i = 0; i < std::min(m_notes.size(), MOST); ++i)
    {
        text += "// " + json::Harmless(m_notes[i]) + "\n";
    }
    if (m_notes.size() > MOST)
    {
        text += "// And " + std::to_string(m_notes.size() - MOST) + " things more.\n";
    }
    return text;
}
} // namespace CIM::sim
