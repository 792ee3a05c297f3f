#pragma once

#include <ciapi/CIEnumNames.h>

// The enumerations that applications exchange with the daemon. The numbers are the protocol: never change one, never
// fill a gap. A value without a name is legal; what it means is the daemon's.
//
// ToString(value) gives the name. For a value without a name it writes one log line "... Out of scope(<value>)" and
// gives an empty text; the three enumerations of the auxiliary file system log nothing and give
// "<enumeration> Out of scope : <value>" instead. Thread-safe.

namespace CIM
{
// clang-format off

#define CIAPI_VALUES_ECaState(X) \
    X(0, CA_UNK)                 \
    X(1, CA_FTA)                 \
    X(2, CA_SCR)
/// Whether a service is scrambled.
CIAPI_ENUMERATION(ECaState)

#define CIAPI_VALUES_ECIApplicationType(X) \
    X(1, CI_APPLICATION_TYPE_CA)           \
    X(2, CI_APPLICATION_TYPE_EPG)          \
    X(3, CI_APPLICATION_TYPE_RESERVED)
/// The type of the application in a CAM, as its application information says. 0 has no name.
CIAPI_ENUMERATION(ECIApplicationType)

#define CIAPI_VALUES_EMmiAnswerId(X) \
    X(0, MMI_ANSWER_ID_CANCEL)       \
    X(1, MMI_ANSWER_ID_ANSWER)       \
    X(2, MMI_ANSWER_ID_RESERVED)
/// How an MMI enquiry was answered.
CIAPI_ENUMERATION(EMmiAnswerId)

#define CIAPI_VALUES_ECaPmtCmd(X) \
    X(1, ECAPMTCMD_OKDESCR)       \
    X(2, ECAPMTCMD_OKMMI)         \
    X(3, ECAPMTCMD_QUERY)         \
    X(4, ECAPMTCMD_NOT_SELECTED)  \
    X(5, ECAPMTCMD_RFU)
/// The command identifier of a CA PMT. 0 has no name.
CIAPI_ENUMERATION(ECaPmtCmd)

#define CIAPI_VALUES_ECamUpgradeMode(X) \
    X(0, CAM_UPGRADE_MODE_DELAYED)      \
    X(1, CAM_UPGRADE_MODE_IMMEDIATE)
/// When a CAM wants its firmware upgraded.
CIAPI_ENUMERATION(ECamUpgradeMode)

#define CIAPI_VALUES_ECamUpgradeAnswer(X) \
    X(0, CAM_UPGRADE_ANSWER_NO)           \
    X(1, CAM_UPGRADE_ANSWER_YES)          \
    X(2, CAM_UPGRADE_ANSWER_ASK)
/// The host's answer to a CAM's request for a firmware upgrade.
CIAPI_ENUMERATION(ECamUpgradeAnswer)

#define CIAPI_VALUES_ECamUpgradeStatus(X)    \
    X(0, CAM_UPGRADE_STATUS_RESET)           \
    X(1, CAM_UPGRADE_STATUS_PROGRESS)        \
    X(2, CAM_UPGRADE_STATUS_REPLY_REQUESTED)
/// Where a CAM's firmware upgrade stands.
CIAPI_ENUMERATION(ECamUpgradeStatus)

#define CIAPI_VALUES_ECamPinCodeStatus(X)                 \
    X(0, CAM_PIN_CODE_STATUS_BAD)                         \
    X(1, CAM_PIN_CODE_STATUS_CAM_BUSY)                    \
    X(2, CAM_PIN_CODE_STATUS_CORRECT)                     \
    X(3, CAM_PIN_CODE_STATUS_UNCONFIRMED)                 \
    X(4, CAM_PIN_CODE_STATUS_VIDEO_BLANKING_NOT_REQUIRED) \
    X(5, CAM_PIN_CODE_STATUS_CONTENT_STILL_SCRAMBLED)     \
    X(6, CAM_PIN_CODE_STATUS_VBNR)                        \
    X(7, CAM_PIN_CODE_SUPPORTED)
/// A CAM's reply to a PIN code.
CIAPI_ENUMERATION(ECamPinCodeStatus)

#define CIAPI_VALUES_EWriteCipKeyResult(X) \
    X(0, WRITE_CIP_NA)                     \
    X(1, WRITE_CIP_SUCCESS)                \
    X(2, WRITE_CIP_FAIL)
/// The outcome of writing the CI Plus key.
CIAPI_ENUMERATION(EWriteCipKeyResult)

#define CIAPI_VALUES_ECICipCertificateType(X) \
    X(0, CIP_CERTIFICATE_TYPE_INVALID)        \
    X(1, CIP_CERTIFICATE_TYPE_PRODUCTION)     \
    X(2, CIP_CERTIFICATE_TYPE_TEST)           \
    X(3, CIP_CERTIFICATE_TYPE_TEST_CAMALEON)
/// Which certificate authority the set's CI Plus certificate comes from.
CIAPI_ENUMERATION(ECICipCertificateType)

#define CIAPI_VALUES_ECICipCertificateKind(X)   \
    X(0, CIP_CERTIFICATE_KIND_NONE)             \
    X(1, CIP_CERTIFICATE_KIND_STANDARD)         \
    X(2, CIP_CERTIFICATE_KIND_ECP)              \
    X(3, CIP_CERTIFICATE_KIND_STANDARD_AND_ECP)
/// Which kinds of CI Plus certificates the set holds.
CIAPI_ENUMERATION(ECICipCertificateKind)

#define CIAPI_VALUES_ECiMmiStatus(X)     \
    X(0, CI_MMI_STATUS_SESSION_CLOSED)   \
    X(1, CI_MMI_STATUS_ENQUIRY_RECEIVED) \
    X(2, CI_MMI_STATUS_TEXT_RECEIVED)    \
    X(3, CI_MMI_STATUS_MENU_RECEIVED)    \
    X(4, CI_MMI_STATUS_LIST_RECEIVED)
/// What happened in a CAM's MMI session.
CIAPI_ENUMERATION(ECiMmiStatus)

#define CIAPI_VALUES_ECamStatus(X) \
    X(0, CAM_STATUS_NO_CAM)        \
    X(1, CAM_STATUS_READY)
/// Whether a slot holds a CAM that can be used.
CIAPI_ENUMERATION(ECamStatus)

#define CIAPI_VALUES_ECICapability(X)    \
    X(1, CI_CAPABILITY_DEFAULT)          \
    X(2, CI_CAPABILITY_MULTI_DESCRAMBLE)
/// What a set can do with its CI slots. 0 has no name.
CIAPI_ENUMERATION(ECICapability)

#define CIAPI_VALUES_ECamMode(X) \
    X(0, CAM_MODE_CI)            \
    X(1, CAM_MODE_CI_PLUS)
/// Which protocol a CAM speaks.
CIAPI_ENUMERATION(ECamMode)

#define CIAPI_VALUES_EPinWindowShowHandler(X)               \
    X(0, PIN_WINDOW_SHOW_HANDLER_UNSPECIFIED)               \
    X(1, PIN_WINDOW_SHOW_HANDLER_IS_CAM)                    \
    X(2, PIN_WINDOW_SHOW_HANDLER_IS_HOST)                   \
    X(3, PIN_WINDOW_SHOW_HANDLER_IS_CAM_REQUEST_NOT_NEEDED) \
    X(4, PIN_WINDOW_SHOW_HANDLER_IS_CAM_REQUEST_NEEDED)
/// Who shows the window that asks for a CAM's PIN code.
CIAPI_ENUMERATION(EPinWindowShowHandler)

#define CIAPI_VALUES_ESasConnectionStatus(X)                \
    X(0, SAS_CONNECTION_STATUS_CONNECT_OK)                  \
    X(1, SAS_CONNECTION_STATUS_CONNECT_DENIED_NO_APP)       \
    X(2, SAS_CONNECTION_STATUS_CONNECT_DENIED_TOO_MANY_APP)
/// A CAM's reply to the connection to an application over the specific application support (SAS) resource.
CIAPI_ENUMERATION(ESasConnectionStatus)

#define CIAPI_VALUES_ECamSasStatus(X)   \
    X(0, CAM_SAS_STATUS_SESSION_OPEN)   \
    X(1, CAM_SAS_STATUS_SESSION_CLOSED) \
    X(2, CAM_SAS_STATUS_CONNECT_RESULT) \
    X(3, CAM_SAS_STATUS_DATA_RECEIVED)
/// What happened in a SAS session.
CIAPI_ENUMERATION(ECamSasStatus)

#define CIAPI_VALUES_EAppMmiMessage(X) \
    X(0, CI_APPMMI_MESSAGE_START_APP)  \
    X(1, CI_APPMMI_MESSAGE_FILE_ACK)   \
    X(2, CI_APPMMI_MESSAGE_ABORT_REQ)  \
    X(3, CI_APPMMI_MESSAGE_ABORT_ACK)
/// A message of the application MMI resource.
CIAPI_ENUMERATION(EAppMmiMessage)

#define CIAPI_VALUES_EAppMmiName(X) \
    X(0, CI_APPMMI_MHEG)            \
    X(1, CI_APPMMI_HBB)             \
    X(2, CI_APPMMI_MHP)             \
    X(255, CI_APPMMI_INVALID)
/// The kind of application that the application MMI resource starts.
CIAPI_ENUMERATION(EAppMmiName)

#define CIAPI_VALUES_EAppMmiState(X) \
    X(0, CI_APPMMI_STATE_ABSENT)     \
    X(1, CI_APPMMI_STATE_READY)      \
    X(2, CI_APPMMI_STATE_WAITING)    \
    X(3, CI_APPMMI_STATE_PLAYING)    \
    X(4, CI_APPMMI_STATE_IDLE)
/// The state of an application of the application MMI resource.
CIAPI_ENUMERATION(EAppMmiState)

#define CIAPI_VALUES_ECiSasDescramblingStatus(X)       \
    X(0, CI_SAS_DESCRAMBLING_STATUS_NO_SIGNAL)         \
    X(1, CI_SAS_DESCRAMBLING_STATUS_NO_SIGNAL_RECOVER) \
    X(2, CI_SAS_DESCRAMBLING_STATUS_FAILED)            \
    X(3, CI_SAS_DESCRAMBLING_STATUS_SUCCESS)           \
    X(4, CI_SAS_DESCRAMBLING_STATUS_DECODER_ERROR)     \
    X(5, CI_SAS_DESCRAMBLING_STATUS_DECODER_NO_ERROR)
/// How descrambling goes, as told to a SAS application.
CIAPI_ENUMERATION(ECiSasDescramblingStatus)

#define CIAPI_VALUES_ECiCamMonitorStatus(X)    \
    X(0, CI_CAM_MONITOR_STATUS_ERROR_DETECTED) \
    X(1, CI_CAM_MONITOR_STATUS_ERROR_RECOVER)
/// What the supervision of a CAM found.
CIAPI_ENUMERATION(ECiCamMonitorStatus)

#define CIAPI_VALUES_ECICipTestResult(X) \
    X(-1, CI_CIP_TEST_UNKNOWN)           \
    X(0, CI_CIP_TEST_FAIL)               \
    X(1, CI_CIP_TEST_SUCCESS)
/// The result of a test of the CI Plus certificate.
CIAPI_ENUMERATION(ECICipTestResult)

#define CIAPI_VALUES_ECICipTestECPResult(X) \
    X(0, CI_CIP_TEST_ECP_UNKNOWN)           \
    X(1, CI_CIP_TEST_ECP_FAIL)              \
    X(2, CI_CIP_TEST_ECP_SUCCESS)           \
    X(3, CI_CIP_TEST_ECP_FAIL_EMPTY)        \
    X(4, CI_CIP_TEST_ECP_SUCCESS_EMPTY)
/// The result of a test of the ECP certificate.
CIAPI_ENUMERATION(ECICipTestECPResult)

#define CIAPI_VALUES_ECamOperatorProfileStatus(X)              \
    X(0, CAM_OP_STATUS_NEW_OP_INSERTED)                        \
    X(1, CAM_OP_STATUS_INSTALLATION_SUCCESS)                   \
    X(2, CAM_OP_STATUS_INSTALLATION_FAILED)                    \
    X(3, CAM_OP_STATUS_UPDATE_READY_TO_START)                  \
    X(4, CAM_OP_STATUS_UPDATE_SUCCESS)                         \
    X(5, CAM_OP_STATUS_UPDATE_FAILED)                          \
    X(6, CAM_OP_STATUS_ENTITLEMENT_CHANGE)                     \
    X(7, CAM_OP_STATUS_REFRESH_REQUEST)                        \
    X(8, CAM_OP_STATUS_REFRESH_REQUEST_AND_ENTITLEMENT_CHANGE) \
    X(9, CAM_OP_STATUS_AUTHENTICATION_REMOVED)
/// What happened to a CAM's operator profile.
CIAPI_ENUMERATION(ECamOperatorProfileStatus)

#define CIAPI_VALUES_EOperatorProfileInstallationOrigin(X) \
    X(0, OP_INSTALLATION_INACTIVE)                         \
    X(1, OP_INSTALLATION_ACTIVATED_PNP)                    \
    X(2, OP_INSTALLATION_ACTIVATED_AUTO_TUNE)              \
    X(3, OP_INSTALLATION_ACTIVATED_CI_APP)
/// What an installation of an operator profile was started from.
CIAPI_ENUMERATION(EOperatorProfileInstallationOrigin)

#define CIAPI_VALUES_EOperatorProfileStartInstallationStatus(X) \
    X(0, OP_START_INSTALLATION_STARTED)                         \
    X(1, OP_START_INSTALLATION_NO_CAM)                          \
    X(2, OP_START_INSTALLATION_NO_OPERATOR_PROFILE)             \
    X(3, OP_START_INSTALLATION_ALREADY_RUNNING)                 \
    X(4, OP_START_INSTALLATION_REFUSED)
/// What became of the request to install an operator profile. Shared with the daemon.
CIAPI_ENUMERATION(EOperatorProfileStartInstallationStatus)

#define CIAPI_VALUES_ECIAuxiliaryFileSystemMessage(X) \
    X(0, CI_FILE_RETRIEVAL_NEW_FILE_SYSTEM)           \
    X(1, CI_FILE_RETRIEVAL_NEW_FILE)                  \
    X(2, CI_FILE_RETRIEVAL_DEL_FILE_SYSTEM)
/// A message of the auxiliary file system resource.
CIAPI_ENUMERATION(ECIAuxiliaryFileSystemMessage)

#define CIAPI_VALUES_EFileRequestType(X) \
    X(0, APP_REQUEST_FILE)               \
    X(1, APP_REQUEST_DATA)               \
    X(2, APP_REQUEST_FILEHASH)           \
    X(3, APP_REQUEST_REQ_TYPES)
/// What a file request of the auxiliary file system asks for.
CIAPI_ENUMERATION(EFileRequestType)

#define CIAPI_VALUES_EFileRequestAckCode(X) \
    X(0, ACK_CODE_RESERVED)                 \
    X(1, ACK_CODE_OK)                       \
    X(2, ACK_CODE_WRONG_API)
/// The acknowledgement of a file request.
CIAPI_ENUMERATION(EFileRequestAckCode)

#define CIAPI_VALUES_ECIDebugMessage(X)                  \
    X(0, CI_DEBUG_MESSAGE_ALERT_WRONG_CI_MODULE_VERSION)
/// A message for service staff.
CIAPI_ENUMERATION(ECIDebugMessage)

#define CIAPI_VALUES_ECIDebugMSPUCommand(X) \
    X(0, CI_DEBUG_SET_TUNER_MAIN)           \
    X(1, CI_DEBUG_SET_ROUTE_BYPASS)         \
    X(2, CI_DEBUG_SET_ROUTE_THROUGH)        \
    X(3, CI_DEBUG_SET_MSPU_TUNER_MAIN)      \
    X(4, CI_DEBUG_SET_MSPU_TUNER_SUB)       \
    X(5, CI_DEBUG_MSPU_SET_LTS_ID)          \
    X(6, CI_DEBUG_MSPU_CLEAR_LTS_ID)        \
    X(7, CI_DEBUG_MSPU_CLEAR_ALL)           \
    X(8, CI_DEBUG_MSPU_CLEAR_ALL_LTSID)     \
    X(9, CI_DEBUG_MSPU_START)               \
    X(10, CI_DEBUG_MSPU_START_LTSID)        \
    X(11, CI_DEBUG_MSPU_STOP)               \
    X(12, CI_DEBUG_MSPU_STOP_LTSID)
/// A command to the multi-stream processing unit (MSPU).
CIAPI_ENUMERATION(ECIDebugMSPUCommand)

#define CIAPI_VALUES_ECIDebugMSPUScenario(X) \
    X(0, START_SMARDTV_CLSCR_002)            \
    X(1, START_SMARDTV_CC_002)               \
    X(2, START_SMARDTV_CC_003)
/// A test scenario of the multi-stream processing unit.
CIAPI_ENUMERATION(ECIDebugMSPUScenario)

#define CIAPI_VALUES_EThumbType(X)     \
    X(0, THUMB_TYPE_OK)                \
    X(1, THUMB_TYPE_PARTIAL_RETENTION) \
    X(2, THUMB_TYPE_INVALID)
/// Whether the thumbnail of a recording may be shown.
CIAPI_ENUMERATION(EThumbType)

#define CIAPI_VALUES_EInfoType(X)      \
    X(0, INFO_TYPE_NO_CICAM_INFO)      \
    X(1, INFO_TYPE_PLAY_COUNT)         \
    X(2, INFO_TYPE_NOT_VALID)          \
    X(3, INFO_TYPE_NOT_VERIFIED)       \
    X(4, INFO_TYPE_CICAM_NOT_INSERTED)
/// What is known about a protected recording.
CIAPI_ENUMERATION(EInfoType)

#define CIAPI_VALUES_EPvrRecordState(X) \
    X(0, RECORD_STATE_NONE)             \
    X(1, RECORD_STATE_REC)              \
    X(2, RECORD_STATE_PAUSED)           \
    X(3, RECORD_STATE_STOPPED)          \
    X(4, RECORD_STATE_PENDING)
/// The state of a recording.
CIAPI_ENUMERATION(EPvrRecordState)

#define CIAPI_VALUES_EPvrPlaybackState(X) \
    X(0, PLAYBACK_STATE_NONE)             \
    X(1, PLAYBACK_STATE_PLAY)             \
    X(2, PLAYBACK_STATE_PAUSED)           \
    X(3, PLAYBACK_STATE_STOPPED)          \
    X(4, PLAYBACK_STATE_PENDING)
/// The state of a playback.
CIAPI_ENUMERATION(EPvrPlaybackState)

#define CIAPI_VALUES_EPvrRecordStopReasonByCI(X) \
    X(0, RECORD_STOP_INTERNAL_ERROR)             \
    X(1, RECORD_STOP_START_STATSU_INVALID)       \
    X(2, RECORD_STOP_LICENSE_STATUS_INVALID)     \
    X(3, RECORD_STOP_EMI_COPY_NO_MORE)           \
    X(4, RECORD_STOP_ZIGGO_SERVICE_LAUNCHED)
/// Why CI stopped a recording.
CIAPI_ENUMERATION(EPvrRecordStopReasonByCI)

#define CIAPI_VALUES_EPvrTimeshiftStopReasonByCI(X) \
    X(0, TIMESHIFT_STOP_INTERNAL_ERROR)             \
    X(1, TIMESHIFT_STOP_START_STATSU_INVALID)       \
    X(2, TIMESHIFT_STOP_LICENSE_STATUS_INVALID)     \
    X(3, TIMESHIFT_STOP_EMI_COPY_NO_MORE)           \
    X(4, TIMESHIFT_STOP_ZIGGO_SERVICE_LAUNCHED)
/// Why CI stopped a time shift.
CIAPI_ENUMERATION(EPvrTimeshiftStopReasonByCI)

#define CIAPI_VALUES_EPvrPlaybackStopReasonByCI(X)  \
    X(0, PLAYBACK_STOP_INTERNAL_ERROR)              \
    X(1, PLAYBACK_STOP_LICENSE_VERIFICATION_FAILS)  \
    X(2, PLAYBACK_STOP_LICENSE_STATUS_INVALID)      \
    X(3, PLAYBACK_STOP_LICENSE_EVALUATION_TIME_OUT) \
    X(4, PLAYBACK_STOP_CONTENT_EXPIRED)
/// Why CI stopped a playback.
CIAPI_ENUMERATION(EPvrPlaybackStopReasonByCI)

#define CIAPI_VALUES_MuteCode(X)  \
    X(0, e_mPinMuteCicamPresent)  \
    X(1, e_mPinMuteNoCicam)       \
    X(2, e_mPinUnmute)            \
    X(3, e_mRetentionLimitMute)   \
    X(4, e_mRetentionLimitUnmute)
/// Why audio and video are muted or no longer muted.
CIAPI_ENUMERATION(MuteCode)

// clang-format on
} // namespace CIM
