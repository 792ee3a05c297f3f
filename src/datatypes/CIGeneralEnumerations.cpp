#include "EnumText.h"

#include <ciapi/CIEnumerations.h>

namespace CIM
{
CIM_DEFINE_LOGGING_TEXT(ECaState, "")
CIM_DEFINE_LOGGING_TEXT(ECIApplicationType, "")
CIM_DEFINE_LOGGING_TEXT(EMmiAnswerId, "")
CIM_DEFINE_LOGGING_TEXT(ECaPmtCmd, "")
CIM_DEFINE_LOGGING_TEXT(ECamUpgradeMode, "")
CIM_DEFINE_LOGGING_TEXT(ECamUpgradeAnswer, "")
CIM_DEFINE_LOGGING_TEXT(ECamUpgradeStatus, "")
CIM_DEFINE_LOGGING_TEXT(ECamPinCodeStatus, "")
CIM_DEFINE_LOGGING_TEXT(EWriteCipKeyResult, "")
CIM_DEFINE_LOGGING_TEXT(ECICipCertificateType, "")
CIM_DEFINE_LOGGING_TEXT(ECICipCertificateKind, "")
CIM_DEFINE_LOGGING_TEXT(ECiMmiStatus, "")
CIM_DEFINE_LOGGING_TEXT(ECamStatus, "")
CIM_DEFINE_LOGGING_TEXT(ECICapability, "")
CIM_DEFINE_LOGGING_TEXT(ECamMode, "")
CIM_DEFINE_LOGGING_TEXT(EPinWindowShowHandler, "")
CIM_DEFINE_LOGGING_TEXT(ESasConnectionStatus, "")
CIM_DEFINE_LOGGING_TEXT(ECamSasStatus, "")
CIM_DEFINE_LOGGING_TEXT(EAppMmiMessage, "")
CIM_DEFINE_LOGGING_TEXT(EAppMmiName, "")
CIM_DEFINE_LOGGING_TEXT(EAppMmiState, "")
CIM_DEFINE_LOGGING_TEXT(ECiSasDescramblingStatus, "")
CIM_DEFINE_LOGGING_TEXT(ECiCamMonitorStatus, "")
CIM_DEFINE_LOGGING_TEXT(ECICipTestResult, "")
CIM_DEFINE_LOGGING_TEXT(ECICipTestECPResult, "")
CIM_DEFINE_LOGGING_TEXT(ECamOperatorProfileStatus, "")
CIM_DEFINE_LOGGING_TEXT(EOperatorProfileInstallationOrigin, "")
CIM_DEFINE_LOGGING_TEXT(EOperatorProfileStartInstallationStatus, "")
} // namespace CIM
