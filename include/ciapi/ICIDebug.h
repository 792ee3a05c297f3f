#pragma once

#include <ciapi/CIEnumerations.h>
#include <ciapi/Export.h>

namespace CIM
{
/// Service and factory commands of the CI daemon. Some of them delete data for good; none asks back.
///
/// What holds for every operation:
/// - It is one call to the CI daemon. It blocks the calling thread, and only that, until the daemon answers or the bus
///   gives up (25 seconds unless the bus is configured otherwise).
/// - It is thread-safe. Called from inside a signal callback it delays the signals behind it.
/// - The result is what the daemon answered, non-zero meaning success, or -1 when its answer held no result. On a set
///   without CI, without daemon or without a timely answer it is 0.
/// - Outputs are filled in place; whenever the daemon did not answer they keep their values, CILogToggle's excepted.
/// - Arguments are not checked; slots are numbered from 0. Nothing is thrown.
///
/// Obtained from TCCIService::CIDebugInstance() and owned by it. The order of the declarations is binary interface: new
/// operations go to the end.
class CIAPI_EXPORT ICIDebug
{
public:
    virtual ~ICIDebug() = default;

    /// Has the daemon write its status to its log.
    virtual int PrintStatus() = 0;

    /// Forgets the descrambling history.
    virtual int ClearDescramblingHistory() = 0;

    /// Resets the PCMCIA hardware of a slot, and the CAM in it.
    /// \param[in] slot  slot number
    virtual int ResetPcmcia(unsigned char slot) = 0;

    /// Deletes the CI Plus certificate data in the EEPROM.
    virtual int ResetCertificateDataInEeprom() = 0;

    /// Deletes the CI Plus certificate data in the secure storage.
    virtual int ResetCertificateDataInSecureStorage() = 0;

    /// Sends the transport stream through a CAM or past it.
    /// \param[in] slot     slot number
    /// \param[in] through  true through the CAM, false past it
    virtual int SetTransportStreamRouteMode(unsigned char slot, bool through) = 0;

    /// Which way the transport stream takes.
    /// \param[in]  slot     slot number
    /// \param[out] through  true through the CAM, false past it
    virtual int GetTransportStreamRouteMode(unsigned char slot, bool& through) = 0;

    /// Restarts the daemon.
    virtual int RestartCIMManager() = 0;

    /// Puts the daemon's data back to the factory's.
    virtual int FactoryReset() = 0;

    /// Switches the test of tune preparation on or off.
    /// \param[in] enable  on or off
    virtual int DebugTunePreparation(bool enable) = 0;

    /// Answers a tune preparation under test.
    /// \param[in] ack  whether tuning may go on
    virtual int DebugTunePreparationAck(bool ack) = 0;

    /// Whether CI holds the tuner.
    /// \param[out] locked  the answer
    virtual int IsTunerLockedByCI(bool& locked) = 0;

    /// Forgets the scheduled operator-profile update.
    virtual int OPClearSchedule() = 0;

    /// Schedules an operator-profile update.
    /// \param[in] schedule  when; its meaning is the daemon's
    virtual int OPRegisterSchedule(unsigned int schedule) = 0;

    /// Has the daemon write to its log why the set was started.
    virtual int OPPrintBootupReason() = 0;

    /// Starts an operator-profile installation as a test. Not the operation of ICIOperatorProfile with this name.
    virtual int StartOperatorProfileInstallation() = 0;

    /// Deletes all operator profiles.
    virtual int RemoveAllOperatorProfiles() = 0;

    /// Has the daemon write its service protection database to its log.
    virtual int PrintCIServiceProtectionDatabase() = 0;

    /// Deletes the service protection database.
    virtual int ClearCIServiceProtectionDatabase() = 0;

    /// How many CI slots the daemon drives.
    /// \param[out] count  the number of slots
    virtual int GetSlotsCount(unsigned char& count) = 0;

    /// Runs a command of the transport stream processing unit (MSPU).
    /// \param[in] slot     slot number
    /// \param[in] command  the command
    /// \param[in] param    goes with the command; its meaning is the daemon's
    /// \param[in] ltsId    identifier of a local transport stream
    virtual int RunMSPUCommand(unsigned char slot, ECIDebugMSPUCommand command, unsigned char param,
                               unsigned short ltsId) = 0;

    /// Keeps the daemon from using its CAMs, or lets it use them again.
    /// \param[in] disable  true: do not use them
    virtual int DisableCAM(bool disable) = 0;

    /// Moves the CI Plus certificate data from the EEPROM to the secure storage. The spelling is part of the interface.
    virtual int TransferCertifcateDataFromEepromToSecureStorage() = 0;

    /// Toggles the daemon's CI log.
    /// \param[in,out] enabled  the current state in, the new state out; false when the daemon did not answer
    virtual int CILogToggle(bool& enabled) = 0;
};
} // namespace CIM
