#include <ciapi/CISignalDataType.h>

namespace CIM
{
std::string ToString(const ECISignalType& value)
{
    const std::string_view name = EnumName(value);
    return "[" + std::to_string(static_cast<int>(value)) + "]" + std::string(name.empty() ? "Out of scope" : name);
}
} // namespace CIM
