#include "Input.h"

#include <ciapi/CIOperatorProfileDataType.h>

#include <algorithm>
#include <stdexcept>

// Reads any text as the printed form of serialized profiles. Property: a byte for each word between blanks, or one of the
// two errors, with what stands before the wrong word appended; what was read is printed and read again as itself.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace CIM;
    using fuzz::Require;
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::size_t words = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        words += text[i] != ' ' && (i == 0 || text[i - 1] == ' ') ? 1 : 0;
    }
    const std::vector<unsigned char> before = {0xA5, 0x5A};
    std::vector<unsigned char> bytes = before;
    bool isWhole = false;
    try
    {
        isWhole = StringToSerializedData(text, bytes);
    }
    catch (const std::invalid_argument&)
    {
    }
    catch (const std::out_of_range&)
    {
    }
    Require(bytes.size() >= before.size() && std::equal(before.begin(), before.end(), bytes.begin()));
    bytes.erase(bytes.begin(), bytes.begin() + 2);
    Require(isWhole ? bytes.size() == words : bytes.size() < words);

    std::string printed = "replaced";
    std::vector<unsigned char> again;
    Require(SerializedDataToString(bytes, printed) && printed.size() == 5 * bytes.size());
    Require(StringToSerializedData(printed, again) && again == bytes);
    return 0;
}
