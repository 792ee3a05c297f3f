#pragma once

#include <functional>
#include <string>

#include <glib.h>

/// Looks something up in the key file of a place. A file is parsed again when it may have changed since: what it says
/// now is what counts.
/// \param[in] lookUp  is lent the parsed file; its result is handed on
/// \return -ENOENT when there is no file, -EIO when it cannot be read
/// Thread-safe; in a forked child as well.
int LookUpInFile(const std::string& place, const std::function<int(GKeyFile* file)>& lookUp);
