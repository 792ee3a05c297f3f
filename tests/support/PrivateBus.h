#pragma once

#include "privatebus/Keeper.h"
#include "support/TestEnvironment.h"

#include <optional>
#include <string>

namespace CIM
{
/// A system bus of the test's own, which DBUS_SYSTEM_BUS_ADDRESS names as long as the object lives.
/// A small keeper process holds the bus: it ends the bus and removes its files as soon as the test process has ended,
/// in whatever way.
class TCPrivateBus
{
public:
    /// Starts the bus and waits until it listens.
    /// \param extraConfig  lines for its configuration, e.g. R"(<limit name="max_replies_per_connection">2</limit>)"
    /// \throws std::runtime_error when it does not come up
    explicit TCPrivateBus(std::string extraConfig = {});

    std::string Address() const { return m_folder.Address(); }
    /// Kills the bus: every connection to it is lost when this returns. Nothing happens when it is already stopped.
    void Stop();
    /// Stops the bus and starts a new one at the same address.
    void Restart();

private:
    privatebus::TCBusFolder m_folder;
    privatebus::TSKeeperOptions m_options;
    privatebus::TCKeeper m_keeper;
    std::optional<TCEnvironmentVariable> m_variable;
};
} // namespace CIM
