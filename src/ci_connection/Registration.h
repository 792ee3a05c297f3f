#pragma once

#include "bus/Handles.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace CIM
{
class TCCallRouter;

/// Registers a connection with the bus through its router. \return the unique name; empty with the error set
std::string Register(TCCallRouter& router, TCDBusError& error);

/// Registers a connection with the bus and asks for a name on the way: the bus is waited for once.
/// \param[in] meanwhile  runs while the bus is at work. \return the name to ask for, in place of an owner that allows it;
///                       nothing, with the error set: no registration is wanted any more
/// \param[out] error      why the connection is not registered; also for what runs meanwhile
/// \param[out] nameError  why it does not have the name
void Register(DBusConnection* connection, const std::function<std::optional<std::string>()>& meanwhile,
              std::chrono::milliseconds time, TCDBusError& error, TCDBusError& nameError);
} // namespace CIM
