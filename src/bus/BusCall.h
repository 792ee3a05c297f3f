#pragma once

#include "bus/Handles.h"

namespace CIM
{
/// A call of the bus itself. Reentrant. \return null: no memory
TCMessagePtr MakeBusCall(const char* member);
/// ... with one text. \param[in] text  UTF-8
TCMessagePtr MakeBusCall(const char* member, const char* text);
} // namespace CIM
