#pragma once

#include "json/JsonFwd.h"

#include <functional>
#include <string>

#include <glib.h>

namespace CIM::sim
{
/// JSON values, a line each, both ways over a socket. Bound to the thread of the default main context; never waits.
class TCLines
{
public:
    /// \param[in] descriptor  closed in the end
    /// \param[in] onLine      what it throws ends the lines, as their other end's end does
    /// \param[in] onEnd       the other end is closed, or takes no more; called once
    TCLines(int descriptor, std::function<void(json::TJson)> onLine, std::function<void()> onEnd);
    ~TCLines();
    TCLines(const TCLines&) = delete;
    TCLines& operator=(const TCLines&) = delete;

    /// What has been sent is wiped, it may be secret. An other end that has left 64 MiB unread is given up.
    void Send(const json::TJson& value);

private:
    static gboolean s_OnReadable(gint, GIOCondition, gpointer self);
    static gboolean s_OnWritable(gint, GIOCondition, gpointer self);
    bool m_Read();
    void m_Write();
    void m_End();

    int m_descriptor;
    std::function<void(json::TJson)> m_onLine;
    std::function<void()> m_onEnd;
    std::string m_incoming;
    std::string m_outgoing;
    std::size_t m_written = 0; ///< of what goes out
    guint m_readable = 0;
    guint m_writable = 0;
};
} // namespace CIM::sim
