#pragma once

#include "json/Json.h"

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace CIM::json
{
/// A JSON document with comments, and where in its file each value begins.
class TCJsonDocument
{
public:
    /// Values nested deeper are refused: nobody writes them by hand, and each level costs memory.
    static constexpr std::size_t MAXIMUM_DEPTH = 128;

    /// \param[in] name  what error texts call the file
    /// \throws TCFileError when the text is no JSON, names a member twice, or is nested too deeply
    static TCJsonDocument Parse(std::string name, std::string text);
    /// \throws TCFileError also when the file cannot be read
    static TCJsonDocument Load(const std::string& path);

    const std::string& Name() const { return m_name; }
    const TJson& Root() const { return m_root; }
    /// The line, counted from 1, on which a value begins; of what does not exist, the line of what would hold it.
    int LineOf(const TCJsonPlace& place) const;
    /// "FILE:LINE:COLUMN: PLACE: MESSAGE"
    std::string Describe(const TCJsonError& error) const;

private:
    std::size_t m_OffsetOf(std::string pointer) const;

    std::string m_name;
    std::string m_text;
    TJson m_root;
    std::map<std::string, std::size_t> m_offsets; ///< by pointer
};

/// A file that cannot be used; its text has a line for each problem.
class TCFileError : public std::runtime_error
{
public:
    explicit TCFileError(const std::string& text) : std::runtime_error(text) {}
    TCFileError(const TCJsonDocument& file, const std::vector<TCJsonError>& problems);
};
} // namespace CIM::json
