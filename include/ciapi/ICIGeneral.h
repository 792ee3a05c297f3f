#pragma once

#include <ciapi/CIEnumerations.h>
#include <ciapi/CIGeneralDataType.h>
#include <ciapi/Export.h>

#include <tvplatform/Types.h>

#include <list>
#include <map>
#include <string>
#include <vector>

namespace CIM
{
/// The general CI functions of the set: slots and CAMs, descrambling, CAM menus (MMI), PIN, CA PMT, CAM upgrade, SAS
/// sessions, host control.
///
/// What holds for every operation:
/// - It is one call to the CI daemon. It blocks the calling thread, and only that, until the daemon answers or the bus
///   gives up (25 seconds unless the bus is configured otherwise). A one-way call only waits until the request is sent.
/// - It is thread-safe. Called from inside a signal callback it delays the signals behind it.
/// - The result is what the daemon answered, non-zero meaning success, or -1 when its answer held no result. On a set
///   without CI, without daemon or without a timely answer it is 0, unless the operation says otherwise.
/// - Outputs are filled in place and not cleared first: whenever the daemon did not answer they keep what the caller
///   put in them, unless the operation says otherwise.
/// - Arguments are not checked; slots are numbered from 0. The caller keeps everything it passes. Nothing is thrown.
///
/// Obtained from TCCIService::CIGeneralInstance() and owned by it. The order of the declarations is binary interface:
/// new operations go to the end.
class CIAPI_EXPORT ICIGeneral
{
public:
    virtual ~ICIGeneral() = default;

    /// Which slots there are, and whether a CAM in them is ready.
    /// \param[out] statuses   slot number to status; replaced by the daemon's answer
    /// \param[in]  selection  which slots are asked for; its meaning is the daemon's
    virtual int GetCiSlotStatus(std::map<unsigned char, ECamStatus>& statuses, unsigned int selection) = 0;

    /// Whether CI can be used on this set. Answered at once, without asking the daemon.
    /// \return 1, and 0 on a set without CI
    virtual int IsCiSupported() = 0;

    /// How the CAMs run: as plain CI or as CI Plus.
    /// \param[out] modes  slot number to mode; replaced by the daemon's answer
    virtual int GetCamModes(std::map<unsigned char, ECamMode>& modes) = 0;

    /// Stops descrambling for some TV pipelines.
    /// \param[in] handles  the pipelines; may be empty
    virtual int DisableDescrambling(std::vector<TVSHandle> const& handles) = 0;

    /// Allows descrambling for some TV pipelines again. See DisableDescrambling.
    virtual int EnableDescrambling(std::vector<TVSHandle> const& handles) = 0;

    /// The state of all slots at once.
    /// \param[out] status  replaced by the daemon's answer
    virtual int GetCurrentCiStatus(TCCiStatus& status) = 0;

    /// Tests the CI Plus credentials of the set.
    /// \param[out] passed  whether the test passed
    virtual int CipTest(bool& passed) = 0;

    /// Tests the standard CI Plus credentials only. See CipTest.
    virtual int CipTestStandard(bool& passed) = 0;

    /// Tests the CI Plus credentials for enhanced content protection (ECP) only. See CipTest.
    virtual int CipTestECP(bool& passed) = 0;

    /// Writes the CI Plus key of the set. For factory and service.
    /// \param[in]  certificateType  production or test certificates
    /// \param[in]  certificateKind  standard, ECP or both
    /// \param[out] outcome          what became of it
    virtual int WriteCipKey(ECICipCertificateType const& certificateType, ECICipCertificateKind const& certificateKind,
                            EWriteCipKeyResult& outcome) = 0;

    /// The application information of a CAM.
    /// \param[in]  slot             slot number
    /// \param[out] applicationType  what kind of application the CAM announces
    /// \param[out] firstText        first text of the answer; which text comes first is the daemon's
    /// \param[out] secondText       second text of the answer
    virtual int GetApplicationInfo(unsigned char slot, ECIApplicationType& applicationType, TCIText& firstText,
                                   TCIText& secondText) = 0;

    /// Asks a CAM to open its menu. The menu itself is announced later, as a signal.
    /// \param[in] slot    slot number
    /// \param[in] oneWay  do not wait for the daemon
    /// \return as all; 1 when a one-way request was sent
    virtual int EnterMenu(unsigned char slot, bool oneWay) = 0;

    /// Tells the daemon about a change of the high-definition content display.
    /// \param[in] slot    slot number
    /// \param[in] status  the new display status; its meaning is the daemon's
    /// \param[in] oneWay  do not wait for the daemon
    /// \return as all; 1 when a one-way request was sent
    virtual int HdsDisplayStatusChanged(unsigned char slot, bool status, bool oneWay) = 0;

    /// The text that a CAM wants shown.
    /// \param[in]  slot  slot number
    /// \param[out] text  replaced by the daemon's answer
    virtual int GetMmiText(unsigned char slot, TCIText& text) = 0;

    /// The question that a CAM wants answered.
    /// \param[in]  slot          slot number
    /// \param[out] blindAnswer   do not show what the viewer types
    /// \param[out] answerLength  how many characters are expected; 255 when the CAM does not say
    /// \param[out] text          the question
    virtual int GetMmiEnquiry(unsigned char slot, bool& blindAnswer, unsigned char& answerLength, TCIText& text) = 0;

    /// Answers a CAM's question.
    /// \param[in] slot      slot number
    /// \param[in] answerId  an answer, or the question was cancelled
    /// \param[in] answer    what the viewer typed
    /// \param[in] flag      passed on; its meaning is the daemon's
    /// \param[in] oneWay    do not wait for the daemon
    /// \return as all; 1 when a one-way request was sent
    virtual int AnswerMmiEnquiry(unsigned char slot, EMmiAnswerId answerId, TCIText const& answer, bool flag,
                                 bool oneWay) = 0;

    /// The menu that a CAM wants shown.
    /// \param[in]  slot        slot number
    /// \param[out] title       title line
    /// \param[out] subtitle    line under the title
    /// \param[out] bottomLine  line under the choices
    /// \param[out] choices     the choices, top to bottom
    virtual int GetMmiMenu(unsigned char slot, TCIText& title, TCIText& subtitle, TCIText& bottomLine,
                           std::vector<TCIText>& choices) = 0;

    /// Answers a CAM's menu.
    /// \param[in] slot    slot number
    /// \param[in] choice  the chosen line; how lines are counted is the daemon's (EN 50221: from 1, and 0 leaves)
    /// \param[in] flag    passed on; its meaning is the daemon's
    /// \param[in] oneWay  do not wait for the daemon
    /// \return as all; 1 when a one-way request was sent
    virtual int AnswerMmiMenu(unsigned char slot, unsigned char choice, bool flag, bool oneWay) = 0;

    /// The list that a CAM wants shown: like a menu, but nothing can be chosen. See GetMmiMenu.
    virtual int GetMmiList(unsigned char slot, TCIText& title, TCIText& subtitle, TCIText& bottomLine,
                           std::vector<TCIText>& lines) = 0;

    /// Ends the menu session with a CAM.
    /// \param[in] slot    slot number
    /// \param[in] flag    passed on; its meaning is the daemon's
    /// \param[in] oneWay  do not wait for the daemon
    /// \return as all; 1 when a one-way request was sent
    virtual int CloseMmi(unsigned char slot, bool flag, bool oneWay) = 0;

    /// Who shows the PIN window for a pipeline.
    /// \param[in]  handle   the pipeline
    /// \param[out] handler  CAM or host
    virtual int GetPinWindowShowHandler(TVSHandle const& handle, EPinWindowShowHandler& handler) = 0;

    /// Whether the CAM's PIN is needed.
    /// \return the answer itself, as the daemon gave it; -1 and 0 as all
    virtual int IsCamPinNeeded() = 0;

    /// Asks the CAM to give the tuner back.
    virtual int SendAskRelease() = 0;

    /// Asks the CAM to show its PIN window.
    /// \param[in] handle  the pipeline whose programme is protected
    virtual int ShowCamPinWindow(TVSHandle const& handle) = 0;

    /// Has the CAM check a PIN. Whether it was right is announced later, as a signal.
    /// \param[in] slot    slot number
    /// \param[in] pin     the PIN's bytes, as the CAM expects them
    /// \param[in] oneWay  do not wait for the daemon
    /// \return as all; 1 when a one-way request was sent
    virtual int VerifyCamPin(unsigned char slot, std::vector<unsigned char> const& pin, bool oneWay) = 0;

    /// Gives the CAM a new PIN. See VerifyCamPin.
    virtual int SetCamPin(unsigned char slot, std::vector<unsigned char> const& pin, bool oneWay) = 0;

    /// Answers a CAM that asked for its firmware to be upgraded.
    /// \param[in] slot    slot number
    /// \param[in] answer  the viewer's decision
    /// \param[in] oneWay  do not wait for the daemon
    /// \return as all; 1 when a one-way request was sent
    virtual int SendCamUpgradeReply(unsigned char slot, ECamUpgradeAnswer answer, bool oneWay) = 0;

    /// Has a CA PMT built and sent to a CAM.
    /// \param[in] slot     slot number
    /// \param[in] handle   the pipeline whose service is meant
    /// \param[in] values   16-bit values that select what the CA PMT covers; their meaning is the daemon's
    /// \param[in] command  the CA PMT command identifier
    /// \param[in] oneWay   do not wait for the daemon
    /// \return as all; 1 when a one-way request was sent
    virtual int SendCaPmt(unsigned char slot, TVSHandle const& handle, std::list<unsigned short> const& values,
                          ECaPmtCmd command, bool oneWay) = 0;

    /// The CA systems that the CAMs descramble.
    /// \param[out] caSystemIds  slot number to CA system ids; replaced by the daemon's answer
    virtual int GetCaSystemIds(std::map<unsigned char, std::list<unsigned short>>& caSystemIds) = 0;

    /// Opens a SAS session with an application in a CAM. The outcome is announced later, as a signal.
    /// \param[in]  applicationId  the application's 64-bit identifier
    /// \param[out] sessionId      a 16-bit identifier that the daemon gives back, for the SAS operations below
    virtual int ConnectToSasApplication(unsigned long long applicationId, unsigned short& sessionId) = 0;

    /// Sends data over a SAS session.
    /// \param[in] sessionId  as ConnectToSasApplication gave it; not checked here
    /// \param[in] data       the bytes
    virtual int SendSasData(unsigned short sessionId, std::vector<unsigned char> const& data) = 0;

    /// Fetches data that arrived over a SAS session.
    /// \param[in]  sessionId  as for SendSasData
    /// \param[in]  dataId     which data; its meaning is the daemon's
    /// \param[out] data       replaced by the daemon's answer
    virtual int GetSasData(unsigned short sessionId, unsigned short dataId, std::vector<unsigned char>& data) = 0;

    /// The most significant bytes of a session's Diffie-Hellman value.
    /// \param[in]  sessionId  as for SendSasData
    /// \param[out] bytes      replaced by the daemon's answer
    virtual int GetDiffHellMsb(unsigned short sessionId, std::vector<unsigned char>& bytes) = 0;

    /// Encrypts with AES in CBC mode under the session's SAK. The daemon computes, the keys stay there.
    /// \param[in]  sessionId  as for SendSasData
    /// \param[in]  input      the bytes to work on
    /// \param[out] output     replaced by the daemon's answer
    virtual int EncryptUsingAesCbcWithSAK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                          std::vector<unsigned char>& output) = 0;

    /// Decrypts with AES in ECB mode under the session's SEK. See EncryptUsingAesCbcWithSAK.
    virtual int DecryptUsingAesEcbWithSEK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                          std::vector<unsigned char>& output) = 0;

    /// Encrypts the input, joined with the session's DHSK, with AES in CBC mode under the SAK.
    /// See EncryptUsingAesCbcWithSAK.
    virtual int EncryptUsingAesCbcWithSAKConcatDHSK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                                    std::vector<unsigned char>& output) = 0;

    /// The SHA-256 of the input joined with the session's DHSK. See EncryptUsingAesCbcWithSAK.
    virtual int ComputeSHA256ConcatDHSK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                        std::vector<unsigned char>& output) = 0;

    /// Starts the hardware test of a slot. Its outcome is announced later, as a signal.
    /// \param[in] slot  slot number
    virtual int CiSlotTest(unsigned char slot) = 0;

    /// Whether a CAM forbids tuning away right now.
    /// \param[in]  handle       the pipeline that is about to tune
    /// \param[in]  stateChange  what is about to change
    /// \param[in]  value        64-bit value that goes with the change; its meaning is the daemon's
    /// \param[out] blocked      whether tuning is forbidden
    /// \return as all; without CI or answer 1, and \a blocked is false
    virtual int GetTuneBlockedByCi(TVSHandle const& handle, EStateChange const& stateChange, long long const& value,
                                   bool& blocked) = 0;

    /// Whether a CAM controls the tuner.
    /// \param[out] active  the answer
    /// \return as all; without CI or answer 1, and \a active is false
    virtual int IsHostControlActive(bool& active) = 0;

    /// Whether a CAM wants the running broadcast application to go on.
    /// \param[out] keepRunning  the answer
    /// \return as all; without CI or answer 1, and \a keepRunning is false
    virtual int GetKeepAppRunning(bool& keepRunning) = 0;

    /// Whether the CAM decides itself about transcoding video.
    /// \param[out] automatic  the answer; untouched, unlike its neighbours', without CI or answer
    virtual int IsCamVideoTranscodingAuto(bool& automatic) = 0;

    /// Whether a CAM of a model that needs special treatment is inserted.
    /// \param[out] inserted  the answer
    /// \return as all; without CI or answer 1, and \a inserted is false
    virtual int IsAnyNeotionNp4CamInserted(bool& inserted) = 0;

    /// The files that the daemon wants in the set's backup.
    /// \param[out] paths  absolute paths; replaced by the daemon's answer
    virtual int GetBackupFilePaths(std::list<std::string>& paths) = 0;

    /// Tells the daemon which files were put into the backup.
    /// \param[in] paths  absolute paths; may be empty
    virtual int BackupFileDone(std::list<std::string> const& paths) = 0;
};
} // namespace CIM
