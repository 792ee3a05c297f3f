#pragma once

#include <string>
#include <vector>

namespace CIM::cictl
{
/// The lines that were typed in the shell, in a file that only its user reads: $XDG_STATE_HOME/cictl/history, or below
/// ~/.local/state. Without a home, or when it cannot be written, there is none, and nobody is told.
class TCHistory
{
public:
    TCHistory();

    /// The lines of former shells, the oldest first.
    std::vector<std::string> Lines() const;
    /// Keeps a line. Whether it may be kept is the caller's matter.
    void Add(const std::string& line);

private:
    std::string m_path;
};
} // namespace CIM::cictl
