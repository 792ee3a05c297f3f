#include <tvplatform/Log.h>

#include "LogDestination.h"
#include "LogThrottle.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <memory>
#include <string>

#include <pthread.h>

namespace
{
// Lines below it are dropped. Until the first line has read the setting, nothing is.
std::atomic<int> g_leastPriority{INT_MIN};

std::string Variable(const char* name)
{
    const char* const value = secure_getenv(name);
    return value != nullptr ? value : "";
}

SLogLimit LimitFromEnvironment()
{
    std::string complaint;
    const SLogLimit limit = ReadLogLimit(Variable("TVPLATFORM_LOG_LIMIT"), complaint);
    if (!complaint.empty())
    {
        std::fprintf(stderr, "TVPLATFORM_LOG_LIMIT: %s\n", complaint.c_str());
    }
    return limit;
}

struct SService
{
    SService() : setting(ReadLogSetting(Variable("TVPLATFORM_LOG")))
    {
        const SLogLimit limit = LimitFromEnvironment();
        if (setting.destination)
        {
            throttle = std::make_unique<TCLogThrottle>(limit); // of several pages: not where nothing is written
        }
        if (!setting.complaint.empty())
        {
            std::fprintf(stderr, "TVPLATFORM_LOG: %s\n", setting.complaint.c_str());
        }
        g_leastPriority.store(setting.destination ? setting.leastPriority : INT_MAX, std::memory_order_relaxed);
    }

    void Write(const std::vector<SLogSummary>& summaries)
    {
        for (const SLogSummary& summary : summaries)
        {
            setting.destination->Write({summary.buffer, summary.priority, summary.tag.c_str(), summary.text});
        }
    }

    SLogSetting setting;
    std::unique_ptr<TCLogThrottle> throttle; ///< when there is a destination
};

std::atomic<SService*> g_service{nullptr}; // once it has lines to write

// Never destroyed: destructors of the program's statics still log.
SService& Service()
{
    static SService* const service = []
    {
        auto* const made = new SService;
        if (made->setting.destination != nullptr)
        {
            g_service.store(made);
            pthread_atfork([] { g_service.load()->throttle->BeforeFork(); },
                           [] { g_service.load()->throttle->AfterForkInParent(); },
                           [] { g_service.load()->throttle->AfterForkInChild(); });
        }
        return made;
    }();
    return *service;
}

// As late as can be: behind the destructors of the program and of the libraries that log.
__attribute__((destructor)) void TellWhatWasLeftOut()
{
    if (SService* const service = g_service.load())
    {
        try
        {
            service->Write(service->throttle->TakeAll());
        }
        catch (const std::exception&)
        {
            // No memory for a summary at the end: there is nobody left to tell.
        }
    }
}

std::int64_t Now()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return now.tv_sec;
}

// A handler of a signal that came while its thread holds the throttle's lock must not wait for it.
thread_local bool t_isAsking = false;

bool IsAdmitted(SService& service, const SLogEntry& entry)
{
    if (t_isAsking)
    {
        return true;
    }
    std::vector<SLogSummary> summaries;
    t_isAsking = true;
    bool isAdmitted = true;
    try
    {
        isAdmitted = service.throttle->Admit(entry, Now(), summaries);
    }
    catch (const std::exception&)
    {
        // No memory: the line is written.
    }
    t_isAsking = false;
    service.Write(summaries);
    return isAdmitted;
}

int Print(int buffer, int priority, const char* tag, const char* format, va_list arguments)
{
    SService& service = Service();
    TILogDestination* const destination = service.setting.destination.get();
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
    const SLogEntry entry{buffer, priority, tag, text};
    return IsAdmitted(service, entry) ? destination->Write(entry) : 0;
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
