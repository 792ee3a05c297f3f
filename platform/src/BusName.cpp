#include <tvplatform/BusName.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

#include <unistd.h>

namespace
{
constexpr std::size_t MAX_BUS_NAME_LENGTH = 255;

bool IsNameCharacter(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '-';
}

// ":1.42" becomes ".u1.u42": an element of a well-known name must not begin with a digit. Empty when it is no unique
// name.
std::string ConvertElements(std::string_view uniqueName)
{
    std::string converted;
    bool hasSeveral = false;
    bool atStart = true;
    for (const char c : uniqueName.substr(1))
    {
        if (c == '.' && !atStart)
        {
            hasSeveral = true;
            atStart = true;
        }
        else if (IsNameCharacter(c))
        {
            converted += atStart ? ".u" : "";
            converted += c;
            atStart = false;
        }
        else
        {
            return {};
        }
    }
    return hasSeveral && !atStart ? converted : std::string();
}
} // namespace

int IPCUtility_GenerateSubConnectionName(const char* uniqueName, int length, char* buffer, int* size)
{
    if (uniqueName == nullptr || buffer == nullptr || size == nullptr || length < 1 || uniqueName[0] != ':' ||
        static_cast<std::size_t>(length) > MAX_BUS_NAME_LENGTH)
    {
        return -EINVAL;
    }
    const std::string elements = ConvertElements({uniqueName, static_cast<std::size_t>(length)});
    if (elements.empty())
    {
        return -EINVAL;
    }
    const std::string name = "com.kelvora.sub.p" + std::to_string(getpid()) + elements;
    if (name.size() > MAX_BUS_NAME_LENGTH || *size < 0 || name.size() > static_cast<std::size_t>(*size))
    {
        return -ENOSPC;
    }
    std::memcpy(buffer, name.c_str(), name.size() + 1);
    *size = static_cast<int>(name.size());
    return 0;
}
