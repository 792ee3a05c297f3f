#pragma once

#include "Address.h"
#include "simulator/daemon/SimulatedDaemon.h"

#include <memory>
#include <string>

namespace CIM::sim
{
struct TSScenario;

struct TSScreenOptions
{
    const TCScreenAddress* address = nullptr; ///< outlives the screen
    int listener = -1;                        ///< listens there, closed in the end
    int application = -1;                     ///< a socket to PlayApplication, closed in the end; -1: the page looks on
    const TSScenario* story = nullptr;        ///< what is played; null: nothing
    std::map<int, std::string> inserted;      ///< the CAMs that were in at the beginning
};

/// The page, on a daemon. Bound to the daemon's thread, which runs the default main context.
class TCScreen
{
public:
    /// \param[in] daemon  outlives this; what hears of its calls and signals is there already, and goes on to
    /// \throws std::runtime_error with the reason
    TCScreen(TCSimulatedDaemon& daemon, const TSScreenOptions& options);
    ~TCScreen();
    TCScreen(const TCScreen&) = delete;
    TCScreen& operator=(const TCScreen&) = delete;

    /// The daemon is on the bus.
    void Begin();
    /// Where the story is.
    void Progress(const std::string& words);
    /// What became of the story.
    void Over(const std::string& words);

private:
    struct TSPrivate;
    std::unique_ptr<TSPrivate> m_private;
};
} // namespace CIM::sim
