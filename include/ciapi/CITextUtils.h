#pragma once

#include <ciapi/Export.h>

#include <cstdint>
#include <string>
#include <vector>

// Helpers for texts and bytes, all reentrant.

namespace CIM
{
/// A number in hexadecimal: "0x" and the lower-case digits of its 32 bits, at least two ("0x05", "0xffffffff").
CIAPI_EXPORT std::string ToString(int value);

/// Bytes in hexadecimal: "SIZE(<count>) ", then " 0x" and two lower-case digits for each byte. Of more than 100 bytes
/// only the first 100 are shown, and "PRINT LIMITED TO(100) " follows the size.
CIAPI_EXPORT std::string ByteArrayToString(const std::vector<unsigned char>& bytes);

/// Appends an integer to a byte string, the most significant byte first.
/// @{
CIAPI_EXPORT void Put8(std::vector<unsigned char>& bytes, std::uint8_t value);
CIAPI_EXPORT void Put16(std::vector<unsigned char>& bytes, std::uint16_t value);
CIAPI_EXPORT void Put32(std::vector<unsigned char>& bytes, std::uint32_t value);
CIAPI_EXPORT void Put64(std::vector<unsigned char>& bytes, std::uint64_t value);
/// @}

/// Conversions between the CAMs' 16-bit texts and UTF-8.
class CIAPI_EXPORT TCUnicodeUtils
{
public:
    /// \param[in] text  UTF-16 code units, in the host's byte order
    /// \return the text in UTF-8; a surrogate without its other half becomes U+FFFD, a null character stays. Empty,
    ///         after an error line in the log, when the C library has no UTF-16 converter.
    static std::string UnicodeToUtf8(const std::basic_string<unsigned short>& text);
};
} // namespace CIM
