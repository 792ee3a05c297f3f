#pragma once

#include <ciapi/CIEnumerations.h>
#include <ciapi/CIOperatorProfileDataType.h>
#include <ciapi/Export.h>

#include <tvplatform/Types.h>

#include <list>
#include <map>
#include <string>

namespace CIM
{
/// CI Plus operator profiles: which ones the CAMs offer and which are installed; installing, updating and removing
/// them.
///
/// What holds for every operation:
/// - It is one call to the CI daemon. It blocks the calling thread, and only that, until the daemon answers or the bus
///   gives up (25 seconds unless the bus is configured otherwise). A one-way call only waits until the request is sent.
/// - It is thread-safe. Called from inside a signal callback it delays the signals behind it.
/// - The result is what the daemon answered, non-zero meaning success, or -1 when its answer held no result. On a set
///   without CI, without daemon or without a timely answer it is 0.
/// - Outputs are filled in place and not cleared first; whenever the daemon did not answer they keep their values.
/// - Arguments are not checked; slots are numbered from 0. Names are UTF-16 code units. The caller keeps everything it
///   passes. Nothing is thrown.
///
/// Obtained from TCCIService::CIOperatorProfileInstance() and owned by it. The order of the declarations is binary
/// interface: new operations go to the end.
class CIAPI_EXPORT ICIOperatorProfile
{
public:
    virtual ~ICIOperatorProfile() = default;

    /// The profiles that CAMs offer and that are not installed, as names.
    /// \param[out] profiles  slot number to antenna mode to profile name; replaced by the daemon's answer
    virtual int GetNotInstalledOperatorProfiles(
        std::map<unsigned char, std::map<EAntennaMode, std::basic_string<unsigned short>>>& profiles) = 0;

    /// The profiles that CAMs offer and that are not installed, as full records.
    /// \param[out] profiles  replaced by the daemon's answer
    virtual int GetNotInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>& profiles) = 0;

    /// The TV modes of one service mode for which a profile is installed.
    /// \param[in]  serviceMode  the service mode
    /// \param[out] modes        TV mode to profile name; replaced by the daemon's answer
    virtual int
    GetInstalledOperatorProfileModesPerServiceMode(EServiceMode serviceMode,
                                                   std::map<TSTvMode, std::basic_string<unsigned short>>& modes) = 0;

    /// The installed profiles, as names.
    /// \param[out] profiles  TV mode to profile name; replaced by the daemon's answer
    virtual int GetInstalledOperatorProfiles(std::map<TSTvMode, std::basic_string<unsigned short>>& profiles) = 0;

    /// Which slot each installed profile belongs to.
    /// \param[out] slots  TV mode to slot number; replaced by the daemon's answer
    virtual int GetInstalledOperatorProfileModesCiSlots(std::map<TSTvMode, unsigned char>& slots) = 0;

    /// The installed profiles, as full records.
    /// \param[out] profiles  replaced by the daemon's answer
    virtual int GetInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>& profiles) = 0;

    /// Starts the installation of a profile for a TV mode. Progress is announced by signals.
    /// \param[in] profile  the TV pipeline's profile
    /// \param[in] param    passed on; its meaning is the daemon's
    /// \param[in] slot     slot number
    /// \param[in] tvMode   the TV mode that the profile is for
    virtual int StartOperatorProfileInstallation(EProfile profile, int param, unsigned char slot,
                                                 TSTvMode const& tvMode) = 0;

    /// Starts the installation of the profile that a CAM offers. Progress is announced by signals.
    /// \param[in]  origin  who wants it
    /// \param[in]  slot    slot number
    /// \param[out] status  whether and how the installation started
    virtual int StartOperatorProfileInstallation(EOperatorProfileInstallationOrigin origin, unsigned char slot,
                                                 EOperatorProfileStartInstallationStatus& status) = 0;

    /// Starts the update of the installed profile of a CAM.
    /// \param[in] slot  slot number
    virtual int UpdateOperatorProfile(unsigned char slot) = 0;

    /// Sets the state of an installation.
    /// \param[in] slot    slot number
    /// \param[in] origin  the new state: inactive, or who activated it
    /// \param[in] oneWay  do not wait for the daemon
    /// \return as all; 1 when a one-way request was sent
    virtual int SetOperatorProfileInstallationState(unsigned char slot, EOperatorProfileInstallationOrigin origin,
                                                    bool oneWay) = 0;

    /// The state of an installation.
    /// \param[in]  slot    slot number
    /// \param[out] origin  inactive, or who activated it
    virtual int GetOperatorProfileInstallationState(unsigned char slot, EOperatorProfileInstallationOrigin& origin) = 0;

    /// Who wanted an installation.
    /// \param[in]  slot    slot number
    /// \param[out] origin  who
    virtual int GetOperatorProfileInstallationOrigin(unsigned char slot,
                                                     EOperatorProfileInstallationOrigin& origin) = 0;

    /// Removes the profile that is installed for a TV mode.
    /// \param[in] tvMode  the TV mode
    /// \param[in] oneWay  do not wait for the daemon
    /// \return as all; 1 when a one-way request was sent
    virtual int RemoveOperatorProfile(TSTvMode const& tvMode, bool oneWay) = 0;

    /// The label of a content category of an installed profile.
    /// \param[in]  tvMode      the profile's TV mode
    /// \param[in]  slot        slot number
    /// \param[in]  labelIndex  which label; its meaning is the daemon's
    /// \param[out] label       replaced by the daemon's answer
    virtual int GetOperatorProfileContentLabel(TSTvMode const& tvMode, unsigned char slot, unsigned char labelIndex,
                                               std::basic_string<unsigned short>& label) = 0;
};
} // namespace CIM
