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

/// What the configuration of a bus says before it includes policies.
enum class EBase
{
    DEBIAN, ///< as /usr/share/dbus-1/system.conf of Debian: no names, no calls, any signal
    OPEN,   ///< everybody may everything, as on a set whose maker did not care
};

/// A system bus that reads the policies of a folder, and that every user can reach. It ends with this process, in
/// whatever way; its maker has a single thread.
class TCPolicyBus
{
public:
    /// \param[in] policies  a folder with policy files; empty: none
    /// \throws std::runtime_error with the words of the program when it does not come up
    TCPolicyBus(EBusProgram program, EBase base, const std::string& policies);

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
