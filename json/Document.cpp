#include "json/Document.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>

namespace CIM::json
{
namespace
{
/// Walks over a text for the parser, which takes copies of its iterators, and tells how far it has come.
class TCWatchedIterator
{
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    TCWatchedIterator(const char* at, const char** furthest) : m_at(at), m_furthest(furthest) {}

    reference operator*() const { return *m_at; }
    TCWatchedIterator& operator++()
    {
        *m_furthest = ++m_at;
        return *this;
    }
    TCWatchedIterator operator++(int)
    {
        const TCWatchedIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const TCWatchedIterator& other) const { return m_at == other.m_at; }
    bool operator!=(const TCWatchedIterator& other) const { return m_at != other.m_at; }

private:
    const char* m_at;
    const char** m_furthest;
};

/// What the parser complains of, without the piece of text that it quotes: that may be a secret. The place is told.
std::string WithoutQuote(const std::string& complaint)
{
    const std::size_t quote = complaint.find("; last read: '");
    const std::size_t behind = complaint.rfind("'; expected ");
    if (quote == complaint.npos)
    {
        return complaint;
    }
    const bool hasMore = behind != complaint.npos && behind > quote;
    return complaint.substr(0, quote) + (hasMore ? complaint.substr(behind + 1) : "");
}

/// Where the next value or key begins: behind white space, comments and what separates values.
std::size_t NextToken(std::string_view text, std::size_t at)
{
    while (at < text.size())
    {
        if (text.substr(at, 2) == "//")
        {
            at = std::min(text.find('\n', at), text.size());
        }
        else if (text.substr(at, 2) == "/*")
        {
            const std::size_t end = text.find("*/", at + 2);
            at = end == text.npos ? text.size() : end + 2;
        }
        else if (std::string_view(" \t\r\n,:").find(text[at]) != std::string_view::npos)
        {
            ++at;
        }
        else
        {
            break;
        }
    }
    return at;
}

std::string PositionText(std::string_view text, std::size_t offset, int& line)
{
    const std::string_view before = text.substr(0, offset);
    line = 1 + static_cast<int>(std::count(before.begin(), before.end(), '\n'));
    const std::size_t newline = before.rfind('\n');
    const std::size_t column = 1 + offset - (newline == before.npos ? 0 : newline + 1);
    return std::to_string(line) + ":" + std::to_string(column);
}

/// Builds the value, and notes where its parts begin.
class TCBuilder final : public nlohmann::json_sax<TJson>
{
public:
    TCBuilder(const std::string& name, std::string_view text, std::map<std::string, std::size_t>& offsets)
        : furthest(text.data()), m_name(name), m_text(text), m_offsets(offsets)
    {
    }

    TJson TakeRoot() { return std::move(m_root); }

    const char* furthest; ///< what the parser has read

    bool null() override { return m_Put(nullptr); }
    bool boolean(bool value) override { return m_Put(value); }
    bool number_integer(number_integer_t value) override { return m_Put(value); }
    bool number_unsigned(number_unsigned_t value) override { return m_Put(value); }
    bool number_float(number_float_t value, const string_t&) override { return m_Put(value); }
    bool string(string_t& value) override { return m_Put(std::move(value)); }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return m_Open(TJson::object()); }
    bool end_object() override { return m_Close(); }
    bool start_array(std::size_t) override { return m_Open(TJson::array()); }
    bool end_array() override { return m_Close(); }
    bool key(string_t& value) override
    {
        const std::size_t offset = m_TakeToken();
        m_key = std::move(value);
        if (m_open.back().value->contains(m_key))
        {
            m_Fail(offset, m_key + ": this member stands here a second time");
        }
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override
    {
        // Without the library's own prefix and position.
        const std::string text = error.what();
        const std::string marker = ": ";
        const std::size_t at = text.find(marker);
        const auto read = static_cast<std::size_t>(furthest - m_text.data());
        m_Fail(read == 0 ? 0 : read - 1,
               WithoutQuote(at == std::string::npos ? text : text.substr(at + marker.size())));
    }

private:
    struct TSOpen
    {
        TJson* value;
        std::string pointer;
    };

    [[noreturn]] void m_Fail(std::size_t offset, const std::string& text)
    {
        int line = 0;
        throw TCFileError(m_name + ":" + PositionText(m_text, offset, line) + ": " + text);
    }

    /// The offset of the token that the parser has just read.
    std::size_t m_TakeToken()
    {
        const std::size_t offset = NextToken(m_text, m_tokenEnd);
        m_tokenEnd = static_cast<std::size_t>(furthest - m_text.data());
        return offset;
    }

    TJson* m_Add(TJson value, std::string& pointer)
    {
        const std::size_t offset = m_TakeToken();
        TJson* added = &m_root;
        if (m_open.empty())
        {
            m_root = std::move(value);
        }
        else if (TJson& parent = *m_open.back().value; parent.is_array())
        {
            pointer = m_open.back().pointer + "/" + std::to_string(parent.size());
            added = &parent.emplace_back(std::move(value));
        }
        else
        {
            pointer = m_open.back().pointer + TCJsonPlace(TCJsonPath(TCJsonPath(), m_key)).Pointer();
            added = &(parent[m_key] = std::move(value));
        }
        m_offsets[pointer] = offset;
        return added;
    }
    bool m_Put(TJson value)
    {
        std::string pointer;
        m_Add(std::move(value), pointer);
        return true;
    }
    bool m_Open(TJson value)
    {
        std::string pointer;
        TJson* const added = m_Add(std::move(value), pointer);
        if (m_open.size() == TCJsonDocument::MAXIMUM_DEPTH)
        {
            m_Fail(m_offsets[pointer],
                   "values are nested deeper than " + std::to_string(TCJsonDocument::MAXIMUM_DEPTH) + " levels");
        }
        m_open.push_back({added, std::move(pointer)}); // what is open is the last of its parent, and so does not move
        return true;
    }
    bool m_Close()
    {
        m_TakeToken();
        m_open.pop_back();
        return true;
    }

    const std::string& m_name;
    std::string_view m_text;
    std::map<std::string, std::size_t>& m_offsets;
    std::size_t m_tokenEnd = 0;
    TJson m_root;
    std::vector<TSOpen> m_open;
    std::string m_key;
};

std::string JoinedProblems(const TCJsonDocument& file, const std::vector<TCJsonError>& problems)
{
    std::string text;
    for (const TCJsonError& problem : problems)
    {
        text += (text.empty() ? "" : "\n") + file.Describe(problem);
    }
    return text;
}
} // namespace

TCFileError::TCFileError(const TCJsonDocument& file, const std::vector<TCJsonError>& problems)
    : std::runtime_error(JoinedProblems(file, problems))
{
}

TCJsonDocument TCJsonDocument::Parse(std::string name, std::string text)
{
    TCJsonDocument file;
    file.m_name = std::move(name);
    file.m_text = std::move(text);
    TCBuilder builder(file.m_name, file.m_text, file.m_offsets);
    const char* const begin = file.m_text.data();
    TJson::sax_parse(TCWatchedIterator(begin, &builder.furthest),
                     TCWatchedIterator(begin + file.m_text.size(), &builder.furthest), &builder,
                     TJson::input_format_t::json, true, true);
    file.m_root = builder.TakeRoot();
    return file;
}

TCJsonDocument TCJsonDocument::Load(const std::string& path)
{
    std::error_code problem;
    if (std::filesystem::is_directory(path, problem)) // which a stream opens all the same
    {
        throw TCFileError(path + ": cannot be read: " + std::strerror(EISDIR));
    }
    if (std::filesystem::is_character_file(path, problem)) // which may have no end
    {
        throw TCFileError(path + ": cannot be read: it is a device");
    }
    errno = 0;
    std::ifstream stream(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream)
    {
        throw TCFileError(path + ": cannot be read" + (errno != 0 ? std::string(": ") + std::strerror(errno) : ""));
    }
    return Parse(path, std::move(text));
}

std::size_t TCJsonDocument::m_OffsetOf(std::string pointer) const
{
    for (;;)
    {
        if (const auto found = m_offsets.find(pointer); found != m_offsets.end())
        {
            return found->second;
        }
        if (pointer.empty())
        {
            return 0;
        }
        pointer.resize(pointer.rfind('/'));
    }
}

int TCJsonDocument::LineOf(const TCJsonPlace& place) const
{
    int line = 0;
    PositionText(m_text, m_OffsetOf(place.Pointer()), line);
    return line;
}

std::string TCJsonDocument::Describe(const TCJsonError& error) const
{
    int line = 0;
    const std::string words = error.Place().Words();
    return m_name + ":" + PositionText(m_text, m_OffsetOf(error.Place().Pointer()), line) + ": " +
           (words.empty() ? "" : words + ": ") + error.Message();
}
} // namespace CIM::json
