#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace CIM::sim
{
/// Something in a file that is not as it has to be.
struct TSProblem
{
    std::string path; ///< JSON pointer (RFC 6901); empty: the whole
    std::string text; ///< what was expected there
};

/// A JSON document with comments, and where in its file each value stands.
class TJsonFile
{
public:
    /// \param[in] name  what error texts call the file
    /// \throws TFileError when the text is no JSON, or names a member twice
    static TJsonFile Parse(std::string name, const std::string& text);
    /// \throws TFileError also when the file cannot be read
    static TJsonFile Load(const std::string& path);

    const std::string& Name() const { return m_name; }
    const nlohmann::json& Root() const { return m_root; }
    /// The line, counted from 1, on which a value begins; of what does not exist, the line of what would hold it.
    int LineOf(std::string path) const;
    /// "FILE:LINE: PATH: TEXT"
    std::string Describe(const TSProblem& problem) const;

private:
    std::string m_name;
    nlohmann::json m_root;
    std::map<std::string, int> m_lines;
};

/// A file that cannot be used; its text has a line for each problem.
class TFileError : public std::runtime_error
{
public:
    explicit TFileError(const std::string& text) : std::runtime_error(text) {}
    TFileError(const TJsonFile& file, const std::vector<TSProblem>& problems);
};

/// A key as one part of a JSON pointer.
std::string EscapedKey(const std::string& key);
} // namespace CIM::sim
