#pragma once

namespace CIM
{
/// Whether the daemon has written the marker file that says that it is ready.
/// The file is "/tmp/ci-daemon-ready", or what the environment variable CIAPI_DAEMON_READY_FILE names, so that several
/// daemons and tests can live on one machine. Thread-safe as long as nobody changes the environment.
bool IsDaemonReady();
} // namespace CIM
