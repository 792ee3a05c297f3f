#include "privatebus/BusFolder.h"

#include <ciapi/CINames.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dbus/dbus.h>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <new>
#include <stdexcept>
#include <unistd.h>

namespace CIM::privatebus
{
TCBusFolder TCBusFolder::Make(const std::string& prefix)
{
    std::error_code problem;
    const std::filesystem::path temporary = std::filesystem::temp_directory_path(problem);
    if (problem)
    {
        const char* const variable = std::getenv("TMPDIR");
        throw std::runtime_error("no temporary folder: TMPDIR is \"" + std::string(variable ? variable : "") +
                                 "\": " + problem.message());
    }
    std::string path = (temporary / (prefix + "-XXXXXX")).string();
    if (mkdtemp(path.data()) == nullptr)
    {
        throw std::runtime_error("no temporary folder " + path + ": " + std::strerror(errno));
    }
    return TCBusFolder(std::move(path));
}

std::string TCBusFolder::Address() const
{
    char* const escaped = dbus_address_escape_value(Socket().c_str());
    if (escaped == nullptr)
    {
        throw std::bad_alloc();
    }
    std::string address = std::string("unix:path=") + escaped;
    dbus_free(escaped);
    return address;
}

void TCBusFolder::PutIntoEnvironment() const
{
    setenv("DBUS_SYSTEM_BUS_ADDRESS", Address().c_str(), 1);
    setenv("TVPLATFORM_SYSTEM_INFO", FeatureKeyFile().c_str(), 1);
    setenv("CIAPI_DAEMON_READY_FILE", MarkerFile().c_str(), 1);
}

void TCBusFolder::Remove(const char* path)
{
    alignas(dirent64) char entries[4096];
    const int folder = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ssize_t size = 0;
    while (folder >= 0 && (size = getdents64(folder, entries, sizeof entries)) > 0)
    {
        for (ssize_t at = 0; at < size;)
        {
            const auto* const entry = reinterpret_cast<const dirent64*>(entries + at);
            unlinkat(folder, entry->d_name, 0); // refuses the two folders that every folder holds
            at += entry->d_reclen;
        }
    }
    if (folder >= 0)
    {
        close(folder);
    }
    rmdir(path);
}

void WriteFeatureKeys(const std::string& path, const std::map<std::string, std::string>& keys)
{
    std::map<std::string, std::string> groups;
    for (const auto& [key, value] : keys)
    {
        const auto slash = key.rfind('/');
        if (slash == std::string::npos || (key + value).find('\n') != std::string::npos)
        {
            throw std::invalid_argument("a feature key is a whole name such as " + CI_FMS_NUM_OF_CI + ", not " + key);
        }
        groups[key.substr(0, slash)] += key.substr(slash + 1) + '=' + value + '\n';
    }
    const std::string fresh = path + ".new";
    std::ofstream file(fresh);
    for (const auto& [group, lines] : groups)
    {
        file << '[' << group << "]\n" << lines;
    }
    file.close();
    if (!file || std::rename(fresh.c_str(), path.c_str()) != 0)
    {
        throw std::runtime_error("cannot write " + path + ": " + std::strerror(errno));
    }
}

std::map<std::string, std::string> DefaultFeatureKeys(int slots)
{
    return {{CI_FMS_NUM_OF_CI, std::to_string(slots)},
            {CI_FMS_SUPPORT, "true"},
            {CI_FMS_SUPPORT_CERTIFICATION, "true"},
            {CI_FMS_TVS_SUPPORTED, "true"},
            {CI_FMS_TV_MODEL_TYPE, "0"}};
}
} // namespace CIM::privatebus
