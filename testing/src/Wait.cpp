#include "Changes.h"

#include <ciapi-testing/Wait.h>

#include <glib.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>

namespace CIM::test
{
namespace
{
using TCClock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// How long nobody looks at the condition when nothing is heard of.
constexpr milliseconds INTERVAL{10};

std::mutex g_mutex;
std::condition_variable g_changed;

/// One round of the default context, which this thread has acquired; no longer than a time.
void Iterate(GMainContext* context, milliseconds limit)
{
    GSource* const timer = g_timeout_source_new(static_cast<guint>(limit.count()));
    g_source_set_callback(
        timer, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
    g_source_attach(timer, context);
    g_main_context_iteration(context, TRUE);
    g_source_destroy(timer);
    g_source_unref(timer);
}
} // namespace

void TellChange()
{
    g_changed.notify_all();
    g_main_context_wakeup(g_main_context_default());
}

bool RunUntil(const std::function<bool()>& condition, milliseconds timeout)
{
    GMainContext* const context = g_main_context_default();
    const TCClock::time_point deadline = TCClock::now() + timeout;
    for (;;)
    {
        if (condition())
        {
            return true;
        }
        const auto left = std::chrono::ceil<milliseconds>(deadline - TCClock::now());
        if (left <= milliseconds::zero())
        {
            return false;
        }
        if (g_main_context_acquire(context) != FALSE)
        {
            Iterate(context, std::min(left, INTERVAL));
            g_main_context_release(context);
        }
        else
        {
            std::unique_lock lock(g_mutex);
            g_changed.wait_for(lock, std::min(left, INTERVAL));
        }
    }
}
} // namespace CIM::test
