#pragma once

#include <ciapi/CIEnumNames.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace CIM::sim
{
/// JSON that is not what it has to be: where, and what was expected.
class TCJsonError : public std::runtime_error
{
public:
    /// \param[in] path      JSON pointer (RFC 6901) into what was read; empty: the whole
    /// \param[in] expected  what should stand there
    TCJsonError(std::string path, const std::string& expected)
        : std::runtime_error((path.empty() ? "/" : path) + ": " + expected), m_path(std::move(path))
    {
    }

    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

/// A JSON value and where it stands.
struct TSJsonAt
{
    const nlohmann::json& value;
    std::string path;

    [[noreturn]] void Fail(const std::string& expected) const;
    TSJsonAt Child(const std::string& key) const;
    TSJsonAt Child(std::size_t index) const;
};

// Readers: each leaves its output alone when it throws.

void Read(const TSJsonAt& at, bool& out);
void Read(const TSJsonAt& at, std::string& out);
/// A text: a string; or the UTF-16 code units as an array of numbers; or {"text": ..., "times": n}.
void Read(const TSJsonAt& at, std::u16string& out);
/// Bytes: a string of hexadecimal digits, with or without blanks; or {"text": ...} for that text in UTF-8.
void Read(const TSJsonAt& at, std::vector<unsigned char>& out);
/// An integer in a range: a number, or a string such as "0x0B00".
std::int64_t ReadInteger(const TSJsonAt& at, std::int64_t least, std::int64_t most);
void Read(const TSJsonAt& at, std::uint64_t& out);
/// The number of a name, or a number; \a names tells what names there are when there is no such name.
int ReadEnum(const TSJsonAt& at, bool (*find)(std::string_view name, int& value), const std::string& names);

template <class T>
concept Named = requires
{
    TSEnumNames<T>::type;
};

template <class T>
requires(std::is_integral_v<T> && !std::is_same_v<T, bool> &&
         !std::is_same_v<T, std::uint64_t>) void Read(const TSJsonAt& at, T& out)
{
    out = static_cast<T>(ReadInteger(at, static_cast<std::int64_t>(std::numeric_limits<T>::min()),
                                     static_cast<std::int64_t>(std::numeric_limits<T>::max())));
}

template <Named E>
void Read(const TSJsonAt& at, E& out)
{
    std::string names;
    for (const auto& entry : TSEnumNames<E>::entries)
    {
        names += (names.empty() ? "" : ", ") + std::string(entry.name);
    }
    const auto find = [](std::string_view name, int& value)
    {
        const auto found = EnumValue<E>(name);
        value = found ? static_cast<int>(*found) : 0;
        return found.has_value();
    };
    out = static_cast<E>(ReadEnum(at, find, names));
}

template <class T>
void Read(const TSJsonAt& at, std::vector<T>& out)
{
    if (!at.value.is_array())
    {
        at.Fail("expected an array");
    }
    std::vector<T> read(at.value.size());
    for (std::size_t i = 0; i < read.size(); ++i)
    {
        Read(at.Child(i), read[i]);
    }
    out = std::move(read);
}

template <class T>
void Read(const TSJsonAt& at, std::set<T>& out)
{
    std::vector<T> read;
    Read(at, read);
    out = std::set<T>(read.begin(), read.end());
}

template <class T>
void Read(const TSJsonAt& at, std::map<std::string, T>& out)
{
    if (!at.value.is_object())
    {
        at.Fail("expected an object");
    }
    std::map<std::string, T> read;
    for (const auto& item : at.value.items())
    {
        Read(at.Child(item.key()), read[item.key()]);
    }
    out = std::move(read);
}

/// Reads an object member by member; a member that nobody asked for is an error, so that misspellings show.
class TCJsonObject
{
public:
    explicit TCJsonObject(const TSJsonAt& at);

    /// Reads a member that may be missing.
    template <class T>
    TCJsonObject& Field(const char* name, T& out)
    {
        m_known.insert(name);
        if (m_at.value.contains(name))
        {
            Read(m_at.Child(name), out);
        }
        return *this;
    }

    /// Reads a member that must be there.
    template <class T>
    TCJsonObject& Needed(const char* name, T& out)
    {
        if (!m_at.value.contains(name))
        {
            m_at.Fail("\"" + std::string(name) + "\" is missing");
        }
        return Field(name, out);
    }

    bool Has(const char* name) const { return m_at.value.contains(name); }
    const TSJsonAt& At() const { return m_at; }
    /// Throws when there are members that were not read.
    void Done() const;

private:
    TSJsonAt m_at;
    std::set<std::string> m_known;
};
} // namespace CIM::sim
