#include "EnumText.h"

#include <ciapi/PvrCipDataType.h>

namespace CIM
{
CIM_DEFINE_LOGGING_TEXT(EThumbType, "")
CIM_DEFINE_LOGGING_TEXT(EInfoType, "")
CIM_DEFINE_LOGGING_TEXT(EPvrRecordState, "")
CIM_DEFINE_LOGGING_TEXT(EPvrPlaybackState, "")
CIM_DEFINE_LOGGING_TEXT(EPvrRecordStopReasonByCI, "")
CIM_DEFINE_LOGGING_TEXT(EPvrTimeshiftStopReasonByCI, "")
CIM_DEFINE_LOGGING_TEXT(EPvrPlaybackStopReasonByCI, "")
CIM_DEFINE_LOGGING_TEXT(MuteCode, "")
CIM_DEFINE_LOGGING_TEXT(ESpeedRestriction, "")
} // namespace CIM
