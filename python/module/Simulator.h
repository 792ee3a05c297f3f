#pragma once

#include <map>
#include <string>
#include <vector>

// What Python needs of the simulator's world: a bus of this process's own, and the control object on it.

namespace CIM::python
{
/// What lies where, for the environment: {"DBUS_SYSTEM_BUS_ADDRESS": ..., ...}. The first call starts the bus, which ends
/// with the process, in whatever way that ends. \throws std::runtime_error when it does not start
std::map<std::string, std::string> StartBus();
/// For the end of the process: ends the bus, if there is one, and waits until its folder is gone.
void EndBus();
/// Writes the feature keys of the set: those of a set with CI, and what differs from them.
void WriteKeys(const std::map<std::string, std::string>& different);

/// Lets the simulator on that bus do something. Blocks, for 25 seconds at most.
/// \param[in] arguments  as texts, in the verb's order
/// \return what it answered \throws std::invalid_argument when it refuses, std::runtime_error when there is none
std::string Ask(const std::string& verb, const std::vector<std::string>& arguments);
} // namespace CIM::python
