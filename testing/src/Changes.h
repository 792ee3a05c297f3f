#pragma once

namespace CIM::test
{
/// Lets RunUntil look at its condition again. Thread-safe.
void TellChange();
} // namespace CIM::test
