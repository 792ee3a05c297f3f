#pragma once

#include <string>
#include <sys/types.h>

namespace CIM::cictl
{
/// Another process of this program that runs verbs for the shell, one after the other over one library. What interrupts
/// a verb ends that process and not the shell; the next verb has a new one. Bound to its thread; one at a time.
class TCWorker
{
public:
    TCWorker() = default;
    ~TCWorker();
    TCWorker(const TCWorker&) = delete;
    TCWorker& operator=(const TCWorker&) = delete;

    /// Begins to run a line. \throws TCFailure when there is no process to be had
    void Begin(const std::string& line);
    /// Becomes readable when the verb has ended.
    int Descriptor() const { return m_socket; }
    /// Waits for the verb's end. \return its exit status; 128 and the signal's number when a signal ended it
    int End();

private:
    void m_Start();
    int m_Reap();

    pid_t m_process = -1;
    int m_socket = -1;
};

/// What such a process does until the shell has ended. \param[in] host  as UseHost takes it; empty: this machine
int ServeShell(const std::string& host);
} // namespace CIM::cictl
