#pragma once

#include "commandline/Completion.h"

namespace CIM::sim
{
/// What may stand in the place of a command's argument.
TCandidates Candidates(const TSPlace& place);
} // namespace CIM::sim
