#pragma once

#include <tvplatform/Export.h>

/// Turns a unique bus name (":1.42") into a well-known bus name that only this process uses.
/// \param[in]     uniqueName  the unique name; need not be terminated
/// \param[in]     length      its length in bytes
/// \param[out]    buffer      receives the terminated name
/// \param[in,out] size        room in the buffer without the terminator; then the length of the name
/// \return 0, or a negative errno-style code: -EINVAL not a unique name, -ENOSPC the name does not fit;
///         buffer and size are then untouched
extern "C" TVPLATFORM_EXPORT int IPCUtility_GenerateSubConnectionName(const char* uniqueName, int length, char* buffer,
                                                                      int* size);
