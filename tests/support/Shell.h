#pragma once

#include <cstdio>
#include <string>
#include <sys/wait.h>

namespace CIM
{
struct TSOutput
{
    int status;       ///< -1 when it was ended by a signal
    std::string text; ///< both streams
};

/// Runs a command line.
inline TSOutput Shell(const std::string& command)
{
    TSOutput output{-1, {}};
    FILE* const pipe = popen(("exec 2>&1; " + command).c_str(), "r");
    if (pipe == nullptr)
    {
        return output;
    }
    char buffer[4096];
    for (std::size_t size; (size = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
    {
        output.text.append(buffer, size);
    }
    const int status = pclose(pipe);
    output.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return output;
}
} // namespace CIM
