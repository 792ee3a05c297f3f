#include "KeyFile.h"

#include <cerrno>
#include <memory>

namespace
{
// What became of reading a key; takes the error.
int Result(GError* error)
{
    const std::unique_ptr<GError, decltype(&g_error_free)> owned(error, &g_error_free);
    const bool absent = g_error_matches(error, G_KEY_FILE_ERROR, G_KEY_FILE_ERROR_GROUP_NOT_FOUND) ||
                        g_error_matches(error, G_KEY_FILE_ERROR, G_KEY_FILE_ERROR_KEY_NOT_FOUND);
    return error == nullptr ? 0 : absent ? -ENOENT : -EINVAL;
}
} // namespace

int ReadKey(GKeyFile* file, const char* group, const char* key, int& value)
{
    GError* error = nullptr;
    const int read = g_key_file_get_integer(file, group, key, &error);
    value = error == nullptr ? read : value;
    return Result(error);
}

int ReadKey(GKeyFile* file, const char* group, const char* key, bool& value)
{
    GError* error = nullptr;
    const bool read = g_key_file_get_boolean(file, group, key, &error) != FALSE;
    value = error == nullptr ? read : value;
    return Result(error);
}
