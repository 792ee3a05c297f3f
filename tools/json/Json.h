#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace CIM::json
{
/// JSON whose members keep the order in which they were written.
using TJson = nlohmann::ordered_json;

/// A place inside a JSON value, for error texts: a chain of steps from the innermost outwards. Each step lives on the
/// stack of the function that took it; names are referred to, not copied.
class TCJsonPath
{
public:
    /// The value itself. \param[in] name  what to call it; may be empty
    explicit TCJsonPath(std::string_view name = {}) : m_name(name) {}
    TCJsonPath(const TCJsonPath& outer, std::string_view member) : m_outer(&outer), m_name(member) {}
    TCJsonPath(const TCJsonPath& outer, std::size_t index) : m_outer(&outer), m_index(index), m_isIndex(true) {}

    /// The place in words, "profiles[2].slotId"; empty for a value without a name.
    std::string Text() const;

private:
    const TCJsonPath* m_outer = nullptr;
    std::string_view m_name;
    std::size_t m_index = 0;
    bool m_isIndex = false;
};

/// A JSON value that is not what it should be: its text begins with the place.
class TCJsonError : public std::runtime_error
{
public:
    TCJsonError(const TCJsonPath& path, const std::string& message);
};

/// What a value is, for error texts: "a text", "a number", "a list", ...
const char* KindOf(const TJson& json);
} // namespace CIM::json
