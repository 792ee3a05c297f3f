#include "AssertionCapture.h"

#include <tvplatform/ApiAssert.h>

#include <utility>

namespace
{

thread_local std::vector<std::string> theAssertions;

} // namespace

// Takes the place of the platform's.
TVPLATFORM_EXPORT void _TCApiAssert(const char* expression, const char* file, int line, const char*)
{
    theAssertions.push_back(std::string(expression) + "@" + file + ":" + std::to_string(line));
}

std::vector<std::string> TakeAssertions() { return std::exchange(theAssertions, {}); }
