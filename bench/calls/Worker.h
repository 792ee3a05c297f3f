#pragma once

#include "privatebus/Process.h"

#include <cstdio>
#include <exception>
#include <functional>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace CIM::bench
{
/// A process of its own that does what it is asked, one request after the other, and ends with this object. Each way to
/// call has one, as an application has: no way meets a heap that another has shaped. Needs a maker with a single thread.
template <class TRequest, class TAnswer>
class TCWorker
{
public:
    using TServe = std::function<TAnswer(const TRequest&)>;

    /// \param begin  makes, in the new process, what serves the requests
    explicit TCWorker(const std::function<TServe()>& begin)
    {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0 || (m_process = fork()) < 0)
        {
            throw std::runtime_error("no process to measure in");
        }
        if (m_process == 0)
        {
            close(ends[0]);
            m_Serve(begin, ends[1]);
        }
        close(ends[1]);
        m_end = ends[0];
    }
    ~TCWorker()
    {
        shutdown(m_end, SHUT_RDWR); // workers that began later hold it, too
        close(m_end);
        privatebus::WaitForEnd(m_process);
    }
    TCWorker(const TCWorker&) = delete;
    TCWorker& operator=(const TCWorker&) = delete;

    /// \throws std::runtime_error when the process could not do it; it has said why
    TAnswer Do(const TRequest& request)
    {
        TAnswer answer{};
        if (send(m_end, &request, sizeof request, MSG_NOSIGNAL) != sizeof request ||
            recv(m_end, &answer, sizeof answer, MSG_WAITALL) != sizeof answer)
        {
            throw std::runtime_error("a process that measured has ended");
        }
        return answer;
    }

private:
    [[noreturn]] static void m_Serve(const std::function<TServe()>& begin, int end)
    {
        try
        {
            const TServe serve = begin();
            TRequest request{};
            while (recv(end, &request, sizeof request, MSG_WAITALL) == sizeof request)
            {
                const TAnswer answer = serve(request);
                send(end, &answer, sizeof answer, MSG_NOSIGNAL);
            }
        }
        catch (const std::exception& error)
        {
            std::fprintf(stderr, "call_bench: %s\n", error.what());
        }
        _exit(0);
    }

    pid_t m_process = -1;
    int m_end = -1;
};
} // namespace CIM::bench
