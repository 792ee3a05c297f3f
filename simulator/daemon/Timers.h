#pragma once

#include <glib.h>

#include <cstdint>
#include <functional>
#include <unordered_map>

namespace CIM::sim
{
/// One-shot timers on a GLib main context, all taken back when the object ends. Bound to the context's thread.
class TCTimers
{
public:
    using TId = std::uint64_t;

    /// \param[in] context  null: the default one
    explicit TCTimers(GMainContext* context) : m_context(context) {}
    ~TCTimers() { CancelAll(); }
    TCTimers(const TCTimers&) = delete;
    TCTimers& operator=(const TCTimers&) = delete;

    /// Runs an action after so many real milliseconds, never before this returns. An action must not throw.
    TId After(unsigned milliseconds, std::function<void()> action);
    /// Runs an action as soon as this has returned, before the next message is handled.
    TId Soon(std::function<void()> action) { return m_Add(g_idle_source_new(), G_PRIORITY_HIGH, std::move(action)); }
    /// Takes an action back; nothing happens when it has run already.
    void Cancel(TId id);
    void CancelAll();

private:
    TId m_Add(GSource* source, int priority, std::function<void()> action);

    GMainContext* m_context;
    TId m_lastId = 0;
    std::unordered_map<TId, GSource*> m_sources;
};
} // namespace CIM::sim
