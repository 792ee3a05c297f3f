#pragma once

#include "privatebus/Keeper.h"

#include <string>

namespace CIM
{
enum class EBusProgram
{
    DBUS_DAEMON,
    DBUS_BROKER,
};

/// A system bus that reads the policies of a folder, and that every user can reach. It ends with this process, in
/// whatever way; its maker has a single thread.
class TCPolicyBus
{
public:
    /// \param[in] base      the configuration that comes first: DEBIAN_BASE or OPEN_BASE, files beside this one
    /// \param[in] policies  a folder with policy files; empty: none
    /// \throws std::runtime_error with the words of the program when it does not come up
    TCPolicyBus(EBusProgram program, const char* base, const std::string& policies);

    std::string Address() const { return "unix:path=" + m_folder.File("policy-socket"); }
    /// Belongs to the bus, and can be entered by everybody.
    const privatebus::TCBusFolder& Folder() const { return m_folder; }

private:
    privatebus::TCBusFolder m_folder;
    privatebus::TCKeeper m_keeper;
};

/// Why a policy cannot be tried here, whatever it says, with several users on that bus; empty: it can.
std::string WhyNotHere(EBusProgram program);
} // namespace CIM
