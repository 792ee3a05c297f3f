#include "Timers.h"

namespace CIM::sim
{
namespace
{
struct TSTask
{
    std::function<void()> action;
    std::unordered_map<TCTimers::TId, GSource*>* sources;
    TCTimers::TId id;
};
} // namespace

TCTimers::TId TCTimers::After(unsigned milliseconds, std::function<void()> action)
{
    // As a mere idle source it would starve while messages pour in.
    return m_Add(milliseconds == 0 ? g_idle_source_new() : g_timeout_source_new(milliseconds), G_PRIORITY_DEFAULT,
                 std::move(action));
}

TCTimers::TId TCTimers::m_Add(GSource* source, int priority, std::function<void()> action)
{
    const TId id = ++m_lastId;
    g_source_set_priority(source, priority);
    g_source_set_callback(
        source,
        [](void* data) -> gboolean
        {
            auto* const task = static_cast<TSTask*>(data);
            const auto found = task->sources->find(task->id);
            GSource* const own = found->second;
            task->sources->erase(found);
            task->action(); // may end the timers: nothing of theirs is touched behind this
            g_source_unref(own);
            return G_SOURCE_REMOVE;
        },
        new TSTask{std::move(action), &m_sources, id}, [](void* data) { delete static_cast<TSTask*>(data); });
    g_source_attach(source, m_context);
    m_sources.emplace(id, source);
    return id;
}

void TCTimers::Cancel(TId id)
{
    const auto found = m_sources.find(id);
    if (found != m_sources.end())
    {
        GSource* const source = found->second;
        m_sources.erase(found);
        g_source_destroy(source);
        g_source_unref(source);
    }
}

void TCTimers::CancelAll()
{
    while (!m_sources.empty())
    {
        Cancel(m_sources.begin()->first);
    }
}
} // namespace CIM::sim
