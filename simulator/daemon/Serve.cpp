#include "Serve.h"

#include "simulator/model/Model.h"

#include <glib-unix.h>

#include <csignal>
#include <stdexcept>

namespace CIM::sim
{
namespace
{
/// The loop of a simulator that has a process of its own.
class TCLoop
{
public:
    explicit TCLoop(std::function<void(int)> onSignal)
        : m_loop(g_main_loop_new(nullptr, FALSE)), m_onSignal(std::move(onSignal))
    {
        m_Hear<SIGTERM>();
        m_Hear<SIGINT>();
        m_Hear<SIGHUP>();
    }
    ~TCLoop()
    {
        for (const guint source : m_signals)
        {
            g_source_remove(source);
        }
        g_main_loop_unref(m_loop);
    }
    TCLoop(const TCLoop&) = delete;
    TCLoop& operator=(const TCLoop&) = delete;

    /// The first status counts.
    void Quit(int status)
    {
        if (!m_isQuitting)
        {
            m_isQuitting = true;
            m_status = status;
        }
        g_main_loop_quit(m_loop);
    }
    int Run()
    {
        if (!m_isQuitting)
        {
            g_main_loop_run(m_loop);
        }
        return m_status;
    }

private:
    template <int NUMBER>
    void m_Hear()
    {
        m_signals.push_back(g_unix_signal_add(
            NUMBER,
            [](void* data) -> gboolean
            {
                auto* const self = static_cast<TCLoop*>(data);
                if (self->m_onSignal && !self->m_isQuitting)
                {
                    self->m_onSignal(NUMBER);
                }
                self->Quit(0);
                return G_SOURCE_CONTINUE;
            },
            this));
    }

    GMainLoop* m_loop;
    std::function<void(int)> m_onSignal;
    std::vector<guint> m_signals;
    bool m_isQuitting = false;
    int m_status = 0;
};
} // namespace

int Serve(const TSServeOptions& options)
{
    TCLoop loop(options.onSignal);
    TCModel model(options.set, options.seed);
    model.AdvanceTo(options.warmUpMs);
    TCSimulatedDaemon daemon(model, options.daemon);
    daemon.onReady = options.onReady;
    daemon.onLost = [&] { loop.Quit(1); };
    daemon.onQuit = [&] { loop.Quit(0); };
    for (const TSFault& fault : options.faults)
    {
        daemon.Faults().Add(fault);
    }
    std::shared_ptr<void> company;
    if (options.company)
    {
        company = options.company(daemon, [&](int status) { loop.Quit(status); });
    }
    try
    {
        daemon.Start();
    }
    catch (const std::runtime_error& error)
    {
        g_printerr("ci-daemon-sim: %s\n", error.what());
        return 1;
    }
    return loop.Run();
}
} // namespace CIM::sim
