#include "Junit.h"

#include <glib.h>

#include <algorithm>

namespace CIM::sim
{
namespace
{
std::string Escaped(const std::string& text)
{
    gchar* const valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
    std::string allowed;
    for (const gchar* at = valid; *at != '\0'; at = g_utf8_next_char(at))
    {
        const gunichar unit = g_utf8_get_char(at);
        const bool isControl =
            (unit < 0x20 && unit != '\t' && unit != '\n' && unit != '\r') || unit == 0xFFFE || unit == 0xFFFF;
        allowed += isControl ? "\xEF\xBF\xBD" : std::string(at, static_cast<std::size_t>(g_utf8_next_char(at) - at));
    }
    gchar* const escaped = g_markup_escape_text(allowed.data(), static_cast<gssize>(allowed.size()));
    std::string result = escaped;
    g_free(escaped);
    g_free(valid);
    return result;
}
} // namespace

std::string JunitReport(const std::string& suite, const std::vector<TSPartResult>& results)
{
    const auto count = [&](TSPartResult::EState state)
    {
        return std::to_string(std::count_if(results.begin(), results.end(),
                                            [&](const TSPartResult& result) { return result.state == state; }));
    };
    const std::string name = Escaped(suite);
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"" + name + "\" tests=\"" +
                      std::to_string(results.size()) + "\" failures=\"" + count(TSPartResult::UNMET) + "\" errors=\"" +
                      count(TSPartResult::BROKEN) + "\" skipped=\"" + count(TSPartResult::PASSED_OVER) + "\">\n";
    for (const TSPartResult& result : results)
    {
        xml += "  <testcase classname=\"" + name + "\" name=\"" + Escaped(result.name) + "\"";
        if (result.state == TSPartResult::MET)
        {
            xml += "/>\n";
            continue;
        }
        const std::string element = result.state == TSPartResult::UNMET    ? "failure"
                                    : result.state == TSPartResult::BROKEN ? "error"
                                                                           : "skipped";
        const std::string words = Escaped(result.words);
        xml += "><" + element + " message=\"" + words.substr(0, words.find('\n')) + "\"";
        xml += element != "skipped" ? ">" + words + "</" + element + ">" : "/>";
        xml += "</testcase>\n";
    }
    return xml + "</testsuite>\n";
}
} // namespace CIM::sim
