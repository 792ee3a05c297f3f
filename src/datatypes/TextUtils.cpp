#include <ciapi/CITextUtils.h>

#include <algorithm>
#include <cstdio>

namespace CIM
{
namespace
{
constexpr std::size_t MOST_BYTES_SHOWN = 100;

template <class T>
void Put(std::vector<unsigned char>& bytes, T value)
{
    for (int shift = 8 * (sizeof(T) - 1); shift >= 0; shift -= 8)
    {
        bytes.push_back(static_cast<unsigned char>(value >> shift));
    }
}
} // namespace

std::string ToString(int value)
{
    char text[sizeof("0x") + 2 * sizeof(value)];
    std::snprintf(text, sizeof(text), "0x%02x", static_cast<unsigned int>(value));
    return text;
}

std::string ByteArrayToString(const std::vector<unsigned char>& bytes)
{
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string text = "SIZE(" + std::to_string(bytes.size()) + ") ";
    if (bytes.size() > MOST_BYTES_SHOWN)
    {
        text += "PRINT LIMITED TO(" + std::to_string(MOST_BYTES_SHOWN) + ") ";
    }
    for (std::size_t i = 0; i < std::min(bytes.size(), MOST_BYTES_SHOWN); ++i)
    {
        text += {' ', '0', 'x', DIGITS[bytes[i] >> 4], DIGITS[bytes[i] & 0x0F]};
    }
    return text;
}

void Put8(std::vector<unsigned char>& bytes, std::uint8_t value) { Put(bytes, value); }
void Put16(std::vector<unsigned char>& bytes, std::uint16_t value) { Put(bytes, value); }
void Put32(std::vector<unsigned char>& bytes, std::uint32_t value) { Put(bytes, value); }
void Put64(std::vector<unsigned char>& bytes, std::uint64_t value) { Put(bytes, value); }
} // namespace CIM
