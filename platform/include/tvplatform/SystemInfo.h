#pragma once

#include <tvplatform/Export.h>

/// Reads a feature key of the set. The portable implementation looks, at every call, into key files: the one that
/// TVPLATFORM_SYSTEM_INFO names, $XDG_CONFIG_HOME/tvplatform/system-info.conf, /etc/tvplatform/system-info.conf; the
/// first that has the key counts. The part of a key up to its last '/' is the group of the file, the rest the key in
/// it. Without any file a terminal on standard error is told so, once a process. Thread-safe.
/// \param[in]  key    e.g. "com.kelvora/featureconf/tv_model_type"; not null
/// \param[out] value  written only on success
/// \return 0, or a negative errno-style code: -ENOENT no such key, -EINVAL not a value of this type (or a null
///         argument), -EIO a key file is there but cannot be read
extern "C" TVPLATFORM_EXPORT int system_info_get_custom_int(const char* key, int* value);
/// As above, for a key that is true or false.
extern "C" TVPLATFORM_EXPORT int system_info_get_custom_bool(const char* key, bool* value);
