#include "utils/CIAPILog.h"
#include "utils/Utf8.h"

#include <ciapi/CIGeneralDataType.h>
#include <ciapi/CITextUtils.h>

#include <cerrno>
#include <cstring>
#include <iconv.h>

namespace CIM
{
namespace
{
constexpr char REPLACEMENT_CHARACTER[] = "\xEF\xBF\xBD"; // U+FFFD in UTF-8

/// A converter of the C library, closed at the end.
class TCConverter
{
public:
    TCConverter(const char* to, const char* from) : m_handle(::iconv_open(to, from)) {}
    ~TCConverter()
    {
        if (IsOpen())
        {
            ::iconv_close(m_handle);
        }
    }
    TCConverter(const TCConverter&) = delete;
    TCConverter& operator=(const TCConverter&) = delete;

    bool IsOpen() const { return m_handle != reinterpret_cast<iconv_t>(-1); }
    /// \return 0, or why the conversion stopped
    int Convert(char*& in, std::size_t& inLeft, char*& out, std::size_t& outLeft)
    {
        return ::iconv(m_handle, &in, &inLeft, &out, &outLeft) == static_cast<std::size_t>(-1) ? errno : 0;
    }

private:
    iconv_t m_handle;
};
} // namespace

std::string TCUnicodeUtils::UnicodeToUtf8(const std::basic_string<unsigned short>& text)
{
    if (text.empty())
    {
        return {};
    }
    TCConverter converter("UTF-8", "UTF-16BE");
    if (!converter.IsOpen())
    {
        CIM_LOG_ERROR("No converter from UTF-16BE to UTF-8: %s", std::strerror(errno));
        return {};
    }

    std::vector<unsigned char> units;
    units.reserve(2 * text.size());
    for (const unsigned short unit : text)
    {
        Put16(units, unit);
    }
    auto* in = reinterpret_cast<char*>(units.data());
    std::size_t inLeft = units.size();

    // A code unit needs at most three bytes (a pair of them four), a replacement character three: it always fits.
    std::string utf8(3 * text.size(), '\0');
    char* out = utf8.data();
    std::size_t outLeft = utf8.size();
    while (inLeft > 0 && converter.Convert(in, inLeft, out, outLeft) != 0 && inLeft >= 2)
    {
        constexpr std::size_t SIZE = sizeof(REPLACEMENT_CHARACTER) - 1;
        std::memcpy(out, REPLACEMENT_CHARACTER, SIZE);
        out += SIZE;
        outLeft -= SIZE;
        in += 2;
        inLeft -= 2;
    }
    utf8.resize(utf8.size() - outLeft);
    return utf8;
}

std::string TCIText::ToUtf8() const { return utf8::FromUnits(text); }

TCIText TCIText::FromUtf8(std::string_view utf8)
{
    TCIText made;
    made.text = utf8::ToUnits<std::vector<unsigned short>>(utf8);
    return made;
}
} // namespace CIM
