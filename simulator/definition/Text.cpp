#include "Text.h"

#include "utils/Utf8.h"

namespace CIM::sim
{
std::u16string ToUnits(std::string_view utf8) { return utf8::ToUnits<std::u16string>(utf8); }

std::string ToUtf8(std::u16string_view units) { return utf8::FromUnits(units); }
} // namespace CIM::sim
