#pragma once

#include "simulator/world/World.h"

#include <ciapi/CIPlatformEnumNames.h>

namespace CIM
{
namespace sim
{
// What conditions ask of the parts of the set; the names are those that the state shows.
enum ECamIs : int
{
    CAM_IS_ABSENT = CAM_PHASE_ABSENT,
    CAM_IS_INIT = CAM_PHASE_INIT,
    CAM_IS_READY = CAM_PHASE_READY,
    CAM_IS_FAILED = CAM_PHASE_FAILED,
};
enum EShows : int
{
    SHOWS_NONE,
    SHOWS_ANY,
    SHOWS_MENU,
    SHOWS_LIST,
    SHOWS_TEXT,
    SHOWS_ENQUIRY,
};
enum EPlayerIs : int
{
    PLAYER_IS_NONE,
    PLAYER_IS_VERIFYING,
    PLAYER_IS_PLAYING,
};
enum EUpgradeIs : int
{
    UPGRADE_IS_NONE,
    UPGRADE_IS_REQUESTED,
    UPGRADE_IS_RUNNING,
};
enum EProfileIs : int
{
    PROFILE_IS_OFFERED,
    PROFILE_IS_INSTALLED,
    PROFILE_IS_RUNNING,
};
enum EPinIs : int
{
    PIN_IS_ASKED,
    PIN_IS_VERIFIED,
    PIN_IS_BLOCKED,
};
enum EAppIs : int
{
    APP_IS_NONE,
    APP_IS_WAITING,
    APP_IS_RUNNING,
    APP_IS_ABORTING,
};
enum ERecordingIs : int
{
    RECORDING_IS_PLAYING,
    RECORDING_IS_EXCEEDED,
    RECORDING_IS_BLOCKED,
};
} // namespace sim

#define CIAPI_CONDITION_WORDS(ENUM, TYPE, ...)                                                                         \
    template <>                                                                                                        \
    struct TSEnumNames<sim::ENUM>                                                                                      \
    {                                                                                                                  \
        static constexpr std::string_view type = TYPE;                                                                 \
        static constexpr TSEnumName<sim::ENUM> entries[] = __VA_ARGS__;                                                \
    }
CIAPI_CONDITION_WORDS(ECamIs, "state of a CAM",
                      {{sim::CAM_IS_ABSENT, "absent"},
                       {sim::CAM_IS_INIT, "init"},
                       {sim::CAM_IS_READY, "ready"},
                       {sim::CAM_IS_FAILED, "failed"}});
CIAPI_CONDITION_WORDS(EShows, "kind of a dialogue",
                      {{sim::SHOWS_NONE, "none"},
                       {sim::SHOWS_ANY, "any"},
                       {sim::SHOWS_MENU, "menu"},
                       {sim::SHOWS_LIST, "list"},
                       {sim::SHOWS_TEXT, "text"},
                       {sim::SHOWS_ENQUIRY, "enquiry"}});
CIAPI_CONDITION_WORDS(EPlayerIs, "state of the player",
                      {{sim::PLAYER_IS_NONE, "none"},
                       {sim::PLAYER_IS_VERIFYING, "verifying"},
                       {sim::PLAYER_IS_PLAYING, "playing"}});
CIAPI_CONDITION_WORDS(EUpgradeIs, "state of an upgrade",
                      {{sim::UPGRADE_IS_NONE, "none"},
                       {sim::UPGRADE_IS_REQUESTED, "requested"},
                       {sim::UPGRADE_IS_RUNNING, "running"}});
CIAPI_CONDITION_WORDS(EProfileIs, "state of an operator profile",
                      {{sim::PROFILE_IS_OFFERED, "offered"},
                       {sim::PROFILE_IS_INSTALLED, "installed"},
                       {sim::PROFILE_IS_RUNNING, "running"}});
CIAPI_CONDITION_WORDS(EPinIs, "state of a PIN",
                      {{sim::PIN_IS_ASKED, "asked"},
                       {sim::PIN_IS_VERIFIED, "verified"},
                       {sim::PIN_IS_BLOCKED, "blocked"}});
CIAPI_CONDITION_WORDS(EAppIs, "state of an application",
                      {{sim::APP_IS_NONE, "none"},
                       {sim::APP_IS_WAITING, "waiting"},
                       {sim::APP_IS_RUNNING, "running"},
                       {sim::APP_IS_ABORTING, "aborting"}});
CIAPI_CONDITION_WORDS(ERecordingIs, "state of a recording",
                      {{sim::RECORDING_IS_PLAYING, "playing"},
                       {sim::RECORDING_IS_EXCEEDED, "exceeded"},
                       {sim::RECORDING_IS_BLOCKED, "blocked"}});
#undef CIAPI_CONDITION_WORDS
} // namespace CIM
