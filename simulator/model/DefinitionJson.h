#pragma once

#include "Definition.h"
#include "Json.h"

namespace CIM::sim
{
/// Reads what docs/simulator-model.md describes.
/// \throws TCJsonError
TSSetDefinition ReadSet(const TSJsonAt& at);

void Read(const TSJsonAt& at, TSCamDefinition& cam);
void Read(const TSJsonAt& at, TSRecordingDefinition& recording);
void Read(const TSJsonAt& at, TSMmiPage& page);
} // namespace CIM::sim
