#pragma once

#include <glib.h>

// One key of a feature-key file. Private to the system information.

/// \param[out] value  unchanged when there is none
/// \return 0, -ENOENT when the file has no such group or key, -EINVAL when its value is of another kind
int ReadKey(GKeyFile* file, const char* group, const char* key, int& value);
int ReadKey(GKeyFile* file, const char* group, const char* key, bool& value);
