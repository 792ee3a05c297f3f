#include "json/Object.h"

#include "commandline/Nearest.h"

#include <algorithm>

namespace CIM::json
{
TCJsonObject::TCJsonObject(const TJson& json, const TCJsonPath& path) : m_json(json), m_path(path)
{
    if (!json.is_object())
    {
        throw TCJsonError(path, std::string("an object is needed, not ") + KindOf(json));
    }
}

const TJson* TCJsonObject::Take(const char* name)
{
    m_known.push_back(name);
    const auto found = m_json.find(name);
    return found != m_json.end() ? &*found : nullptr;
}

void TCJsonObject::Require(const char* name) const
{
    if (!Has(name))
    {
        std::string message = "\"" + std::string(name) + "\" is missing";
        const std::string_view misspelt =
            Nearest(name, NamesOf(MembersOf(m_json, m_path),
                                  [](const auto& member) -> const std::string& { return member.first; }));
        if (!misspelt.empty() &&
            std::none_of(m_known.begin(), m_known.end(), [&](const char* known) { return misspelt == known; }))
        {
            message += "; was \"" + std::string(misspelt) + "\" meant to be it?";
        }
        throw TCJsonError(m_path, message);
    }
}

void TCJsonObject::Done() const
{
    for (const auto& member : m_json.items())
    {
        const bool isKnown =
            std::any_of(m_known.begin(), m_known.end(), [&](const char* known) { return member.key() == known; });
        if (!isKnown)
        {
            throw TCJsonError(TCJsonPath(m_path, member.key()),
                              m_known.empty() ? "there are no members here"
                                              : "there is no such member; " +
                                                    ThereAre({m_known.begin(), m_known.end()}, member.key()));
        }
    }
}
} // namespace CIM::json
