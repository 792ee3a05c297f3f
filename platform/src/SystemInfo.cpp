#include <tvplatform/SystemInfo.h>

#include "KeyFile.h"
#include "KeyFileStore.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <unistd.h>
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

// Tells whoever sits at the terminal, once a process: who asks for keys may ask for long, and log nothing.
void HintThatThereIsNoFile(const std::vector<std::string>& places)
{
    static std::atomic<bool> isTold{false};
    if (isatty(STDERR_FILENO) != 1 || isTold.exchange(true))
    {
        return;
    }
    std::string names;
    for (const std::string& place : places)
    {
        names += (names.empty() ? "" : ", ") + place;
    }
    dprintf(STDERR_FILENO,
            "tvplatform: this is no TV: there is no file with feature keys (%s). Without a TV: "
            "ci-daemon-sim run -- COMMAND\n",
            names.c_str());
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
    const std::vector<std::string> places = Places();
    bool isAnyThere = false;
    for (const std::string& place : places)
    {
        const int result = LookUpInFile(place,
                                        [&](GKeyFile* file)
                                        {
                                            isAnyThere = true;
                                            return ReadKey(file, group.c_str(), key + slash + 1, *value);
                                        });
        if (result != -ENOENT)
        {
            return result;
        }
    }
    if (!isAnyThere)
    {
        HintThatThereIsNoFile(places);
    }
    return -ENOENT;
}
} // namespace

int system_info_get_custom_int(const char* key, int* value) { return Read(key, value); }

int system_info_get_custom_bool(const char* key, bool* value) { return Read(key, value); }
