#include "Application.h"

#include <chrono>

using namespace CIM;

// A daemon that does not do as it should.

namespace
{
using TIds = std::map<unsigned char, std::list<unsigned short>>;

void DaemonRestart(TCApplication& application)
{
    application.Subscribe({SIGNAL_CI_CAM_READY_STATUS_CHANGED});
    std::map<unsigned char, ECamMode> modes;
    const auto before = std::chrono::steady_clock::now();
    NEED(application.general.GetCamModes(modes) <= 0); // the daemon goes in the middle of it
    NEED(std::chrono::steady_clock::now() - before < std::chrono::seconds(5));
    // The subscription has outlived the daemon; its CAM begins anew.
    std::map<unsigned char, ECamStatus> statuses;
    while (application.general.GetCiSlotStatus(statuses, 0) != 1)
    {
        NEED(std::chrono::steady_clock::now() - before < std::chrono::seconds(20));
    }
    NEED(statuses[0] == CAM_STATUS_NO_CAM);
    application.Next(SIGNAL_CI_CAM_READY_STATUS_CHANGED, CAM_STATUS_READY);
    NEED(application.general.GetCamModes(modes) == 1 && modes[0] == CAM_MODE_CI_PLUS);
}

void SlowDaemon(TCApplication& application)
{
    constexpr unsigned STORM = 1'000;
    application.Subscribe({SIGNAL_CI_TTX_STATUS_CHANGE});
    application.Next(SIGNAL_CI_TTX_STATUS_CHANGE, 1);
    std::map<unsigned char, ECamMode> modes;
    const auto before = std::chrono::steady_clock::now();
    NEED(application.general.GetCamModes(modes) == 1 && modes[0] == CAM_MODE_CI_PLUS);
    NEED(std::chrono::steady_clock::now() - before >= std::chrono::milliseconds(490));
    TIds ids;
    NEED(application.general.GetCaSystemIds(ids) <= 0); // an error; the storm begins
    NEED(application.general.GetCaSystemIds(ids) <= 0 || ids.empty());
    NEED(application.general.GetCaSystemIds(ids) == 1 && ids[0].size() == 2);
    for (unsigned i = 0; i < STORM; ++i)
    {
        NEED(application.Next(SIGNAL_CI_TTX_STATUS_CHANGE).value == i);
    }
    application.NeedSilence();
}

void MalformedData(TCApplication& application)
{
    constexpr int BROKEN = 9;
    for (int i = 0; i < BROKEN; ++i)
    {
        TIds ids;
        application.general.GetCaSystemIds(ids); // whatever it says, it says so and goes on
        NEED(ids.size() <= 1);
    }
    TIds ids;
    NEED(application.general.GetCaSystemIds(ids) == 1 && ids.size() == 1);
    NEED((ids[0] == std::list<unsigned short>{0x0B00, 0x0B01}));
    std::map<unsigned char, ECamMode> modes;
    NEED(application.general.GetCamModes(modes) == 1 && modes[0] == CAM_MODE_CI_PLUS);
}
} // namespace

const std::vector<TSStory>& DaemonStories()
{
    static const std::vector<TSStory> stories = {
        {"daemon-restart", DaemonRestart},
        {"slow-daemon", SlowDaemon},
        {"malformed-data", MalformedData},
    };
    return stories;
}
