#include "cictl/Host.h"

#include "cictl/Exit.h"

#include <ciapi/CINames.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dbus/dbus.h>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace CIM::cictl
{
namespace
{
std::string& Name()
{
    static std::string name; // of a whole process, like the bus that the library connects to
    return name;
}

std::string Escaped(const std::string& value)
{
    char* const escaped = dbus_address_escape_value(value.c_str());
    if (escaped == nullptr)
    {
        throw std::bad_alloc();
    }
    std::string text = escaped;
    dbus_free(escaped);
    return text;
}

// The feature keys of a set with CI, as a file that ends with the process.
void SetFeatureKeys()
{
    std::string text;
    for (const auto& [key, value] : {std::pair(CI_FMS_NUM_OF_CI, "1"), std::pair(CI_FMS_SUPPORT, "true"),
                                     std::pair(CI_FMS_SUPPORT_CERTIFICATION, "true"),
                                     std::pair(CI_FMS_TVS_SUPPORTED, "true"), std::pair(CI_FMS_TV_MODEL_TYPE, "0")})
    {
        const std::size_t slash = key.rfind('/');
        text += "[" + key.substr(0, slash) + "]\n" + key.substr(slash + 1) + "=" + value + "\n";
    }
    const int file = memfd_create("cictl-feature-keys", MFD_CLOEXEC);
    if (file < 0 || write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
    {
        throw TCFailure(EXIT_REFUSED, std::string("the feature keys of the host: ") + std::strerror(errno));
    }
    setenv("TVPLATFORM_SYSTEM_INFO", ("/proc/self/fd/" + std::to_string(file)).c_str(), 1);
}
} // namespace

void UseHost(const std::string& host)
{
    const std::size_t at = host.rfind('@');
    const std::string_view machine = std::string_view(host).substr(at == host.npos ? 0 : at + 1);
    // A word with a dash in front would be an option of ssh, behind "--" too for what ssh starts itself.
    if (machine.empty() || host.front() == '-' || machine.front() == '-' || at == 0)
    {
        throw TCFailure(EXIT_USAGE, "\"" + host + "\" is no [USER@]HOST");
    }
    for (const unsigned char c : host)
    {
        if (c <= ' ' || c == 0x7F)
        {
            throw TCFailure(EXIT_USAGE, "\"" + host + "\" is no [USER@]HOST");
        }
    }
    SetFeatureKeys();
    setenv("DBUS_SYSTEM_BUS_ADDRESS",
           ("unixexec:path=ssh,argv1=-xT,argv2=--,argv3=" + Escaped(host) + ",argv4=systemd-stdio-bridge").c_str(), 1);
    Name() = host;
}

const std::string& HostName() { return Name(); }
} // namespace CIM::cictl
