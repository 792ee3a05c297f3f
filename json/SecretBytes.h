#pragma once

#include "json/OperationForm.h"

#include <span>

namespace CIM::json
{
/// Overwrites the secrets in the payload of a request, for what is kept of it; every length stays as it is. Where a secret
/// could stand outside the arguments that are known as such, the whole payload is overwritten. The bytes may be anybody's.
/// \param[in] interface, operation  what was called; null when unknown
void OverwriteSecrets(const TCInterfaceForm* interface, const TCOperationForm* operation, std::span<char> payload);
} // namespace CIM::json
