#pragma once

#include <ciapi/CINameLiterals.h>

#include <string>

namespace CIM
{
namespace detail
{
struct TSNames
{
    const std::string CI_GENERAL_CONNECTION_NAME = literals::CI_GENERAL_CONNECTION_NAME;
    const std::string CI_OPERATOR_PROFILE_CONNECTION_NAME = literals::CI_OPERATOR_PROFILE_CONNECTION_NAME;
    const std::string CI_APP_MMI_CONNECTION_NAME = literals::CI_APP_MMI_CONNECTION_NAME;
    const std::string CI_PVR_CIP_CONNECTION_NAME = literals::CI_PVR_CIP_CONNECTION_NAME;
    const std::string CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME = literals::CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME;
    const std::string CI_DEBUG_CONNECTION_NAME = literals::CI_DEBUG_CONNECTION_NAME;
    const std::string CI_AUXILIARY_FILE_SYSTEM_NAME = literals::CI_AUXILIARY_FILE_SYSTEM_NAME;
    const std::string CI_CICAM_PLAYER_CONNECTION_NAME = literals::CI_CICAM_PLAYER_CONNECTION_NAME;
    const std::string CI_SAMPLE_DECRYPTION_CONNECTION_NAME = literals::CI_SAMPLE_DECRYPTION_CONNECTION_NAME;
    const std::string CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME = literals::CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME;
    const std::string CI_SIGNAL_SUBSCRIBER_OBJECT_NAME = literals::CI_SIGNAL_SUBSCRIBER_OBJECT_NAME;
    const std::string CI_FMS_SUPPORT = literals::CI_FMS_SUPPORT;
    const std::string CI_FMS_SUPPORT_CERTIFICATION = literals::CI_FMS_SUPPORT_CERTIFICATION;
    const std::string CI_FMS_NUM_OF_CI = literals::CI_FMS_NUM_OF_CI;
    const std::string CI_FMS_TVS_SUPPORTED = literals::CI_FMS_TVS_SUPPORTED;
    const std::string CI_FMS_TV_MODEL_TYPE = literals::CI_FMS_TV_MODEL_TYPE;
    const std::string CI_FMS_ECP_SUPPORT = literals::CI_FMS_ECP_SUPPORT;
    const std::string CI_FMS_DECISION_MODE_FULL_FLEX = literals::CI_FMS_DECISION_MODE_FULL_FLEX;
    const std::string CI_FMS_MENU_SUPPORT = literals::CI_FMS_MENU_SUPPORT;
    const std::string CI_FMS_B2B_OPTION_SUPPORT = literals::CI_FMS_B2B_OPTION_SUPPORT;
    const std::string CI_FMS_CANAL_READY_TNT_BIN_PATH = literals::CI_FMS_CANAL_READY_TNT_BIN_PATH;
    const std::string CI_FMS_IS_ZIGGO = literals::CI_FMS_IS_ZIGGO;
    const std::string CI_FMS_KEY_IS_PVR_SUPPORTED = literals::CI_FMS_KEY_IS_PVR_SUPPORTED;
};
/// Texts that are never destroyed: threads may call until the very end of the process. They are made once in a program,
/// when it is loaded, and only in one that includes this header.
union TUNames
{
    __attribute__((noinline)) TUNames() : all() {}
    ~TUNames() {}
    const TSNames all;
};
inline TUNames NAMES;
} // namespace detail

/// A D-Bus interface of the CI daemon; also the bus name that the daemon owns for that interface.
/// @{
inline const std::string& CI_GENERAL_CONNECTION_NAME = detail::NAMES.all.CI_GENERAL_CONNECTION_NAME;
inline const std::string& CI_OPERATOR_PROFILE_CONNECTION_NAME = detail::NAMES.all.CI_OPERATOR_PROFILE_CONNECTION_NAME;
inline const std::string& CI_APP_MMI_CONNECTION_NAME = detail::NAMES.all.CI_APP_MMI_CONNECTION_NAME;
inline const std::string& CI_PVR_CIP_CONNECTION_NAME = detail::NAMES.all.CI_PVR_CIP_CONNECTION_NAME;
inline const std::string& CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME = detail::NAMES.all.CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME;
inline const std::string& CI_DEBUG_CONNECTION_NAME = detail::NAMES.all.CI_DEBUG_CONNECTION_NAME;
inline const std::string& CI_AUXILIARY_FILE_SYSTEM_NAME = detail::NAMES.all.CI_AUXILIARY_FILE_SYSTEM_NAME;
inline const std::string& CI_CICAM_PLAYER_CONNECTION_NAME = detail::NAMES.all.CI_CICAM_PLAYER_CONNECTION_NAME;
inline const std::string& CI_SAMPLE_DECRYPTION_CONNECTION_NAME = detail::NAMES.all.CI_SAMPLE_DECRYPTION_CONNECTION_NAME;
/// @}

/// The D-Bus interface and object of the daemon's signals.
/// @{
inline const std::string& CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME = detail::NAMES.all.CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME;
inline const std::string& CI_SIGNAL_SUBSCRIBER_OBJECT_NAME = detail::NAMES.all.CI_SIGNAL_SUBSCRIBER_OBJECT_NAME;
/// @}

// Feature keys of the set, for system_info_get_custom_int and system_info_get_custom_bool. The library reads these.
inline const std::string& CI_FMS_SUPPORT = detail::NAMES.all.CI_FMS_SUPPORT; ///< bool: CI is enabled
/// bool: the certification of the set's region includes CI
inline const std::string& CI_FMS_SUPPORT_CERTIFICATION = detail::NAMES.all.CI_FMS_SUPPORT_CERTIFICATION;
inline const std::string& CI_FMS_NUM_OF_CI = detail::NAMES.all.CI_FMS_NUM_OF_CI; ///< int: the number of CI slots
/// bool: whether the daemon's start is worth waiting for
inline const std::string& CI_FMS_TVS_SUPPORTED = detail::NAMES.all.CI_FMS_TVS_SUPPORTED;
/// int: the model; on model 5 no call is sent before the daemon says that it is ready (CALL_OUTCOME_NOT_READY)
inline const std::string& CI_FMS_TV_MODEL_TYPE = detail::NAMES.all.CI_FMS_TV_MODEL_TYPE;

/// A feature key that the library does not read: here so that its users read the same one. That of ECP is a bool.
/// @{
inline const std::string& CI_FMS_ECP_SUPPORT = detail::NAMES.all.CI_FMS_ECP_SUPPORT;
inline const std::string& CI_FMS_DECISION_MODE_FULL_FLEX = detail::NAMES.all.CI_FMS_DECISION_MODE_FULL_FLEX;
inline const std::string& CI_FMS_MENU_SUPPORT = detail::NAMES.all.CI_FMS_MENU_SUPPORT;
inline const std::string& CI_FMS_B2B_OPTION_SUPPORT = detail::NAMES.all.CI_FMS_B2B_OPTION_SUPPORT;
inline const std::string& CI_FMS_CANAL_READY_TNT_BIN_PATH = detail::NAMES.all.CI_FMS_CANAL_READY_TNT_BIN_PATH;
inline const std::string& CI_FMS_IS_ZIGGO = detail::NAMES.all.CI_FMS_IS_ZIGGO;
inline const std::string& CI_FMS_KEY_IS_PVR_SUPPORTED = detail::NAMES.all.CI_FMS_KEY_IS_PVR_SUPPORTED;
/// @}
} // namespace CIM
