#include <tvplatform/Log.h>

#include "LogDestination.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

namespace
{
// Lines below it are dropped. Until the first line has read the setting, nothing is.
std::atomic<int> g_leastPriority{INT_MIN};

struct SService
{
    SService()
    {
        const char* value = secure_getenv("TVPLATFORM_LOG");
        setting = ReadLogSetting(value != nullptr ? value : "");
        if (!setting.complaint.empty())
        {
            std::fprintf(stderr, "TVPLATFORM_LOG: %s\n", setting.complaint.c_str());
        }
        g_leastPriority.store(setting.destination ? setting.leastPriority : INT_MAX, std::memory_order_relaxed);
    }

    SLogSetting setting;
};

// Never destroyed: destructors of the program's statics still log.
SService& Service()
{
    static SService* const service = new SService;
    return *service;
}

int Print(int buffer, int priority, const char* tag, const char* format, va_list arguments)
{
    TILogDestination* const destination = Service().setting.destination.get();
    if (destination == nullptr || priority < g_leastPriority.load(std::memory_order_relaxed))
    {
        return 0;
    }
    std::array<char, 1024> room;
    std::string longText;
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(room.data(), room.size(), format, again);
    va_end(again);
    if (length < 0)
    {
        return -errno;
    }
    std::string_view text(room.data(), length);
    if (text.size() >= room.size())
    {
        longText.resize(length);
        std::vsnprintf(longText.data(), longText.size() + 1, format, arguments);
        text = longText;
    }
    return destination->Write({buffer, priority, tag, text});
}
} // namespace

int __dlog_print(int log_id, int priority, const char* tag, const char* format, ...)
{
    if (priority < g_leastPriority.load(std::memory_order_relaxed))
    {
        return 0;
    }
    const int savedErrno = errno; // logging what went wrong must not change what went wrong
    va_list arguments;
    va_start(arguments, format);
    int result = -ENOMEM;
    try
    {
        result = Print(log_id, priority, tag, format, arguments);
    }
    catch (const std::exception&)
    {
        // Only memory can be short here; a lost line is better than an ended program.
    }
    va_end(arguments);
    errno = savedErrno;
    return result;
}
