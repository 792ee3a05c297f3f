#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

// What every fuzzer needs: its input, taken piece by piece, and a way to say that a promise was broken.

namespace CIM::fuzz
{
/// Ends the process: libFuzzer keeps the input, the stack says which promise it was.
inline void Require(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

/// The bytes of an input, from the front. What is taken behind the end is 0 or empty.
class TCInput
{
public:
    TCInput(const std::uint8_t* data, std::size_t size) : m_rest(reinterpret_cast<const char*>(data), size) {}

    bool IsEmpty() const { return m_rest.empty(); }
    std::string_view Rest() const { return m_rest; }

    std::string_view Bytes(std::size_t count)
    {
        const std::string_view taken = m_rest.substr(0, count);
        m_rest.remove_prefix(taken.size());
        return taken;
    }

    template <class T>
    T Number()
    {
        T number{};
        const std::string_view bytes = Bytes(sizeof number);
        std::copy(bytes.begin(), bytes.end(), reinterpret_cast<char*>(&number));
        return number;
    }
    std::uint8_t Byte() { return Number<std::uint8_t>(); }
    /// A number below a bound.
    std::size_t Below(std::size_t bound) { return Byte() % bound; }

    /// Up to the next line end, which is taken, too.
    std::string_view Line()
    {
        const std::string_view line = Bytes(std::min(m_rest.find('\n'), m_rest.size()));
        Bytes(1);
        return line;
    }

private:
    std::string_view m_rest;
};
} // namespace CIM::fuzz
