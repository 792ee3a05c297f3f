#pragma once

/// The names of CINames.h as literals: constants that nothing has to be run for when a program or a library is loaded.
namespace CIM::literals
{
/// A D-Bus interface of the CI daemon; also the bus name that the daemon owns for that interface.
/// @{
inline constexpr char CI_GENERAL_CONNECTION_NAME[] = "com.kelvora.ciapi.ICIGeneral";
inline constexpr char CI_OPERATOR_PROFILE_CONNECTION_NAME[] = "com.kelvora.ciapi.ICIOperatorProfile";
inline constexpr char CI_APP_MMI_CONNECTION_NAME[] = "com.kelvora.ciapi.ICIAppMMI";
inline constexpr char CI_PVR_CIP_CONNECTION_NAME[] = "com.kelvora.ciapi.IPvrCip";
inline constexpr char CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME[] = "com.kelvora.ciapi.ICISignalSubscriber";
inline constexpr char CI_DEBUG_CONNECTION_NAME[] = "com.kelvora.ciapi.ICIDebug";
inline constexpr char CI_AUXILIARY_FILE_SYSTEM_NAME[] = "com.kelvora.ciapi.ICIAuxiliaryFileSystem";
inline constexpr char CI_CICAM_PLAYER_CONNECTION_NAME[] = "com.kelvora.ciapi.ICICAMPlayer";
inline constexpr char CI_SAMPLE_DECRYPTION_CONNECTION_NAME[] = "com.kelvora.ciapi.ICISampleDecryption";
/// @}

/// The D-Bus interface and object of the daemon's signals.
/// @{
inline constexpr char CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME[] = "com.kelvora.ciapi.SignalIFace";
inline constexpr char CI_SIGNAL_SUBSCRIBER_OBJECT_NAME[] = "/com/kelvora/ciapi/SignalObject";
/// @}

// Feature keys of the set, for system_info_get_custom_int and system_info_get_custom_bool. The library reads these.
inline constexpr char CI_FMS_SUPPORT[] = "com.kelvora/featureconf/broadcasting.ci.support"; ///< bool: CI is enabled
/// bool: the certification of the set's region includes CI
inline constexpr char CI_FMS_SUPPORT_CERTIFICATION[] = "com.kelvora/featureconf/broadcasting.certification.ci";
inline constexpr char CI_FMS_NUM_OF_CI[] = "com.kelvora/featureconf/product.num_of_ci"; ///< int: the number of CI slots
/// bool: whether the daemon's start is worth waiting for
inline constexpr char CI_FMS_TVS_SUPPORTED[] = "com.kelvora/featureconf/broadcasting.tvs_supported";
/// int: the model; on model 5 no call is sent before the daemon says that it is ready (CALL_OUTCOME_NOT_READY)
inline constexpr char CI_FMS_TV_MODEL_TYPE[] = "com.kelvora/featureconf/tv_model_type";

/// A feature key that the library does not read: here so that its users read the same one. That of ECP is a bool.
/// @{
inline constexpr char CI_FMS_ECP_SUPPORT[] = "com.kelvora/featureconf/broadcasting.ci.ecp";
inline constexpr char CI_FMS_DECISION_MODE_FULL_FLEX[] =
    "com.kelvora/featureconf/broadcasting.ci.decision_mode_full_flex";
inline constexpr char CI_FMS_MENU_SUPPORT[] = "com.kelvora/featureconf/broadcasting.ci.menu_support";
inline constexpr char CI_FMS_B2B_OPTION_SUPPORT[] = "com.kelvora/featureconf/product.b2b_option_support";
inline constexpr char CI_FMS_CANAL_READY_TNT_BIN_PATH[] = "com.kelvora/featureconf/canal_ready_tnt_bin_path";
inline constexpr char CI_FMS_IS_ZIGGO[] = "com.kelvora/featureconf/broadcasting.channel_search.upc_is_ziggo";
inline constexpr char CI_FMS_KEY_IS_PVR_SUPPORTED[] = "com.kelvora/featureconf/pvr.pvr_support";
/// @}
} // namespace CIM::literals
