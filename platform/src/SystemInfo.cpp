#include <tvplatform/SystemInfo.h>

#include "KeyFile.h"
#include "KeyFileStore.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace
{
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
        const int result =
            LookUpInFile(place, [&](GKeyFile* file) { return ReadKey(file, group.c_str(), key + slash + 1, *value); });
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
