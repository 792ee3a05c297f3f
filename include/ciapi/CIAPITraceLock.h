#pragma once

#include <ciapi/Export.h>

#include <mutex>
#include <string>

namespace CIM
{
/// Holds a mutex for a scope and logs that the scope is entered and left. Guards may be nested on one mutex.
/// A guard is bound to its thread.
class CIAPI_EXPORT TCCIAPITraceLock
{
public:
    /// Blocks until the mutex is free, then logs "second:first:line IN".
    /// \param[in] mutex   must outlive the guard
    /// \param[in] line    the caller's source line
    /// \param[in] first   stands second in the text, e.g. the function; when null, the text ends before it
    /// \param[in] second  stands first in the text, e.g. the class; when null, the text is empty
    /// \throws std::system_error when the mutex cannot be locked; nothing is logged then
    TCCIAPITraceLock(std::recursive_mutex& mutex, int line, const char* first, const char* second);
    /// Logs "second:first:line OUT", then unlocks.
    virtual ~TCCIAPITraceLock();
    TCCIAPITraceLock(const TCCIAPITraceLock&) = delete;
    TCCIAPITraceLock& operator=(const TCCIAPITraceLock&) = delete;

private:
    std::string m_GetTrace(int line, const char* first, const char* second) const;

    const std::string m_trace;
    std::unique_lock<std::recursive_mutex> m_lock; // behind the text: unlocked before it is released
};
} // namespace CIM
