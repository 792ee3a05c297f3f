#pragma once

#include <tvplatform/Export.h>

/// Reads a feature key of the set.
/// \param[in]  key    e.g. "com.kelvora/featureconf/tv_model_type"; not null
/// \param[out] value  written only on success
/// \return 0, or a negative errno-style code: -ENOENT no such key, -EINVAL not a value of this type
/// Thread-safe.
extern "C" TVPLATFORM_EXPORT int system_info_get_custom_int(const char* key, int* value);
extern "C" TVPLATFORM_EXPORT int system_info_get_custom_bool(const char* key, bool* value);
