#include "cictl/History.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace CIM::cictl
{
namespace
{
constexpr std::size_t MOST_LINES = 1'000;

std::string Folder()
{
    const char* const state = secure_getenv("XDG_STATE_HOME");
    if (state != nullptr && *state == '/')
    {
        return std::string(state) + "/cictl";
    }
    const char* const home = secure_getenv("HOME");
    return home != nullptr && *home == '/' ? std::string(home) + "/.local/state/cictl" : "";
}

// \return whether all of it was written
bool Append(const std::string& path, const std::string& text, int flags)
{
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | flags, 0600);
    if (file < 0)
    {
        return false;
    }
    // Also of a file that somebody has opened up.
    const bool isWritten =
        fchmod(file, 0600) == 0 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(file);
    return isWritten;
}
} // namespace

TCHistory::TCHistory()
{
    const std::string folder = Folder();
    if (folder.empty())
    {
        return;
    }
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(folder).parent_path(), error);
    mkdir(folder.c_str(), 0700);
    m_path = folder + "/history";
    // Shortened now and then, by way of a file beside it: another shell may be adding to this one.
    const std::vector<std::string> lines = Lines();
    if (lines.size() > 2 * MOST_LINES)
    {
        std::string text;
        for (std::size_t i = lines.size() - MOST_LINES; i < lines.size(); ++i)
        {
            text += lines[i] + '\n';
        }
        const std::string fresh = m_path + "." + std::to_string(getpid());
        if (!Append(fresh, text, O_EXCL) || rename(fresh.c_str(), m_path.c_str()) != 0)
        {
            unlink(fresh.c_str());
        }
    }
}

std::vector<std::string> TCHistory::Lines() const
{
    std::vector<std::string> lines;
    std::ifstream file(m_path);
    for (std::string line; !m_path.empty() && std::getline(file, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

void TCHistory::Add(const std::string& line)
{
    if (!m_path.empty())
    {
        Append(m_path, line + '\n', O_APPEND);
    }
}
} // namespace CIM::cictl
