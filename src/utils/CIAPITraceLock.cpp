#include <ciapi/CIAPITraceLock.h>

#include "utils/CIAPILog.h"

#include <sstream>

namespace CIM
{
namespace
{
// A missing text fails the stream, as the GNU library's own operator does; others would read from address zero.
void Append(std::ostream& stream, const char* text)
{
    if (text != nullptr)
    {
        stream << text;
    }
    else
    {
        stream.setstate(std::ios_base::badbit);
    }
}
} // namespace

TCCIAPITraceLock::TCCIAPITraceLock(std::recursive_mutex& mutex, int line, const char* first, const char* second)
    : m_trace(m_GetTrace(line, first, second)), m_lock(mutex)
{
    CIM_LOG_INFO_AT("TCCIAPITraceLock", 35, "%s", (m_trace + " IN").c_str());
}

TCCIAPITraceLock::~TCCIAPITraceLock() { CIM_LOG_INFO_AT("~TCCIAPITraceLock", 43, "%s", (m_trace + " OUT").c_str()); }

std::string TCCIAPITraceLock::m_GetTrace(int line, const char* first, const char* second) const
{
    std::ostringstream stream;
    Append(stream, second);
    stream << ":";
    Append(stream, first);
    stream << ":" << line;
    return stream.str();
}
} // namespace CIM
