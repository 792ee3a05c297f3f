#pragma once

#include <string>

namespace CIM::cictl
{
/// Makes the system bus of another machine this process's, through ssh and systemd-stdio-bridge there. Before anything
/// connects. From then on the daemon on that bus alone says whether the set has CI: the feature keys and the readiness
/// marker of this machine mean nothing.
/// \param[in] host  [USER@]HOST, as ssh takes it
/// \throws TCFailure
void UseHost(const std::string& host);

/// The other machine; empty when it is this one.
const std::string& HostName();
} // namespace CIM::cictl
