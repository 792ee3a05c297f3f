#include "json/Object.h"

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
        throw TCJsonError(m_path, "\"" + std::string(name) + "\" is missing");
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
            std::string names;
            for (const char* const known : m_known)
            {
                names += (names.empty() ? "" : ", ") + std::string(known);
            }
            throw TCJsonError(TCJsonPath(m_path, member.key()), names.empty()
                                                                    ? "there are no members here"
                                                                    : "there is no such member; there are " + names);
        }
    }
}
} // namespace CIM::json
