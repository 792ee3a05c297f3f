#include <tvplatform/SystemInfo.h>

#include "KeyFile.h"

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <glib.h>

namespace
{
using TKeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_free)>;
using TError = std::unique_ptr<GError, decltype(&g_error_free)>;

// Where keys may stand, the place that wins first.
std::vector<std::string> Places()
{
    std::vector<std::string> places;
    if (const char* named = secure_getenv("TVPLATFORM_SYSTEM_INFO"); named != nullptr && *named != '\0')
    {
        places.emplace_back(named);
    }
    const char* config = secure_getenv("XDG_CONFIG_HOME");
    const char* home = secure_getenv("HOME");
    if (config != nullptr && *config == '/')
    {
        places.push_back(std::string(config) + "/tvplatform/system-info.conf");
    }
    else if (home != nullptr && *home == '/')
    {
        places.push_back(std::string(home) + "/.config/tvplatform/system-info.conf");
    }
    places.emplace_back("/etc/tvplatform/system-info.conf");
    return places;
}

template <class T>
int ReadFrom(const std::string& place, const char* group, const char* key, T& value)
{
    const TKeyFile file(g_key_file_new(), &g_key_file_free);
    GError* error = nullptr;
    if (!g_key_file_load_from_file(file.get(), place.c_str(), G_KEY_FILE_NONE, &error))
    {
        const TError owned(error, &g_error_free);
        const bool absent = g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT) ||
                            g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOTDIR);
        return absent ? -ENOENT : -EIO;
    }
    return ReadKey(file.get(), group, key, value);
}

// The files are read at every call: they are small, calls are rare, and a change counts at once.
template <class T>
int Read(const char* key, T* value)
{
    if (key == nullptr || value == nullptr)
    {
        return -EINVAL;
    }
    const std::string_view whole = key;
    const auto slash = whole.rfind('/');
    if (slash == std::string_view::npos || slash == 0 || slash + 1 == whole.size())
    {
        return -ENOENT;
    }
    const std::string group(whole.substr(0, slash));
    for (const std::string& place : Places())
    {
        const int result = ReadFrom(place, group.c_str(), key + slash + 1, *value);
        if (result != -ENOENT)
        {
            return result;
        }
    }
    return -ENOENT;
}
} // namespace

int system_info_get_custom_int(const char* key, int* value) { return Read(key, value); }

int system_info_get_custom_bool(const char* key, bool* value) { return Read(key, value); }
