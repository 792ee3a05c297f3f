#pragma once

#include "SignalData.h"

#include <ciapi/CIAuxiliaryFileSystemDataType.h>
#include <ciapi/CIOperatorProfileDataType.h>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

// What a set and its CAMs are, as plain records. Durations are virtual milliseconds unless a name says otherwise.
// docs/simulator-model.md lists the same members as they are written in JSON.

namespace CIM::sim
{
using TBytes = std::vector<unsigned char>;

enum EMmiKind : int
{
    MMI_KIND_CLOSE, ///< ends the session
    MMI_KIND_BACK,  ///< back to the page before
    MMI_KIND_MENU,
    MMI_KIND_LIST,
    MMI_KIND_TEXT,
    MMI_KIND_ENQUIRY,
};

struct TSMmiEntry;

/// One page of a CAM's MMI, and where its answers lead.
struct TSMmiPage
{
    EMmiKind kind = MMI_KIND_CLOSE;
    std::u16string title;    ///< the text itself when the kind is text
    std::u16string subtitle; ///< menu and list
    std::u16string bottom;   ///< menu and list
    std::vector<TSMmiEntry> entries;

    std::u16string prompt; ///< enquiry; "{tries}" becomes the number of PIN tries left
    bool blind = false;
    unsigned char length = 255;               ///< the most characters an answer may have; 255: any number
    bool checksPin = false;                   ///< the answer is the CAM's PIN
    std::vector<std::u16string> rightAnswers; ///< empty, and no PIN: every answer is right
    std::vector<TSMmiPage> whenRight;         ///< the next page, none or one; none: back
    std::vector<TSMmiPage> whenWrong;         ///< none: the same enquiry again
    std::vector<TSMmiPage> whenLocked;        ///< the PIN is blocked; none: the session ends

    int closeAfterMs = 0;  ///< the CAM closes the session after this time; 0: it waits for the viewer
    int redrawEveryMs = 0; ///< the CAM sends the page again and again; 0: once
};

/// A line of a menu or list, and the page it opens.
struct TSMmiEntry
{
    std::u16string text;
    TSMmiPage page;
};

struct TSPinDefinition
{
    std::string digits = "1234"; ///< never shown; empty: the CAM has no PIN
    int tries = 3;
    int blockMs = 600'000; ///< how long the third wrong PIN blocks
    bool canBeChanged = true;
    int replyMs = 200;
    EPinWindowShowHandler handler = PIN_WINDOW_SHOW_HANDLER_IS_HOST;
    ECamPinCodeStatus whenRight = CAM_PIN_CODE_STATUS_CORRECT; ///< what a right PIN is answered with
};

struct TSUpgradeDefinition
{
    int stepMs = 500;
    int stepPercent = 10;
    int stuckAtPercent = -1; ///< progress waits there; -1: nowhere
    int stuckMs = 0;
    int failAtPercent = -1; ///< the upgrade fails there; -1: it does not
    int graceMs = 5'000;    ///< an immediate upgrade starts after this time without the viewer's answer
    EUpgradeReset reset = UPGRADE_RESET_PCMCIA;
    std::u16string newMenuString; ///< application information after the upgrade; empty: as before
};

struct TSSasApplicationDefinition
{
    std::uint64_t id = 0;
    ESasConnectionStatus answer = SAS_CONNECTION_STATUS_CONNECT_OK;
    int maxSessions = 1;
    bool echoes = false;
    std::vector<TBytes> onConnect;                 ///< sent as soon as the session is connected
    std::map<TBytes, std::vector<TBytes>> answers; ///< to a message exactly like the key
    int delayMs = 20;
};

struct TSFileDefinition
{
    TBytes content;
    std::uint32_t size = 0; ///< with empty content: that many bytes 0, 1, 2, ... 255, 0, ...

    TBytes Bytes() const;
};

struct TSFileSystemDefinition
{
    ECIAuxiliaryFileSystemDomainIds domain = DOMAIN_IDS_CIMHEGP1;
    std::map<std::string, TSFileDefinition> files;
    bool isOffered = true; ///< as soon as the CAM is ready
    int delayMs = 50;      ///< from request to acknowledgement
};

struct TSContentDefinition
{
    std::string location;
    bool isAllowed = true;
    int durationSeconds = -1; ///< -1: unknown, and without end
    bool isLive = false;
    int startMs = 300;
    int errorAfterMs = -1; ///< a playback error after that much playing; -1: none
    EPlayerError error = PLAYER_ERROR_PLAYBACK;
};

struct TSDrmStatusChange
{
    int afterMs = 0;
    ESampleDecryptionDRMStatus status = CI_SD_DRM_STATUS_DECRYPTION_POSSIBLE;
};

struct TSDrmDefinition
{
    unsigned short systemId = 0xFFFF; ///< 0xFFFF: known by its UUID only
    TBytes uuid;                      ///< 16 bytes, or none
    ESampleDecryptionTransmissionStatus transmission = CI_SD_TX_STATUS_READY_TO_RECEIVE;
    ESampleDecryptionDRMStatus status = CI_SD_DRM_STATUS_DECRYPTION_POSSIBLE;
    std::vector<TSDrmStatusChange> changes;
};

struct TSProfileDefinition
{
    EAntennaMode antennaMode = ANTENNA_MODE_SATELLITE;
    EServiceMode serviceMode = SERVICE_MODE_OPERATOR;
    std::u16string name;
    std::set<EAntennaMode> supportedAntennaModes;
    EOpProfileType type = OP_PROFILE_TYPE_PROFILED_TYPE_1;
    std::vector<std::u16string> contentLabels;
    bool isOffered = true; ///< as soon as the CAM is ready
    int installMs = 3'000;
    int updateMs = 2'000;
    bool installFails = false;
    bool updateFails = false;
};

struct TSAppMmiDefinition
{
    std::map<std::string, TSFileDefinition> files;
    int delayMs = 30;
};

struct TSCamDefinition
{
    std::string name;
    ECamMode mode = CAM_MODE_CI_PLUS;
    ECIApplicationType applicationType = CI_APPLICATION_TYPE_CA;
    unsigned short manufacturerId = 0;
    unsigned short manufacturerCode = 0;
    std::u16string menuString;       ///< first text of the application information
    std::u16string manufacturerText; ///< second text

    int readyMs = 1'500;   ///< from insertion to ready
    int jitterPercent = 0; ///< how far readyMs and the delays of MMI, PIN, CA and SAS vary, both ways, by the seed
    bool isSilent = false; ///< answers nothing after its CIS: reset every resetMs, resets times, then failed
    int resetMs = 30'000;
    int resets = 5;
    int trustError = 0; ///< CI Plus error code; 0: trusted; 14: goes on as plain CI; any other: fails

    std::vector<unsigned short> caSystemIds;
    bool isCardIn = true; ///< without its card the CAM has no CA system ids
    int entitlement = CA_REPLY_POSSIBLE;
    int caReplyMs = 100; ///< -1: never
    int emi = 0;         ///< copy control of what it descrambles: 0 free, 1 no more, 2 once, 3 never

    TSMmiPage menu;
    std::map<std::string, TSMmiPage> menus; ///< pages that the CAM opens by itself, by name
    int mmiMs = 50;
    bool ignoresFirstEnterMenu = false;

    TSPinDefinition pin;
    TSUpgradeDefinition upgrade;
    std::vector<TSSasApplicationDefinition> sasApplications;
    std::vector<TSFileSystemDefinition> fileSystems;
    TSAppMmiDefinition appMmi;
    std::vector<TSContentDefinition> contents;
    std::vector<TSDrmDefinition> drmSystems;
    unsigned short sampleBufferSize = 5'000;
    int maxDecryptions = 1;
    std::vector<TSProfileDefinition> profiles;

    bool holdsTuner = false;   ///< host control, as soon as it is ready
    bool releasesTuner = true; ///< when asked to
    int releaseMs = 200;       ///< -1: never answers
    bool wantsAppRunning = false;
    bool transcodesAutomatically = false;
    bool needsSpecialTreatment = false;
};

/// A section of a recording with an own retention limit, in milliseconds of the recording.
struct TSSectionDefinition
{
    std::int64_t begin = 0;
    std::int64_t end = 0;
    int retentionMinutes = 0; ///< counted from the recording's end; 0: already expired
};

/// How far skipping and winding may go: -1 without limit, 0 not at all, else so many milliseconds from the position.
struct TSTrickLimits
{
    int skipForward = -1;
    int skipBackward = -1;
    int fastForward = -1;
    int fastRewind = -1;
    int maxSpeed = 7; ///< ESpeedRestriction of both windings; 7: no restriction
};

struct TSRecordingDefinition
{
    std::string file;
    int emi = 0;                   ///< 0 free, 1 no more, 2 once, 3 never
    std::int64_t recordedAtMs = 0; ///< virtual time of its end; may be negative
    int retentionMinutes = -1;     ///< -1: 90 when copying is never allowed, else no limit
    std::int64_t durationMs = 3'600'000;
    int playCount = -1; ///< -1: any number
    bool isVerified = true;
    std::string cam; ///< the CAM, by name, that playback needs; empty: none
    bool isBlocked = false;
    std::vector<TSSectionDefinition> sections;
    TSTrickLimits limits;
};

/// Where certificates lie, and which.
struct TSCertificateStore
{
    ECICipCertificateType type = CIP_CERTIFICATE_TYPE_INVALID;
    ECICipCertificateKind kind = CIP_CERTIFICATE_KIND_NONE;
};

/// Keys of the SAS operations. The defaults are well-known test vectors' keys.
struct TSKeyDefinition
{
    TBytes sak = {0x2b, 0x7e, 0x15, 0x16, 0x28, 0xae, 0xd2, 0xa6, 0xab, 0xf7, 0x15, 0x88, 0x09, 0xcf, 0x4f, 0x3c};
    TBytes siv = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}; ///< the SAK's initialisation vector
    TBytes sek = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    TBytes dhsk; ///< empty: computed, see Crypto.h
};

struct TSSetDefinition
{
    int slots = 2;
    std::vector<TSCamDefinition> cams;
    std::map<int, std::string> inserted; ///< slot to CAM name: CAMs that are in when the model begins
    std::vector<TSRecordingDefinition> recordings;
    TSCertificateStore secureStorage{CIP_CERTIFICATE_TYPE_TEST, CIP_CERTIFICATE_KIND_STANDARD_AND_ECP};
    TSCertificateStore eeprom;
    bool isKeyWritable = true;
    TSKeyDefinition keys;
    std::vector<std::string> backupFiles;
    std::vector<std::string> protectedServices; ///< the service protection database

    const TSCamDefinition* FindCam(const std::string& name) const;
    std::vector<std::string_view> CamNames() const;
};

/// The built-in set: two slots, a CI Plus CAM in the first, something for every interface.
TSSetDefinition DefaultSet();
} // namespace CIM::sim
