#include "support/PrivateBus.h"

namespace CIM
{
TCPrivateBus::TCPrivateBus(std::string extraConfig) : m_folder(privatebus::TCBusFolder::Make("ciapi-bus"))
{
    m_options.configuration = std::move(extraConfig);
    m_keeper.Start(m_folder, m_options);
    m_variable.emplace("DBUS_SYSTEM_BUS_ADDRESS", Address());
}

void TCPrivateBus::Stop() { m_keeper.LetGo(); }

void TCPrivateBus::Restart() { m_keeper.Start(m_folder, m_options); }
} // namespace CIM
