#include "DaemonThread.h"

#include <cerrno>
#include <future>
#include <glib-unix.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace CIM::test
{
TCDaemonThread::TCDaemonThread() : m_context(g_main_context_new()), m_wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (m_wakeUp < 0)
    {
        g_main_context_unref(m_context);
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    m_thread = std::thread(
        [this]
        {
            g_main_context_push_thread_default(m_context);
            GSource* const source = g_unix_fd_source_new(m_wakeUp, G_IO_IN);
            const GUnixFDSourceFunc onWakeUp = [](gint, GIOCondition, gpointer self) -> gboolean
            {
                static_cast<TCDaemonThread*>(self)->m_RunTasks();
                return G_SOURCE_CONTINUE;
            };
            g_source_set_callback(source, G_SOURCE_FUNC(onWakeUp), this, nullptr);
            g_source_attach(source, m_context);
            while (!m_isEnding)
            {
                g_main_context_iteration(m_context, TRUE);
            }
            g_source_destroy(source);
            g_source_unref(source);
            g_main_context_pop_thread_default(m_context);
        });
}

TCDaemonThread::~TCDaemonThread()
{
    m_Post([this] { m_isEnding = true; });
    m_thread.join();
    close(m_wakeUp);
    g_main_context_unref(m_context);
}

void TCDaemonThread::Run(const std::function<void()>& task)
{
    if (std::this_thread::get_id() == m_thread.get_id())
    {
        task();
        return;
    }
    std::packaged_task<void()> packaged(task);
    std::future<void> done = packaged.get_future();
    m_Post([&packaged] { packaged(); });
    done.get();
}

void TCDaemonThread::m_Post(std::function<void()> task)
{
    const std::lock_guard lock(m_mutex);
    m_tasks.push_back(std::move(task));
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(m_wakeUp, &one, sizeof one);
}

void TCDaemonThread::m_RunTasks()
{
    std::uint64_t count = 0;
    [[maybe_unused]] const auto taken = read(m_wakeUp, &count, sizeof count);
    std::deque<std::function<void()>> tasks;
    {
        const std::lock_guard lock(m_mutex);
        tasks.swap(m_tasks);
    }
    for (const auto& task : tasks)
    {
        task();
    }
}
} // namespace CIM::test
