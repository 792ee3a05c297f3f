#include "support/PrivateBus.h"

namespace CIM
{
TPrivateBus::TPrivateBus(std::string extraConfig) : m_folder(privatebus::TCBusFolder::Make("ciapi-bus"))
{
    m_options.configuration = std::move(extraConfig);
    m_keeper.Start(m_folder, m_options);
    m_variable.emplace("DBUS_SYSTEM_BUS_ADDRESS", Address());
}

void TPrivateBus::Stop() { m_keeper.LetGo(); }

void TPrivateBus::Restart() { m_keeper.Start(m_folder, m_options); }
} // namespace CIM
