#pragma once

#include "protocol/AppMMI.h"
#include "protocol/AuxiliaryFileSystem.h"
#include "protocol/CICAMPlayer.h"
#include "protocol/Debug.h"
#include "protocol/General.h"
#include "protocol/OperatorProfile.h"
#include "protocol/PvrCip.h"
#include "protocol/SampleDecryption.h"
#include "protocol/SignalSubscriber.h"

#include "protocol/InterfaceList.h"
