#include <ciapi/CISignalDataType.h>

namespace CIM
{
std::string ToString(const ECISignalType& value)
{
    const std::string_view name = EnumName(value);
    std::string text = "[";
    text += std::to_string(static_cast<int>(value));
    text += "]";
    text += name.empty() ? "Out of scope" : name;
    return text;
}
} // namespace CIM
