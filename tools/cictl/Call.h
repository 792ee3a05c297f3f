#pragma once

#include "cictl/DaemonAccess.h"
#include "cictl/Verb.h"

namespace CIM::cictl
{
/// Calls an operation and prints its result and outputs.
EExit CallAndPrint(TCDaemonAccess& daemon, const json::TCOperationForm& operation, const TJson& arguments, bool asJson);
/// Gives words to the inputs of an operation, in order. \throws TCFailure when there are too few or too many
TJson ArgumentsInOrder(const json::TCOperationForm& operation, std::span<const std::string> words);
/// What the name of a service command is: "get-slots-count" for GetSlotsCount. Runs of capitals stay together:
/// "op-clear-schedule" for OPClearSchedule.
std::string Dashed(std::string_view operation);
/// The names of its inputs, in order.
std::vector<std::string> InputNames(const json::TCOperationForm& operation);
/// What the CAM's player can be asked to do, and by which operation.
std::vector<std::pair<std::string, std::string>> PlayerActions();
} // namespace CIM::cictl
