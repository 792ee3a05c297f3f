#include "JsonFile.h"

#include <cstddef>
#include <fstream>
#include <iterator>

namespace CIM::sim
{
namespace
{
/// Walks over a text for the parser and counts the lines on the way. The newline itself belongs to the line it ends: a
/// parser has to read one character more to know that a number is over.
class TCCountingIterator
{
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    TCCountingIterator(const char* at, int* line) : m_at(at), m_line(line) {}

    reference operator*() const { return *m_at; }
    TCCountingIterator& operator++()
    {
        *m_line += m_wasNewline ? 1 : 0;
        m_wasNewline = *m_at == '\n';
        ++m_at;
        return *this;
    }
    TCCountingIterator operator++(int)
    {
        const TCCountingIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const TCCountingIterator& other) const { return m_at == other.m_at; }
    bool operator!=(const TCCountingIterator& other) const { return m_at != other.m_at; }

private:
    const char* m_at;
    int* m_line; ///< of the character that was read last
    bool m_wasNewline = false;
};

/// Builds the value, and notes where its parts stand.
class TCBuilder final : public nlohmann::json_sax<nlohmann::json>
{
public:
    TCBuilder(const std::string& name, const int& line, std::map<std::string, int>& lines)
        : m_name(name), m_line(line), m_lines(lines)
    {
    }

    nlohmann::json TakeRoot() { return std::move(m_root); }

    bool null() override { return m_Put(nullptr); }
    bool boolean(bool value) override { return m_Put(value); }
    bool number_integer(number_integer_t value) override { return m_Put(value); }
    bool number_unsigned(number_unsigned_t value) override { return m_Put(value); }
    bool number_float(number_float_t value, const string_t&) override { return m_Put(value); }
    bool string(string_t& value) override { return m_Put(std::move(value)); }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return m_Open(nlohmann::json::object()); }
    bool end_object() override { return m_Close(); }
    bool start_array(std::size_t) override { return m_Open(nlohmann::json::array()); }
    bool end_array() override { return m_Close(); }
    bool key(string_t& value) override
    {
        m_key = std::move(value);
        if (m_open.back().value->contains(m_key))
        {
            m_Fail(m_open.back().path + "/" + EscapedKey(m_key) + ": this member stands here a second time");
        }
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override
    {
        // Without the library's own prefix and position.
        const std::string text = error.what();
        const std::string marker = ": ";
        const std::size_t at = text.find(marker);
        m_Fail(at == std::string::npos ? text : text.substr(at + marker.size()));
    }

private:
    struct TSOpen
    {
        nlohmann::json* value;
        std::string path;
    };

    [[noreturn]] void m_Fail(const std::string& text)
    {
        throw TCFileError(m_name + ":" + std::to_string(m_line) + ": " + text);
    }

    nlohmann::json* m_Add(nlohmann::json value, std::string& path)
    {
        nlohmann::json* added = &m_root;
        if (m_open.empty())
        {
            m_root = std::move(value);
        }
        else if (nlohmann::json& parent = *m_open.back().value; parent.is_array())
        {
            path = m_open.back().path + "/" + std::to_string(parent.size());
            added = &parent.emplace_back(std::move(value));
        }
        else
        {
            path = m_open.back().path + "/" + EscapedKey(m_key);
            added = &(parent[m_key] = std::move(value));
        }
        m_lines[path] = m_line;
        return added;
    }
    bool m_Put(nlohmann::json value)
    {
        std::string path;
        m_Add(std::move(value), path);
        return true;
    }
    bool m_Open(nlohmann::json value)
    {
        std::string path;
        nlohmann::json* const added = m_Add(std::move(value), path);
        m_open.push_back({added, std::move(path)}); // what is open is the last of its parent, and so does not move
        return true;
    }
    bool m_Close()
    {
        m_open.pop_back();
        return true;
    }

    const std::string& m_name;
    const int& m_line;
    std::map<std::string, int>& m_lines;
    nlohmann::json m_root;
    std::vector<TSOpen> m_open;
    std::string m_key;
};

std::string JoinedProblems(const TCJsonFile& file, const std::vector<TSProblem>& problems)
{
    std::string text;
    for (const TSProblem& problem : problems)
    {
        text += (text.empty() ? "" : "\n") + file.Describe(problem);
    }
    return text;
}
} // namespace

std::string EscapedKey(const std::string& key)
{
    std::string escaped;
    for (const char c : key)
    {
        escaped += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
    }
    return escaped;
}

TCFileError::TCFileError(const TCJsonFile& file, const std::vector<TSProblem>& problems)
    : std::runtime_error(JoinedProblems(file, problems))
{
}

TCJsonFile TCJsonFile::Parse(std::string name, const std::string& text)
{
    TCJsonFile file;
    file.m_name = std::move(name);
    int line = 1;
    TCBuilder builder(file.m_name, line, file.m_lines);
    nlohmann::json::sax_parse(TCCountingIterator(text.data(), &line),
                              TCCountingIterator(text.data() + text.size(), &line), &builder,
                              nlohmann::json::input_format_t::json, true, true);
    file.m_root = builder.TakeRoot();
    return file;
}

TCJsonFile TCJsonFile::Load(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream)
    {
        throw TCFileError(path + ": cannot be read");
    }
    return Parse(path, text);
}

int TCJsonFile::LineOf(std::string path) const
{
    for (;;)
    {
        if (const auto found = m_lines.find(path); found != m_lines.end())
        {
            return found->second;
        }
        if (path.empty())
        {
            return 1;
        }
        path.resize(path.rfind('/') == std::string::npos ? 0 : path.rfind('/'));
    }
}

std::string TCJsonFile::Describe(const TSProblem& problem) const
{
    return m_name + ":" + std::to_string(LineOf(problem.path)) + ": " + (problem.path.empty() ? "/" : problem.path) +
           ": " + problem.text;
}
} // namespace CIM::sim
