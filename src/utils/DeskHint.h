#pragma once

namespace CIM
{
/// Tells whoever sits at the terminal, once a process, that there is no system bus and how to run without a TV: the
/// log, which says the same, is off where nobody has asked for it. Nothing where standard error is no terminal, or the
/// library is built for a TV's platform.
/// \param[in] reason  the bus's own words
void HintThatThereIsNoBus(const char* reason);
} // namespace CIM
