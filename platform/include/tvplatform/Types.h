#pragma once

// The TV platform's types that travel through its services. Plain enumerations of 32 bits: the numbers are what
// crosses process borders, and a value without an enumerator is legal. For callers in C: EProfile alone.

#ifdef __cplusplus
#include <tvplatform/Export.h>
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
// Does not compile where the enumeration has another size than in the library.
typedef char EProfileHasFourBytes[sizeof(EProfile) == 4 ? 1 : -1];
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

/// A handle of a TV pipeline. Eight bytes: the two filler bytes at its end are part of it and always zero.
struct TVSHandle
{
    EProfile profile = PROFILE_NONE; ///< whose pipeline it is
    std::uint16_t handle = 0;        ///< its number among those of the profile
    std::uint16_t filler = 0;        ///< takes no part in comparing

    TVSHandle() = default; ///< of no pipeline
    /// Of this one.
    TVSHandle(EProfile aProfile, std::uint16_t aHandle) : profile(aProfile), handle(aHandle) {}

    /// The same pipeline.
    friend bool operator==(const TVSHandle& a, const TVSHandle& b)
    {
        return a.profile == b.profile && a.handle == b.handle;
    }
    friend bool operator!=(const TVSHandle& a, const TVSHandle& b) { return !(a == b); } ///< not ==
};
static_assert(sizeof(TVSHandle) == 8, "a handle travels as eight bytes");

/// The key of a TV mode: an antenna mode and a service mode. Ordered by antenna mode, then service mode.
class TVPLATFORM_EXPORT TSTvMode : public TCMarshalable
{
public:
    TSTvMode() = default; ///< none
    /// Both members.
    TSTvMode(EAntennaMode aAntennaMode, EServiceMode aServiceMode)
        : antennaMode(aAntennaMode), serviceMode(aServiceMode)
    {
    }

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;

    EAntennaMode antennaMode = ANTENNA_MODE_NONE; ///< how its services reach the set
    EServiceMode serviceMode = SERVICE_MODE_NONE; ///< which list they are in
};

/// Compare antenna modes, then service modes.
/// @{
TVPLATFORM_EXPORT bool operator==(const TSTvMode& a, const TSTvMode& b);
TVPLATFORM_EXPORT bool operator!=(const TSTvMode& a, const TSTvMode& b);
TVPLATFORM_EXPORT bool operator<(const TSTvMode& a, const TSTvMode& b);
/// @}
#endif
