#include "CamBanner.h"

namespace
{
constexpr unsigned short MOST_SLOTS = 2;
constexpr unsigned ALL_SLOTS = 0;
} // namespace

TCCamBanner::TCCamBanner(CIM::ICIGeneral& general, CIM::ICISignalSubscriber& subscriber)
    : m_general(general), m_subscriber(subscriber)
{
    for (unsigned short slot = 0; slot < MOST_SLOTS; ++slot)
    {
        m_subscriber.Subscribe(CIM::SIGNAL_CI_CAM_READY_STATUS_CHANGED, this, PROFILE_MAIN, slot, 0);
    }
    m_Refresh();
}

TCCamBanner::~TCCamBanner()
{
    for (unsigned short slot = 0; slot < MOST_SLOTS; ++slot)
    {
        m_subscriber.Unsubscribe(CIM::SIGNAL_CI_CAM_READY_STATUS_CHANGED, PROFILE_MAIN, slot, 0);
    }
}

std::string TCCamBanner::Text() const
{
    if (m_lines.empty())
    {
        return "CI is not available\n";
    }
    std::string text;
    for (const auto& [slot, line] : m_lines)
    {
        text += "Slot " + std::to_string(slot) + ": " + line + '\n';
    }
    return text;
}

int TCCamBanner::OnSignal(CIM::ECISignalType, EProfile, unsigned short, CIM::TSSignalData, void* banner)
{
    if (banner != nullptr)
    {
        static_cast<TCCamBanner*>(banner)->m_Refresh();
    }
    return 1;
}

void TCCamBanner::m_Refresh()
{
    m_lines.clear();
    std::map<unsigned char, CIM::ECamStatus> statuses;
    if (m_general.GetCiSlotStatus(statuses, ALL_SLOTS) <= 0)
    {
        return;
    }
    for (const auto& [slot, status] : statuses)
    {
        CIM::ECIApplicationType type = CIM::CI_APPLICATION_TYPE_CA;
        CIM::TCIText menu;
        CIM::TCIText manufacturer;
        if (status != CIM::CAM_STATUS_READY)
        {
            m_lines[slot] = "no CAM";
        }
        else if (m_general.GetApplicationInfo(slot, type, menu, manufacturer) > 0)
        {
            m_lines[slot] = menu.ToUtf8();
        }
        else
        {
            m_lines[slot] = "a CAM that says nothing about itself";
        }
    }
}
