#pragma once

#include "json/OperationForm.h"

namespace CIM
{
/// The facade's instance of an interface, as json::TCOperationForm::Invoke takes it. Connects when it is the first. That of
/// the subscriber has no callback, unless somebody has asked the facade for it before. Thread-safe.
void* InstanceOf(const json::TCInterfaceForm& interface);
} // namespace CIM
