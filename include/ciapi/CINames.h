#pragma once

#include <string>

namespace CIM
{
namespace detail
{
/// A text that is never destroyed: threads may call until the very end of the process.
inline const std::string& Lasting(const char* text) { return *new std::string(text); }
} // namespace detail

// The D-Bus interfaces of the CI daemon. Each is also the bus name that the daemon owns for that interface.
inline const std::string& CI_GENERAL_CONNECTION_NAME = detail::Lasting("com.kelvora.ciapi.ICIGeneral");
inline const std::string& CI_OPERATOR_PROFILE_CONNECTION_NAME = detail::Lasting("com.kelvora.ciapi.ICIOperatorProfile");
inline const std::string& CI_APP_MMI_CONNECTION_NAME = detail::Lasting("com.kelvora.ciapi.ICIAppMMI");
inline const std::string& CI_PVR_CIP_CONNECTION_NAME = detail::Lasting("com.kelvora.ciapi.IPvrCip");
inline const std::string& CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME =
    detail::Lasting("com.kelvora.ciapi.ICISignalSubscriber");
inline const std::string& CI_DEBUG_CONNECTION_NAME = detail::Lasting("com.kelvora.ciapi.ICIDebug");
inline const std::string& CI_AUXILIARY_FILE_SYSTEM_NAME = detail::Lasting("com.kelvora.ciapi.ICIAuxiliaryFileSystem");
inline const std::string& CI_CICAM_PLAYER_CONNECTION_NAME = detail::Lasting("com.kelvora.ciapi.ICICAMPlayer");
inline const std::string& CI_SAMPLE_DECRYPTION_CONNECTION_NAME =
    detail::Lasting("com.kelvora.ciapi.ICISampleDecryption");

// The D-Bus interface and object of the daemon's signals.
inline const std::string& CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME = detail::Lasting("com.kelvora.ciapi.SignalIFace");
inline const std::string& CI_SIGNAL_SUBSCRIBER_OBJECT_NAME = detail::Lasting("/com/kelvora/ciapi/SignalObject");

// Feature keys of the set, for system_info_get_custom_int and system_info_get_custom_bool. The library reads these.
inline const std::string& CI_FMS_SUPPORT =
    detail::Lasting("com.kelvora/featureconf/broadcasting.ci.support"); ///< bool: CI is enabled
/// bool: the certification of the set's region includes CI
inline const std::string& CI_FMS_SUPPORT_CERTIFICATION =
    detail::Lasting("com.kelvora/featureconf/broadcasting.certification.ci");
inline const std::string& CI_FMS_NUM_OF_CI =
    detail::Lasting("com.kelvora/featureconf/product.num_of_ci"); ///< int: the number of CI slots
/// bool: whether the daemon's start is worth waiting for
inline const std::string& CI_FMS_TVS_SUPPORTED = detail::Lasting("com.kelvora/featureconf/broadcasting.tvs_supported");
/// int: the model; on model 5 no call is sent before the daemon says that it is ready (CALL_OUTCOME_NOT_READY)
inline const std::string& CI_FMS_TV_MODEL_TYPE = detail::Lasting("com.kelvora/featureconf/tv_model_type");

// Feature keys that the library does not read: here so that its users read the same ones.
inline const std::string& CI_FMS_ECP_SUPPORT = detail::Lasting("com.kelvora/featureconf/broadcasting.ci.ecp"); ///< bool
inline const std::string& CI_FMS_DECISION_MODE_FULL_FLEX =
    detail::Lasting("com.kelvora/featureconf/broadcasting.ci.decision_mode_full_flex");
inline const std::string& CI_FMS_MENU_SUPPORT = detail::Lasting("com.kelvora/featureconf/broadcasting.ci.menu_support");
inline const std::string& CI_FMS_B2B_OPTION_SUPPORT =
    detail::Lasting("com.kelvora/featureconf/product.b2b_option_support");
inline const std::string& CI_FMS_CANAL_READY_TNT_BIN_PATH =
    detail::Lasting("com.kelvora/featureconf/canal_ready_tnt_bin_path");
inline const std::string& CI_FMS_IS_ZIGGO =
    detail::Lasting("com.kelvora/featureconf/broadcasting.channel_search.upc_is_ziggo");
inline const std::string& CI_FMS_KEY_IS_PVR_SUPPORTED = detail::Lasting("com.kelvora/featureconf/pvr.pvr_support");
} // namespace CIM
