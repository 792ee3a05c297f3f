// The services of a set that always has CI: it logs to standard error and knows its features when it is compiled.

#include <tvplatform/ApiAssert.h>
#include <tvplatform/BusName.h>
#include <tvplatform/Log.h>
#include <tvplatform/ResourceManager.h>
#include <tvplatform/Sleep.h>
#include <tvplatform/SystemInfo.h>

#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include <unistd.h>

namespace
{
constexpr struct
{
    const char* key;
    int value;
} FEATURES[] = {
    {"com.kelvora/featureconf/broadcasting.ci.support", 1},
    {"com.kelvora/featureconf/broadcasting.certification.ci", 1},
    {"com.kelvora/featureconf/broadcasting.tvs_supported", 1},
    {"com.kelvora/featureconf/product.num_of_ci", 2},
    {"com.kelvora/featureconf/tv_model_type", 0},
};
} // namespace

int system_info_get_custom_int(const char* key, int* value)
{
    for (const auto& feature : FEATURES)
    {
        if (std::strcmp(feature.key, key) == 0)
        {
            *value = feature.value;
            return 0;
        }
    }
    return -ENOENT;
}

int system_info_get_custom_bool(const char* key, bool* value)
{
    int number = 0;
    const int result = system_info_get_custom_int(key, &number);
    *value = result == 0 ? number != 0 : *value;
    return result;
}

int __dlog_print(int, int priority, const char* tag, const char* format, ...)
{
    const int savedErrno = errno;
    std::string line = std::to_string(priority) + " " + tag + ": " + format + "\n";
    va_list arguments;
    va_start(arguments, format);
    const int written = std::vfprintf(stderr, line.c_str(), arguments);
    va_end(arguments);
    errno = savedErrno;
    return written;
}

void _TCApiAssert(const char* expression, const char* file, int line, const char* message)
{
    __dlog_print(0, 6, "ASSERT", "%s:%d: %s: %s", file, line, expression, message ? message : "");
}

int IPCUtility_GenerateSubConnectionName(const char* uniqueName, int length, char* buffer, int* size)
{
    std::string name = "com.kelvora.sub.p" + std::to_string(getpid());
    for (const char c : std::string(uniqueName, static_cast<std::size_t>(length)))
    {
        name += c == ':' || c == '.' ? ".u" : std::string(1, c); // no part begins with a digit
    }
    if (name.size() > static_cast<std::size_t>(*size))
    {
        return -ENOSPC;
    }
    std::memcpy(buffer, name.c_str(), name.size() + 1);
    *size = static_cast<int>(name.size());
    return 0;
}

// A set without real-time scheduling has none to lend.
int resource_set_cpu_inheritance(pid_t, const char*, int) { return -ENOTSUP; }
int resource_clear_cpu_inheritance(pid_t, const char*) { return -ENOTSUP; }

void tvplatform_sleep_ms(unsigned int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}
