#pragma once

#include "commandline/Completion.h"

namespace CIM::cictl
{
/// What may stand in the place of a verb's argument. Where the set is asked, it has some 100 ms for its answer; when it
/// does not answer there is nothing to say. Thread-safe.
TCandidates VerbCandidates(const TSPlace& place);
} // namespace CIM::cictl
