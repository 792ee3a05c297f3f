#include "Input.h"

#include "KeyFile.h"

#include <cerrno>

// Any file of feature keys. Property: a value or an error, and no value with an error; a number is in the file as it was
// read, and what the file lacks is never found.

namespace
{
using CIM::fuzz::Require;

template <class T>
void Read(GKeyFile* file, const std::string& group, const std::string& key, T before)
{
    T value = before;
    const int result = ReadKey(file, group.c_str(), key.c_str(), value);
    const bool isThere = g_key_file_has_key(file, group.c_str(), key.c_str(), nullptr) != FALSE;
    Require(result == 0 || result == -ENOENT || result == -EINVAL);
    Require((result == -ENOENT) == !isThere || result == -EINVAL);
    Require(result == 0 || value == before);
    if (result != 0)
    {
        return;
    }
    T other = value;
    Require(isThere && ReadKey(file, group.c_str(), key.c_str(), other) == 0 && other == value);
    if constexpr (std::is_same_v<T, int>)
    {
        char* const text = g_key_file_get_value(file, group.c_str(), key.c_str(), nullptr);
        Require(text != nullptr && std::strtoll(text, nullptr, 10) == value);
        g_free(text);
    }
}
} // namespace

// The first line is a key as callers give it, the rest is the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CIM::fuzz::TCInput input(data, size);
    std::string whole(input.Line());
    whole.resize(std::min(whole.find('\0'), whole.size()));
    const std::size_t slash = whole.rfind('/');
    if (slash == std::string::npos || slash == 0 || slash + 1 == whole.size()) // refused before any file is read
    {
        return -1;
    }
    GKeyFile* const file = g_key_file_new();
    const std::string_view content = input.Rest();
    if (g_key_file_load_from_data(file, content.data(), content.size(), G_KEY_FILE_NONE, nullptr))
    {
        Read(file, whole.substr(0, slash), whole.substr(slash + 1), 4711);
        Read(file, whole.substr(0, slash), whole.substr(slash + 1), true);
        Read(file, whole.substr(0, slash), whole.substr(slash + 1), false);
    }
    g_key_file_free(file);
    return 0;
}
