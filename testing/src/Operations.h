#pragma once

#include <ciapi-testing/Member.h>

#include "json/OperationForm.h"

namespace CIM::sim
{
class TCSkeletons;
}

namespace CIM::test
{
/// The operation that a test names.
/// \throws std::invalid_argument when it is never sent to the daemon
const json::TCOperationForm& FindOperation(const TSMemberKey& member);

/// Lets a function answer an operation.
/// \param[in] function  a std::function of the operation's type, which is moved from; an empty one gives the operation
///                      back
void Answer(sim::TCSkeletons& skeletons, const TSMemberKey& member, void* function);
} // namespace CIM::test
