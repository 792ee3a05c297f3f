#include "utils/CIAPIDebug.h"

#include "utils/CIAPILog.h"

#include <tvplatform/Sleep.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <memory>
#include <string>

#include <cxxabi.h>
#include <execinfo.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace CIM
{
namespace
{
constexpr const char* FUNCTION = "_TCCIAPIAssert";
constexpr int ERROR_LINE = 49;
constexpr int ASSERTION_LINE = 52;
constexpr int MAX_FRAMES = 100;

struct SFree
{
    void operator()(void* memory) const { std::free(memory); }
};

/// The calling stack as texts, innermost frame first.
struct SStack
{
    SStack()
    {
        std::array<void*, MAX_FRAMES> addresses;
        count = backtrace(addresses.data(), MAX_FRAMES);
        symbols.reset(backtrace_symbols(addresses.data(), count));
        if (!symbols)
        {
            count = 0;
        }
    }

    int count = 0;
    std::unique_ptr<char*, SFree> symbols;
};

void LogStack()
{
    std::list<std::string> frames;
    {
        const SStack stack;
        for (int i = 0; i < stack.count; ++i)
        {
            const char* const symbol = stack.symbols.get()[i];
            int status = 0;
            const std::unique_ptr<char, SFree> name(abi::__cxa_demangle(symbol, nullptr, nullptr, &status));
            frames.emplace_back(status == 0 && name ? name.get() : symbol);
        }
    }
    for (const std::string& frame : frames)
    {
        CIM_LOG_ASSERTION_AT(FUNCTION, ASSERTION_LINE, "%s", frame.c_str());
    }
}

void ReportOnConsole(const char* expression, const char* file, unsigned long line)
{
    const long thread = gettid();
    char threadName[16] = {};
    prctl(PR_GET_NAME, threadName, 0, 0, 0);
    std::FILE* const console = std::freopen("/dev/console", "w", stdout);
    if (console == nullptr)
    {
        return;
    }
    std::fprintf(console, "This sentence is redirected to a serial output.");
    std::fprintf(console, "Assertion failed: %s (%lu) - %s\n", file, line, expression);
    std::fprintf(console, "Debug information:\n");
    std::array<char, 32> posixThread{"{Not-any-thread}"};
    if (const pthread_t self = pthread_self(); self != pthread_t())
    {
        std::snprintf(posixThread.data(), posixThread.size(), "%lx", static_cast<unsigned long>(self));
    }
    std::fprintf(console, "Posix Thread ID: %s\n", posixThread.data());
    std::fprintf(console, "Linux Thread ID: %ld (%s)\n", thread, threadName);
    const SStack stack;
    std::fprintf(console, "Callstack:\n");
    for (int i = 0; i < stack.count; ++i)
    {
        std::fprintf(console, "%s\n", stack.symbols.get()[i]);
    }
    std::fclose(console);
}

// Sanitizers would report the write and end the process their own way; the crash handler waits for the fault.
[[noreturn]] __attribute__((noinline, no_sanitize("address", "thread", "undefined"))) void Crash()
{
    volatile int* volatile nowhere = nullptr;
    *nowhere = 0;
    std::abort(); // not reached unless somebody has mapped page zero
}
} // namespace

const char* GetProgName() { return program_invocation_short_name; }

long GetPid()
{
    static const long pid = getpid();
    return pid;
}

void _TCCIAPIAssert(const char* expression, const char* file, unsigned long line)
{
    CIM_LOG_ERROR_AT(FUNCTION, ERROR_LINE, "%s::%lu: %s", file, line, expression);
    CIM_LOG_ASSERTION_AT(FUNCTION, ASSERTION_LINE, "%s::%lu: %s", file, line, expression);
    LogStack();
    tvplatform_sleep_ms(200); // the log service drains
    ReportOnConsole(expression, file, line);
    tvplatform_sleep_ms(100);
    Crash();
}

void _TCCIAPIAssert(const char* expression, const char* file, unsigned long line, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    _TCCIAPIAssert(expression, file, line);
}
} // namespace CIM
