#pragma once

#include "json/JsonFwd.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace CIM::json
{
/// A place inside a JSON value, while it is read: a chain of steps from the innermost outwards. Each step lives on the
/// stack of the function that took it; names are referred to, not copied.
class TCJsonPath
{
public:
    /// The value itself. \param[in] name  what to call it in words; may be empty
    explicit TCJsonPath(std::string_view name = {}) : m_name(name) {}
    TCJsonPath(const TCJsonPath& outer, std::string_view member) : m_outer(&outer), m_name(member) {}
    TCJsonPath(const TCJsonPath& outer, std::size_t index) : m_outer(&outer), m_index(index), m_isIndex(true) {}

private:
    friend class TCJsonPlace;

    const TCJsonPath* m_outer = nullptr;
    std::string_view m_name;
    std::size_t m_index = 0;
    bool m_isIndex = false;
};

/// The same place, kept: it stays a structure until somebody shows it.
class TCJsonPlace
{
public:
    using TStep = std::variant<std::string, std::size_t>; ///< a member's name, or an index

    TCJsonPlace() = default;
    explicit TCJsonPlace(const TCJsonPath& path);

    /// From the value itself to the place.
    const std::vector<TStep>& Steps() const { return m_steps; }
    /// In words: "set.cams[2].name"; empty for a value without a name.
    std::string Words() const;
    /// As JSON pointer (RFC 6901): "/set/cams/2/name"; empty for the value itself. Without the name of the value.
    std::string Pointer() const;

private:
    std::string m_name;
    std::vector<TStep> m_steps;
};

/// A JSON value that is not what it should be: where, and what is wrong.
class TCJsonError : public std::runtime_error
{
public:
    TCJsonError(const TCJsonPath& path, std::string message);

    const TCJsonPlace& Place() const { return m_place; }
    /// What is wrong, without the place, which what() has in words.
    const std::string& Message() const { return m_message; }

private:
    TCJsonPlace m_place;
    std::string m_message;
};

/// What a value is, for error texts: "a text", "a number", "a list", ...
const char* KindOf(const TJson& json);

// The commonest ways into a value and out of it. To go them through the library's own templates would compile them
// anew in every source, for every length of a literal.

/// \throws TCJsonError when it is no list
const TJson::array_t& ElementsOf(const TJson& json, const TCJsonPath& path);
/// \throws TCJsonError when it is no object
const TJson::object_t& MembersOf(const TJson& json, const TCJsonPath& path);
/// A member of an object; null when there is none. \throws TCJsonError when it is no object
const TJson* FindMember(const TJson& json, std::string_view name, const TCJsonPath& path);
/// A text as it is; null when it is none.
const std::string* TextOf(const TJson& json);
/// A text without its quotes, and anything else as JSON.
std::string WordOf(const TJson& json);

TJson NewObject();
TJson NewList();
void Put(TJson& object, std::string_view name, TJson value);
void Append(TJson& list, TJson value);

/// Whether two values are the same; the order of an object's members does not matter.
bool IsSame(const TJson& left, const TJson& right);

/// JSON as it was written; never throws for texts that are no UTF-8: such bytes are shown as U+FFFD.
std::string Dump(const TJson& json, int indent = -1);
} // namespace CIM::json
