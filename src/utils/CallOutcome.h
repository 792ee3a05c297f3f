#pragma once

#include <ciapi/CICallOutcome.h>

namespace CIM
{
/// Says what became of the calling thread's call; LastCallOutcome hands it out. Usable as long as the thread lives,
/// also in the last destructors of the program. Texts are copied, and cut to at most 255 bytes.
void KeepOutcome(ECallOutcome outcome, const char* errorName = "", const char* errorText = "");
} // namespace CIM
