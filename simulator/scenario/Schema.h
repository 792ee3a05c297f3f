#pragma once

#include "JsonFile.h"

namespace CIM::sim
{
/// Compares a document with the schema of scenarios. Reentrant.
/// \return what is wrong, in the order of the lines; empty when nothing is
std::vector<TSProblem> CheckSchema(const TCJsonFile& file);
} // namespace CIM::sim
