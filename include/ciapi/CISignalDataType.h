#pragma once

#include <ciapi/CIEnumNames.h>

#include <tvplatform/Types.h>

namespace CIM
{
// clang-format off
#define CIAPI_VALUES_ECISignalType(X)                    \
    X(16, SIGNAL_CI_TYPE_BEGIN)                          \
    X(17, SIGNAL_CI_MMI_STATUS_CHANGED)                  \
    X(18, SIGNAL_CI_CAM_COMPATIBILITY_ISSUE)             \
    X(19, SIGNAL_CI_TTX_STATUS_CHANGE)                   \
    X(20, SIGNAL_CI_CAM_READY_STATUS_CHANGED)            \
    X(21, SIGNAL_CI_CHECK_PARENTAL_RATING_HANDLERS)      \
    X(22, SIGNAL_CI_PIN_REPLY_TO_PIN_MMI_REQ)            \
    X(23, SIGNAL_CI_PIN_REPLY_TO_PIN_CMD)                \
    X(24, SIGNAL_CI_PIN_REPLY_TO_CI_APP_REQUEST)         \
    X(25, SIGNAL_CI_PIN_REPLY_TO_PIN_PLAYBACK)           \
    X(26, SIGNAL_CI_PIN_REPLY_TO_PIN_EVENT)              \
    X(27, SIGNAL_CI_APP_MMI_START_APP)                   \
    X(28, SIGNAL_CI_APP_MMI_FILE_ACK)                    \
    X(29, SIGNAL_CI_APP_MMI_ABORT_REQ)                   \
    X(30, SIGNAL_CI_APP_MMI_ABORT_ACK)                   \
    X(31, SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE)            \
    X(32, SIGNAL_CI_OPERATOR_PROFILE_STATUS_CHANGE)      \
    X(33, SIGNAL_CI_SAS_STATUS_CHANGE)                   \
    X(34, SIGNAL_CI_CA_SYSTEMS_CHANGE)                   \
    X(35, SIGNAL_CI_SLOT_TEST_RESULT)                    \
    X(36, SIGNAL_CI_CAM_MONITOR_STATUS)                  \
    X(37, SIGNAL_CI_VIDEODEC_ERROR_DETECT)               \
    X(38, SIGNAL_CI_CA_REPLY)                            \
    X(39, SIGNAL_CI_TUNE_ACK_SERVICE_CHANGE_ALLOWED)     \
    X(40, SIGNAL_CI_TUNE_ACK_SERVICE_CHANGE_NOT_ALLOWED) \
    X(41, SIGNAL_CI_TUNE_ACK_SOURCE_CHANGE_ALLOWED)      \
    X(42, SIGNAL_CI_TUNE_ACK_SOURCE_CHANGE_NOT_ALLOWED)  \
    X(43, SIGNAL_CI_REQUEST_TUNE_BLOCKING)               \
    X(44, SIGNAL_CI_TUNER_RELEASE_REPLY_STATUS)          \
    X(45, SIGNAL_CI_DECODER_ERROR_STATUS_CHANGED)        \
    X(46, SIGNAL_CI_RECORD_STOP_REQUEST)                 \
    X(47, SIGNAL_CI_TIMESHIFT_STOP_REQUEST)              \
    X(48, SIGNAL_CI_PLAYBACK_STOP_REQUEST)               \
    X(49, SIGNAL_CI_SAS_STREAM_STATUS_CHANGED)           \
    X(50, SIGNAL_CI_APPMMI_MESSAGE)                      \
    X(51, SIGNAL_CI_APPMMI_SERVICE_CHANGED)              \
    X(52, SIGNAL_CI_PMT_SENT_TO_CAM)                     \
    X(53, SIGNAL_CI_HDS_REQUEST_CHANGED)                 \
    X(54, SIGNAL_CI_CAM_CONNECTED_TO_PIPELINE)           \
    X(55, SIGNAL_CI_TRICK_MODE_CONTROL)                  \
    X(56, SIGNAL_CI_CC_LICENSE_CONFIRMED)                \
    X(57, SIGNAL_CI_FILE_RETRIEVAL_MESSAGE)              \
    X(58, SIGNAL_CI_SHOW_DEBUG_MESSAGE)                  \
    X(59, SIGNAL_CI_CAM_MODE_CHANGED)                    \
    X(60, SIGNAL_CI_SAC_STATUS_CHANGE)                   \
    X(61, SIGNAL_CI_SAMPLE_DECRYPTION_STATUS_CHANGED)    \
    X(62, SIGNAL_CI_CICAM_PLAYER_CONTENT_VERIFIED)       \
    X(63, SIGNAL_CI_CICAM_PLAYER_PLAYBACK_STATUS)        \
    X(64, SIGNAL_CI_CICAM_PLAYER_ERROR)                  \
    X(65, SIGNAL_CI_CICAM_PLAYER_INFO_DURATION)          \
    X(66, SIGNAL_CI_CICAM_PLAYER_INFO_POSITION)          \
    X(67, SIGNAL_CI_CICAM_PLAYER_INFO_SPEED)             \
    X(4095, SIGNAL_CI_TYPE_END)
/// The signals of the daemon. 16 and 4095 bound the range and are no signals themselves. ToString gives the number and
/// the name, "[31]SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE", or "[5]Out of scope" when there is none, and logs nothing.
CIAPI_ENUMERATION(ECISignalType)
// clang-format on

/// What comes with a signal: 8 bytes whose meaning depends on the signal and is agreed between daemon and applications.
struct TSSignalData
{
    unsigned char bytes[8] = {}; ///< as they travel
};
static_assert(sizeof(TSSignalData) == 8, "signal data travels as eight bytes");

/// An application's callback for signals: the signal, the profile and handle number of the TV pipeline, the signal's
/// data and the pointer given with the subscription (null when none matches). Its result is ignored.
using TCISignalCallback = int (*)(ECISignalType, EProfile, unsigned short, TSSignalData, void*);
} // namespace CIM
