#pragma once

#include <glib.h>

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace CIM::test
{
/// A thread that runs a GLib main context of its own, and in between what it is given.
class TCDaemonThread
{
public:
    TCDaemonThread();
    /// Runs what is still to be run, then ends the thread.
    ~TCDaemonThread();
    TCDaemonThread(const TCDaemonThread&) = delete;
    TCDaemonThread& operator=(const TCDaemonThread&) = delete;

    GMainContext* Context() const { return m_context; }
    /// Runs a task on the thread and waits for it; at once when this is the thread. What it throws is thrown here.
    /// Thread-safe.
    void Run(const std::function<void()>& task);

private:
    void m_Post(std::function<void()> task);
    void m_RunTasks();

    GMainContext* m_context;
    int m_wakeUp;
    std::mutex m_mutex; ///< guards the tasks: GLib's own locks are invisible to the thread sanitizer
    std::deque<std::function<void()>> m_tasks;
    bool m_isEnding = false; ///< of the thread
    std::thread m_thread;
};
} // namespace CIM::test
