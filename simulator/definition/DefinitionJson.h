#pragma once

#include "Definition.h"
#include "json/Object.h"

namespace CIM::sim
{
// Each reads what docs/simulator-model.md describes. A CAM or a page keeps what its JSON does not name.
// \throws json::TCJsonError
void ReadJson(const json::TJson& json, TSSetDefinition& set, const json::TCJsonPath& path);
void ReadJson(const json::TJson& json, TSCamDefinition& cam, const json::TCJsonPath& path);
void ReadJson(const json::TJson& json, TSRecordingDefinition& recording, const json::TCJsonPath& path);
void ReadJson(const json::TJson& json, TSMmiPage& page, const json::TCJsonPath& path);
} // namespace CIM::sim
