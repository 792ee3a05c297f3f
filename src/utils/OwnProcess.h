#pragma once

#include <sys/types.h>

namespace CIM
{
/// The identifier of this process, without asking the system each time: a child of fork learns its own on the way.
/// Thread-safe.
pid_t CurrentProcess();

/// Remembers the process that made it, and tells it from a child of a fork. Thread-safe.
class TCOwnProcess
{
public:
    bool IsHere() const { return CurrentProcess() == m_process; }
    long Id() const { return m_process; }

private:
    const pid_t m_process = CurrentProcess();
};
} // namespace CIM
