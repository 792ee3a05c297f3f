#include "EnumText.h"

#include <ciapi/CIEnumerations.h>

namespace CIM
{
CIM_DEFINE_LOGGING_TEXT(ECIDebugMessage, "ECIDebugMessage ")
CIM_DEFINE_LOGGING_TEXT(ECIDebugMSPUCommand, "")
CIM_DEFINE_LOGGING_TEXT(ECIDebugMSPUScenario, "")
} // namespace CIM
