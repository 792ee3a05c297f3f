#pragma once

#include "support/TestEnvironment.h"

#include <memory>
#include <string>

#include <sys/types.h>

namespace CIM
{
/// A system bus of the test's own, which DBUS_SYSTEM_BUS_ADDRESS names as long as the object lives.
/// A small keeper process holds the bus: it ends the bus and removes its files as soon as the test process has ended,
/// in whatever way.
class TPrivateBus
{
public:
    /// Starts the bus and waits until it listens.
    /// \param extraConfig  lines for its configuration, e.g. R"(<limit name="max_replies_per_connection">2</limit>)"
    /// \throws std::runtime_error when it does not come up
    explicit TPrivateBus(std::string extraConfig = {});
    ~TPrivateBus();
    TPrivateBus(const TPrivateBus&) = delete;
    TPrivateBus& operator=(const TPrivateBus&) = delete;

    const std::string& Address() const { return m_address; }
    /// Kills the bus: every connection to it is lost when this returns. Nothing happens when it is already stopped.
    void Stop();
    /// Stops the bus and starts a new one at the same address.
    void Restart();

private:
    void m_Start();

    std::string m_folder;
    std::string m_config;
    std::string m_address;
    pid_t m_keeper = -1;
    int m_lifeline = -1; // the keeper ends when this end of the pipe is closed
    std::unique_ptr<TEnvironmentVariable> m_variable;
};
} // namespace CIM
