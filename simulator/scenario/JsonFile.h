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
class TCJsonFile
{
public:
    /// \param[in] name  what error texts call the file
    /// \throws TCFileError when the text is no JSON, or names a member twice
    static TCJsonFile Parse(std::string name, const std::string& text);
    /// \throws TCFileError also when the file cannot be read
    static TCJsonFile Load(const std::string& path);

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
class TCFileError : public std::runtime_error
{
public:
    explicit TCFileError(const std::string& text) : std::runtime_error(text) {}
    TCFileError(const TCJsonFile& file, const std::vector<TSProblem>& problems);
};

/// A key as one part of a JSON pointer.
std::string EscapedKey(const std::string& key);
} // namespace CIM::sim
