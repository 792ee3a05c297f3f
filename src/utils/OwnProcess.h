#pragma once

#include <unistd.h>

namespace CIM
{
/// Remembers the process that made it, and tells it from a child of a fork. Thread-safe.
class TCOwnProcess
{
public:
    bool IsHere() const { return getpid() == m_process; }
    long Id() const { return m_process; }

private:
    const pid_t m_process = getpid();
};
} // namespace CIM
