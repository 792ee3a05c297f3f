#pragma once

namespace CIM
{
/// How many columns a terminal has; 80 when that is not known.
unsigned TerminalColumns(int descriptor);
} // namespace CIM
