#include <tvplatform/ApiAssert.h>
#include <tvplatform/Log.h>

void _TCApiAssert(const char* expression, const char* file, int line, const char* message)
{
    __dlog_print(2, 6, "TV_PLATFORM", "%s: (%d) > assertion '%s' failed: %s", file, line, expression,
                 message ? message : "");
}
