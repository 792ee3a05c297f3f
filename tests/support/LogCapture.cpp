#include "support/LogCapture.h"

#include <tvplatform/Log.h>

#include <algorithm>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace CIM
{
namespace
{
struct SCapture
{
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<SLogLine> lines;
    bool echo = false;
};

// Never destroyed: the library still logs while the program ends.
SCapture& Capture()
{
    static SCapture* const capture = new SCapture;
    return *capture;
}

auto Contains(std::string_view piece)
{
    return [piece](const SLogLine& line) { return line.text.find(piece) != std::string::npos; };
}
} // namespace

std::vector<SLogLine> TCLogCapture::Lines()
{
    const std::lock_guard lock(Capture().mutex);
    return Capture().lines;
}

void TCLogCapture::Clear()
{
    const std::lock_guard lock(Capture().mutex);
    Capture().lines.clear();
}

std::size_t TCLogCapture::Count(std::string_view piece)
{
    const std::lock_guard lock(Capture().mutex);
    return std::ranges::count_if(Capture().lines, Contains(piece));
}

bool TCLogCapture::WaitFor(std::string_view piece, std::chrono::milliseconds timeout)
{
    std::unique_lock lock(Capture().mutex);
    return Capture().changed.wait_for(lock, timeout,
                                      [&] { return std::ranges::any_of(Capture().lines, Contains(piece)); });
}

void TCLogCapture::EchoToStandardError(bool echo)
{
    const std::lock_guard lock(Capture().mutex);
    Capture().echo = echo;
}
} // namespace CIM

extern "C" int __dlog_print(int log_id, int priority, const char* tag, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(std::max(length, 0), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);

    auto& capture = CIM::Capture();
    const std::lock_guard lock(capture.mutex);
    if (capture.echo)
    {
        std::fprintf(stderr, "log %d %d %s %s\n", log_id, priority, tag, text.c_str());
    }
    capture.lines.push_back({log_id, priority, tag, std::move(text)});
    capture.changed.notify_all();
    return length;
}
