#include "cictl/FailedCalls.h"

#include <tvplatform/Log.h>

#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <string_view>

namespace CIM::cictl
{
namespace
{
thread_local std::string firstError; // since the last TFailedCalls, of the connection or the call frame
thread_local std::string reason;

// A line is "file: function(line) > [CIM_MAJOR] pid[...] prog[...] text".
void Listen(std::string_view line)
{
    const std::string_view file = line.substr(0, line.find(": "));
    const std::size_t program = line.find("] prog[");
    const std::size_t end = program == line.npos ? line.npos : line.find("] ", program + 2);
    if (end == line.npos)
    {
        return;
    }
    const std::string_view function = line.substr(file.size() + 2, line.find('(') - file.size() - 2);
    const std::string_view text = line.substr(end + 2);
    const bool isFrame = file.starts_with("CIMarshallingHelperProxy");
    const bool isConnection =
        file.starts_with("CIMIPC") || file.starts_with("CallMessage") || file.starts_with("CallRouter");
    if (!isFrame && !isConnection)
    {
        return;
    }
    if (firstError.empty())
    {
        firstError = text;
    }
    // What the frame logs when it goes on nevertheless is no failure.
    const bool goesOn = text.find("Proceed with the call") != text.npos || text.find("keeps its value") != text.npos;
    if (reason.empty() && ((isFrame && !goesOn) || function == "CallAsync" || function == "t_PrepareMessage"))
    {
        reason = firstError;
    }
}
} // namespace

TFailedCalls::TFailedCalls()
{
    firstError.clear();
    reason.clear();
}

const std::string& TFailedCalls::Reason() const { return reason; }
} // namespace CIM::cictl

extern "C" __attribute__((visibility("default"))) int __dlog_print(int log_id, int priority, const char* tag,
                                                                   const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    char line[2048];
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    if (log_id == 2 && priority == 4 && std::string_view(tag) == "CI_API")
    {
        CIM::cictl::Listen(line);
    }
    using TPrint = int (*)(int, int, const char*, const char*, ...);
    static const auto next = reinterpret_cast<TPrint>(dlsym(RTLD_NEXT, "__dlog_print"));
    return next ? next(log_id, priority, tag, "%s", line) : 0;
}
