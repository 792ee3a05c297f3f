#pragma once

#include <string>

namespace CIM
{
// The D-Bus interfaces of the CI daemon. Each is also the bus name that the daemon owns for that interface.
inline const std::string CI_GENERAL_CONNECTION_NAME = "com.kelvora.ciapi.ICIGeneral";
inline const std::string CI_OPERATOR_PROFILE_CONNECTION_NAME = "com.kelvora.ciapi.ICIOperatorProfile";
inline const std::string CI_APP_MMI_CONNECTION_NAME = "com.kelvora.ciapi.ICIAppMMI";
inline const std::string CI_PVR_CIP_CONNECTION_NAME = "com.kelvora.ciapi.IPvrCip";
inline const std::string CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME = "com.kelvora.ciapi.ICISignalSubscriber";
inline const std::string CI_DEBUG_CONNECTION_NAME = "com.kelvora.ciapi.ICIDebug";
inline const std::string CI_AUXILIARY_FILE_SYSTEM_NAME = "com.kelvora.ciapi.ICIAuxiliaryFileSystem";
inline const std::string CI_CICAM_PLAYER_CONNECTION_NAME = "com.kelvora.ciapi.ICICAMPlayer";
inline const std::string CI_SAMPLE_DECRYPTION_CONNECTION_NAME = "com.kelvora.ciapi.ICISampleDecryption";

// The D-Bus interface and object of the daemon's signals.
inline const std::string CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME = "com.kelvora.ciapi.SignalIFace";
inline const std::string CI_SIGNAL_SUBSCRIBER_OBJECT_NAME = "/com/kelvora/ciapi/SignalObject";

// Feature keys of the set, for system_info_get_custom_int and system_info_get_custom_bool. The library reads these.
inline const std::string CI_FMS_SUPPORT = "com.kelvora/featureconf/broadcasting.ci.support"; ///< bool: CI is enabled
/// bool: the certification of the set's region includes CI
inline const std::string CI_FMS_SUPPORT_CERTIFICATION = "com.kelvora/featureconf/broadcasting.certification.ci";
inline const std::string CI_FMS_NUM_OF_CI =
    "com.kelvora/featureconf/product.num_of_ci"; ///< int: the number of CI slots
/// bool: whether the daemon's start is worth waiting for
inline const std::string CI_FMS_TVS_SUPPORTED = "com.kelvora/featureconf/broadcasting.tvs_supported";
/// int: the model; on model 5 no call is sent before the daemon says that it is ready (CALL_OUTCOME_NOT_READY)
inline const std::string CI_FMS_TV_MODEL_TYPE = "com.kelvora/featureconf/tv_model_type";

// Feature keys that the library does not read: here so that its users read the same ones.
inline const std::string CI_FMS_ECP_SUPPORT = "com.kelvora/featureconf/broadcasting.ci.ecp"; ///< bool
inline const std::string CI_FMS_DECISION_MODE_FULL_FLEX =
    "com.kelvora/featureconf/broadcasting.ci.decision_mode_full_flex";
inline const std::string CI_FMS_MENU_SUPPORT = "com.kelvora/featureconf/broadcasting.ci.menu_support";
inline const std::string CI_FMS_B2B_OPTION_SUPPORT = "com.kelvora/featureconf/product.b2b_option_support";
inline const std::string CI_FMS_CANAL_READY_TNT_BIN_PATH = "com.kelvora/featureconf/canal_ready_tnt_bin_path";
inline const std::string CI_FMS_IS_ZIGGO = "com.kelvora/featureconf/broadcasting.channel_search.upc_is_ziggo";
inline const std::string CI_FMS_KEY_IS_PVR_SUPPORTED = "com.kelvora/featureconf/pvr.pvr_support";
} // namespace CIM
