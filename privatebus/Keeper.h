#pragma once

#include "privatebus/BusFolder.h"

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace CIM::privatebus
{
/// What a keeper is to hold.
struct TSKeeperOptions
{
    /// Of the process, as lists of processes show it; at most 15 characters.
    const char* name = "ciapi-bus";
    /// Lines for the configuration of the bus, such as <limit name="max_replies_per_connection">2</limit>.
    std::string configuration;
    /// Runs beside the bus, in a process of its own that inherits the environment; calls ready once it can be used.
    /// May be empty; needs a maker with a single thread. \return the exit status of that process
    std::function<int(const std::function<void()>& ready)> companion;
    /// Descriptors that the companion needs; of the others it has none but the standard ones. They stay the maker's to
    /// close; the keeper keeps no copies.
    std::vector<int> handed;
    /// The keeper is nobody's child: a program that waits for its children does not wait for it.
    bool isOrphan = false;
};

/// Opens /dev/null where standard input, output or error is missing, so that nothing else comes to lie there.
void FillStandardDescriptors();

/// A small process that holds a private bus, its folder and what runs beside it, and ends them when the process that
/// made the keeper ends, in whatever way, or lets go. Bound to the thread that made it; forking happens with care for
/// makers that have threads: nothing is allocated behind the fork.
class TCKeeper
{
public:
    TCKeeper() = default;
    /// Lets go.
    ~TCKeeper() { LetGo(); }
    TCKeeper(const TCKeeper&) = delete;
    TCKeeper& operator=(const TCKeeper&) = delete;

    /// Starts the bus, then its companion, and waits until they can be used, up to 20 seconds each.
    /// \param[in] folder  belongs to the keeper from now on, also when this fails; made anew when it is not there
    /// \throws std::runtime_error with the reason, the words of dbus-daemon among it; nothing is left running
    void Start(const TCBusFolder& folder, const TSKeeperOptions& options);

    bool IsHolding() const { return m_lifeline >= 0; }
    /// Lets the keeper hold on until this process ends, whatever becomes of this object.
    void HoldForEver();

    /// Ends companion, bus and folder, in this order. Returns when they have ended; of an orphan, when it has been
    /// told. \return the companion's exit status; 128 and the signal that ended it; 0 without one
    int LetGo();

private:
    pid_t m_maker = -1;
    pid_t m_keeper = -1; ///< 0 for an orphan
    int m_lifeline = -1; ///< the keeper ends when this end of a pipe is closed
    int m_report = -1;   ///< what the keeper has to say, line by line
};
} // namespace CIM::privatebus
