#pragma once

// The TV platform's types that travel through its services: plain enumerations of 32 bits, in which every number is
// legal. EProfile is there for callers in C as well.

#ifdef __cplusplus
#include <tvplatform/Marshalable.h>

#include <cstdint>
#endif

/// A TV pipeline's profile.
enum EProfile
#ifdef __cplusplus
    : std::int32_t
#endif
{
    PROFILE_NONE = -1,
    PROFILE_MAIN = 0,
    PROFILE_SUB = 1,
    PROFILE_RECORD = 2,
    PROFILE_RECORD_SECOND = 3,
};

#ifndef __cplusplus
typedef enum EProfile EProfile;
#else

/// How a broadcast reaches the set.
enum EAntennaMode : std::int32_t
{
    ANTENNA_MODE_NONE = -1,
    ANTENNA_MODE_TERRESTRIAL = 0,
    ANTENNA_MODE_CABLE = 1,
    ANTENNA_MODE_SATELLITE = 2,
};

/// Which service list a TV mode uses.
enum EServiceMode : std::int32_t
{
    SERVICE_MODE_NONE = -1,
    SERVICE_MODE_GENERIC = 0,
    SERVICE_MODE_OPERATOR = 1,
};

/// What is about to change when tuning.
enum EStateChange : std::int32_t
{
    STATE_CHANGE_NONE = 0,
    STATE_CHANGE_SERVICE = 1,
    STATE_CHANGE_SOURCE = 2,
};

/// A handle of a TV pipeline: eight bytes, which travel as they are, the filler as zero.
struct TVSHandle
{
    EProfile profile;
    std::uint16_t handle;
    std::uint16_t filler;

    TVSHandle();
    TVSHandle(EProfile aProfile, std::uint16_t aHandle);
};
/// By profile and handle.
bool operator==(const TVSHandle& a, const TVSHandle& b);

/// The key of a TV mode. Fields of its tree: 0 antenna mode, 1 service mode, four bytes each.
class TSTvMode : public TCMarshalable
{
public:
    TSTvMode();

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;

    EAntennaMode antennaMode;
    EServiceMode serviceMode;
};

/// By antenna mode, then service mode: TV modes are keys of maps and sets.
bool operator<(const TSTvMode& a, const TSTvMode& b);
#endif
