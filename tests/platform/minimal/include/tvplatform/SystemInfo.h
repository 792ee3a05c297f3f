#pragma once

/// Read a feature key of the set. Thread-safe; may block while the set starts. Where a key cannot be read, the library
/// asks again, up to 30 times 100 ms apart.
/// \param[in]  key    "com.kelvora/featureconf/..."; those that the library reads are listed below
/// \param[out] value  written only on success
/// \return 0, or a negative errno-style code, which is logged
extern "C" int system_info_get_custom_int(const char* key, int* value);
extern "C" int system_info_get_custom_bool(const char* key, bool* value);
