#pragma once

#include "json/Forms.h"

#include <vector>

namespace CIM::json
{
/// Reads an object member by member, each by its type's form; a member that nobody asked for is an error, so that
/// misspellings show:
///
///   TCJsonObject(json, path).Needed("name", cam.name).Field("mode", cam.mode).Done();
///
/// Refers to the JSON and to the path, which outlive it.
class TCJsonObject
{
public:
    /// \throws TCJsonError when it is no object
    TCJsonObject(const TJson& json, const TCJsonPath& path);

    /// Reads a member that may be missing: what it is read into then keeps its value.
    template <class T>
    TCJsonObject& Field(const char* name, T& out)
    {
        if (const TJson* const member = Take(name))
        {
            TJsonForm<T>::From(*member, out, TCJsonPath(m_path, name));
        }
        return *this;
    }

    /// Reads a member that must be there.
    template <class T>
    TCJsonObject& Needed(const char* name, T& out)
    {
        Require(name);
        return Field(name, out);
    }

    /// A member by itself; null when there is none. It counts as asked for.
    const TJson* Take(const char* name);
    bool Has(const char* name) const { return m_json.contains(name); }
    /// Throws when there are members that nobody asked for.
    void Done() const;

private:
    void Require(const char* name) const;

    const TJson& m_json;
    const TCJsonPath& m_path;
    std::vector<const char*> m_known;
};
} // namespace CIM::json
