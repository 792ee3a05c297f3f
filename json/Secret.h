#pragma once

#include "json/JsonFwd.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What holds a secret, such as a PIN, is overwritten before its memory goes to somebody else. What the operation tables
// call secret is; see protocol::EWord::SECRET_IN.

namespace CIM::json
{
/// Overwrites what held a secret, all that it has room for, and empties it. Never throws.
void Wipe(std::string& text) noexcept;
void Wipe(std::vector<unsigned char>& bytes) noexcept;
void Wipe(std::vector<unsigned short>& units) noexcept;
void Wipe(std::u16string& units) noexcept;
/// All texts in it, and all numbers.
void Wipe(TJson& json) noexcept;

/// Wipes something at the end of a block.
template <class T>
class TCWipeAtEnd
{
public:
    explicit TCWipeAtEnd(T& held) : m_held(held) {}
    ~TCWipeAtEnd() { Wipe(m_held); }
    TCWipeAtEnd(const TCWipeAtEnd&) = delete;
    TCWipeAtEnd& operator=(const TCWipeAtEnd&) = delete;

private:
    T& m_held;
};

/// A secret as text, which is wiped with the object, and where it was moved from.
class TCSecret
{
public:
    TCSecret() = default;
    explicit TCSecret(std::string_view text) : m_text(text) {}
    TCSecret(const TCSecret&) = default;
    TCSecret(TCSecret&& other) : m_text(other.m_text) { Wipe(other.m_text); } // a short text stays where it was
    TCSecret& operator=(TCSecret other)
    {
        Wipe(m_text);
        m_text = other.m_text;
        return *this;
    }
    ~TCSecret() { Wipe(m_text); }

    std::string_view Text() const { return m_text; }

private:
    std::string m_text;
};
} // namespace CIM::json
