#pragma once

#include "json/OperationForm.h"

#include <functional>

namespace CIM::sim
{
/// Calls an operation of ICIGeneral, of whoever it is. \return as json::TCOperationForm::Invoke
using TInvoke = std::function<json::TJson(const json::TCOperationForm& operation, const json::TJson& arguments)>;

/// The dialogue that the CAM in a slot has open, as an application reads it.
/// \param[in] status  what was announced; nothing: not known
/// \return {"kind": "menu", "title": ..., ...}, with the outputs of the operation as members; null: there is none
json::TJson ReadDialogue(const TInvoke& invoke, unsigned slot, std::optional<int> status = {});
} // namespace CIM::sim
