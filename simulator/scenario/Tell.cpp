#include "Tell.h"

#include "json/Harmless.h"

#include <glib.h>

#include <cstdio>

namespace CIM::sim
{
void Tell(std::string_view lines)
{
    std::string told = "ci-daemon-sim: ";
    for (std::size_t end = 0; end != std::string_view::npos;)
    {
        end = lines.find('\n');
        told += json::Harmless(lines.substr(0, end)) + "\n";
        lines.remove_prefix(end == std::string_view::npos ? lines.size() : end + 1);
    }
    std::fputs(told.c_str(), stderr);
}

std::string CutToWidth(const std::string& line, unsigned columns)
{
    unsigned width = 0;
    const char* at = line.c_str();
    for (; *at != '\0'; at = g_utf8_next_char(at))
    {
        const gunichar unit = g_utf8_get_char(at);
        width += g_unichar_iszerowidth(unit) ? 0 : g_unichar_iswide(unit) ? 2 : 1;
        if (width > columns)
        {
            break;
        }
    }
    return {line.c_str(), at};
}
} // namespace CIM::sim
