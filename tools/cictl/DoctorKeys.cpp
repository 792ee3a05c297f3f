#include "cictl/Doctor.h"

#include <ciapi/CINames.h>

#include <tvplatform/SystemInfo.h>

#include <glib.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sys/stat.h>

// What the set says of itself: the key files, the keys that the library reads, the readiness marker.

namespace CIM::cictl
{
namespace
{
constexpr int MODEL_TYPE_WITH_LATE_DAEMON = 5; // of such a set the library does not call before the marker is there

struct TSPlace
{
    std::string path;
    bool isNamed; ///< by the variable that is there for it
};

std::string VariableOr(const char* name, const std::string& otherwise)
{
    const char* const value = secure_getenv(name);
    return value != nullptr && *value != '\0' ? value : otherwise;
}

// As SystemInfo.h says where it looks.
std::vector<TSPlace> Places()
{
    std::vector<TSPlace> places;
    if (const std::string named = VariableOr("TVPLATFORM_SYSTEM_INFO", ""); !named.empty())
    {
        places.push_back({named, true});
    }
    const std::string config = VariableOr("XDG_CONFIG_HOME", "");
    const std::string home = VariableOr("HOME", "");
    if (config.starts_with('/') || home.starts_with('/'))
    {
        places.push_back(
            {(config.starts_with('/') ? config : home + "/.config") + "/tvplatform/system-info.conf", false});
    }
    places.push_back({"/etc/tvplatform/system-info.conf", false});
    return places;
}

TSFinding Wrong(const char* check, std::string subject, std::string found, std::string cure)
{
    return {EHealth::WRONG, check, std::move(subject), std::move(found), std::move(cure), EXIT_NO_CI};
}

TSFinding Examine(const TSPlace& place)
{
    constexpr const char* CHECK = "key file";
    struct stat status
    {
    };
    if (stat(place.path.c_str(), &status) != 0)
    {
        if (errno != ENOENT && errno != ENOTDIR)
        {
            return Wrong(CHECK, place.path, std::strerror(errno), "Let this user read it.");
        }
        return {place.isNamed ? EHealth::WARNING : EHealth::OK, CHECK, place.path, "not there",
                place.isNamed ? "Let TVPLATFORM_SYSTEM_INFO name a file that is there, or unset it." : ""};
    }
    if (!S_ISREG(status.st_mode))
    {
        return Wrong(CHECK, place.path, "is no file", "Put a key file in its place, or take it away.");
    }
    const std::unique_ptr<GKeyFile, decltype(&g_key_file_free)> file(g_key_file_new(), &g_key_file_free);
    GError* error = nullptr;
    if (!g_key_file_load_from_file(file.get(), place.path.c_str(), G_KEY_FILE_NONE, &error))
    {
        const bool isSyntax = error->domain == G_KEY_FILE_ERROR;
        TSFinding finding = Wrong(CHECK, place.path, error->message,
                                  isSyntax ? "Correct it: lines are [GROUP] or KEY=VALUE." : "Let this user read it.");
        g_error_free(error);
        return finding;
    }
    return {EHealth::OK, CHECK, place.path, "there", ""};
}

/// A key that the library reads.
struct TSKey
{
    const std::string& name;
    bool isNumber;
    bool isNeeded;       ///< for CI
    const char* without; ///< what happens without it, when it is not needed
};

std::string Line(const std::string& key, const char* value)
{
    const std::size_t slash = key.rfind('/');
    return '"' + key.substr(slash + 1) + '=' + value + "\" under \"[" + key.substr(0, slash) + "]\"";
}

TSFinding Examine(const TSKey& key, const std::string& place, int readable)
{
    constexpr const char* CHECK = "feature key";
    int number = 0;
    bool flag = false;
    const int error = readable != 0  ? readable
                      : key.isNumber ? system_info_get_custom_int(key.name.c_str(), &number)
                                     : system_info_get_custom_bool(key.name.c_str(), &flag);
    const char* const good = key.isNumber ? "1" : "true";
    if (error == 0)
    {
        const std::string value = key.isNumber ? std::to_string(number) : flag ? "true" : "false";
        const bool isEnough = !key.isNeeded || number > 0 || flag;
        return isEnough ? TSFinding{EHealth::OK, CHECK, key.name, value, ""}
                        : Wrong(CHECK, key.name, value + ": this set has no CI",
                                "If it has, write " + Line(key.name, good) + " into the key file.");
    }
    const char* const found = error == -ENOENT   ? "in no key file"
                              : error == -EINVAL ? (key.isNumber ? "is no number" : "is neither true nor false")
                                                 : "a key file cannot be read";
    const std::string cure = "Write " + Line(key.name, key.isNeeded ? good : "0") + " into " + place + ".";
    if (key.isNeeded || error != -ENOENT)
    {
        return Wrong(CHECK, key.name, found, error == -EIO ? "See the key files above." : cure);
    }
    return {*key.without != '\0' ? EHealth::WARNING : EHealth::OK, CHECK, key.name,
            found + std::string(*key.without != '\0' ? ": " : "") + key.without, *key.without != '\0' ? cure : ""};
}
} // namespace

int TryFeatureKeys()
{
    int result = -ENOENT;
    for (const TSPlace& place : Places())
    {
        struct stat status
        {
        };
        const bool isKnown = stat(place.path.c_str(), &status) == 0;
        if (isKnown && !S_ISREG(status.st_mode))
        {
            return -EIO;
        }
        const bool isAbsent = !isKnown && (errno == ENOENT || errno == ENOTDIR);
        result = isAbsent ? result : 0; // one that may not be read is told as such, for each key
    }
    return result;
}

TFindings ExamineFeatureKeys()
{
    TFindings findings;
    const int readable = TryFeatureKeys();
    const std::vector<TSPlace> places = Places();
    for (const TSPlace& place : places)
    {
        findings.push_back(Examine(place));
    }
    const TSKey keys[] = {
        {CI_FMS_NUM_OF_CI, true, true, ""},
        {CI_FMS_SUPPORT, false, true, ""},
        {CI_FMS_SUPPORT_CERTIFICATION, false, true, ""},
        {CI_FMS_TVS_SUPPORTED, false, false, ""},
        {CI_FMS_TV_MODEL_TYPE, true, false, "every call that finds no readiness marker logs an error"},
    };
    for (const TSKey& key : keys)
    {
        findings.push_back(Examine(key, places.front().path, readable));
    }
    return findings;
}

TFindings ExamineMarker(bool isDaemonThere)
{
    constexpr const char* CHECK = "readiness marker";
    const std::string path = VariableOr("CIAPI_DAEMON_READY_FILE", "/tmp/ci-daemon-ready");
    struct stat status
    {
    };
    if (stat(path.c_str(), &status) == 0)
    {
        return {{EHealth::OK, CHECK, path, "there", ""}};
    }
    int model = 0;
    const bool isNeeded = TryFeatureKeys() == 0 &&
                          system_info_get_custom_int(CI_FMS_TV_MODEL_TYPE.c_str(), &model) == 0 &&
                          model == MODEL_TYPE_WITH_LATE_DAEMON;
    if (!isNeeded)
    {
        return {{EHealth::OK, CHECK, path, "not there; a set of this model does not need it", ""}};
    }
    const std::string cure = isDaemonThere
                                 ? "Wait until the daemon has written it, or let CIAPI_DAEMON_READY_FILE name the "
                                   "file that it writes."
                                 : "Start the CI daemon, which writes it.";
    return {{EHealth::WRONG, CHECK, path, "not there: on a set of this model the library calls nobody without it", cure,
             EXIT_NO_DAEMON}};
}
} // namespace CIM::cictl
