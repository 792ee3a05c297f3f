#include <tvplatform/ResourceManager.h>

#include "Scheduling.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

namespace
{
using TCClock = std::chrono::steady_clock;

/// A process that borrows: what its threads had of their own, and what it borrows from whom.
class TCBorrower
{
public:
    explicit TCBorrower(pid_t process) : m_process(process), m_started(StartTimeOf(process, process)) {}

    struct SLoan
    {
        pid_t lender;
        SScheduling scheduling;
        TCClock::time_point end;
    };

    bool IsAlive() const { return m_started && StartTimeOf(m_process, m_process) == m_started; }

    int Borrow(const SLoan& loan)
    {
        m_loans.push_back(loan);
        const int result = m_Lend(loan.scheduling);
        if (result != 0)
        {
            m_loans.pop_back();
            m_Settle();
        }
        return result;
    }

    /// Ends the latest loan of a lender, if there is one.
    int GiveBack(pid_t lender)
    {
        const auto last =
            std::find_if(m_loans.rbegin(), m_loans.rend(), [=](const SLoan& loan) { return loan.lender == lender; });
        if (last == m_loans.rend())
        {
            return 0;
        }
        m_loans.erase(std::next(last).base());
        return m_Settle();
    }

    void EndLoansUntil(TCClock::time_point now)
    {
        if (std::erase_if(m_loans, [=](const SLoan& loan) { return loan.end <= now; }) > 0)
        {
            m_Settle();
        }
    }

    bool HasLoans() const { return !m_loans.empty(); }

    TCClock::time_point NextEnd() const
    {
        const auto next = std::ranges::min_element(m_loans, {}, &SLoan::end);
        return next == m_loans.end() ? TCClock::time_point() : next->end;
    }

private:
    struct SOwn
    {
        unsigned long long started;
        SScheduling scheduling;
    };

    // After a loan has ended: the latest one that is left counts, and without one each thread gets its own back.
    int m_Settle() { return m_loans.empty() ? m_Restore() : m_Lend(m_loans.back().scheduling); }

    int m_Lend(const SScheduling& scheduling)
    {
        const std::vector<pid_t> threads = ThreadsOf(m_process);
        if (threads.empty() || !IsAlive())
        {
            return -ENOENT;
        }
        for (const pid_t thread : threads)
        {
            const auto started = StartTimeOf(m_process, thread);
            SScheduling own;
            if (!started || ReadScheduling(thread, own) == -ESRCH)
            {
                continue; // it has just ended
            }
            const auto known = m_own.find(thread);
            if (known == m_own.end() || known->second.started != *started)
            {
                m_own[thread] = {*started, own};
            }
            // Without the right to undo it, the loan would never end.
            const int result =
                IsOneWayStep(m_own[thread].scheduling, scheduling) ? -EPERM : ApplyScheduling(thread, scheduling);
            if (result != 0 && result != -ESRCH)
            {
                return result;
            }
        }
        return 0;
    }

    int m_Restore()
    {
        if (!IsAlive())
        {
            m_own.clear();
            return -ENOENT;
        }
        int result = 0;
        const auto leader = m_own.find(m_process);
        for (const pid_t thread : ThreadsOf(m_process))
        {
            const auto started = StartTimeOf(m_process, thread);
            auto own = m_own.find(thread);
            if (own == m_own.end() || !started || own->second.started != *started)
            {
                own = leader; // born during the loan, it inherited what was lent
            }
            if (own == m_own.end())
            {
                continue;
            }
            const int restored = ApplyScheduling(thread, own->second.scheduling);
            if (restored != 0 && restored != -ESRCH)
            {
                result = restored;
            }
        }
        m_own.clear();
        return result;
    }

    pid_t m_process;
    std::optional<unsigned long long> m_started;
    std::map<pid_t, SOwn> m_own;
    std::vector<SLoan> m_loans;
};

/// All borrowers, and the thread that ends loans that nobody ends. The thread runs only while there is something to
/// end.
class TCResourceManager
{
public:
    int Lend(pid_t lender, const std::string& name, std::chrono::milliseconds timeout)
    {
        SScheduling scheduling;
        if (const int result = ReadScheduling(lender, scheduling); result != 0)
        {
            return result;
        }
        const std::lock_guard lock(m_mutex);
        auto found = m_borrowers.find(name);
        if (found != m_borrowers.end() && !found->second.IsAlive())
        {
            m_borrowers.erase(found);
            found = m_borrowers.end();
        }
        if (found == m_borrowers.end())
        {
            const pid_t process = m_Find(name);
            if (process < 0)
            {
                return -ENOENT;
            }
            found = m_borrowers.emplace(name, TCBorrower(process)).first;
        }
        m_StartTimer();
        const int result = found->second.Borrow({lender, scheduling, TCClock::now() + timeout});
        if (!found->second.HasLoans())
        {
            m_borrowers.erase(found);
        }
        m_changed.notify_all();
        return result;
    }

    int Clear(pid_t lender, const std::string& name)
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_borrowers.find(name);
        if (found == m_borrowers.end())
        {
            return m_Find(name) < 0 ? -ENOENT : 0; // the loan has already ended by itself
        }
        const int result = found->second.GiveBack(lender);
        if (!found->second.HasLoans())
        {
            m_borrowers.erase(found);
        }
        return result;
    }

private:
    // Loans come many a second and always to the same process: look where it was last time before reading all of /proc.
    pid_t m_Find(const std::string& name)
    {
        if (name != m_lastName || !IsNamed(m_lastProcess, name))
        {
            m_lastName = name;
            m_lastProcess = FindProcess(name);
        }
        return m_lastProcess;
    }

    void m_StartTimer()
    {
        if (m_timerRuns)
        {
            return;
        }
        // The application's signals are not for this thread.
        sigset_t all;
        sigset_t old;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &old);
        try
        {
            std::thread([this] { m_EndLoans(); }).detach();
            m_timerRuns = true;
        }
        catch (...)
        {
            pthread_sigmask(SIG_SETMASK, &old, nullptr);
            throw;
        }
        pthread_sigmask(SIG_SETMASK, &old, nullptr);
    }

    void m_EndLoans()
    {
        std::unique_lock lock(m_mutex);
        while (!m_borrowers.empty())
        {
            auto next = TCClock::time_point::max();
            for (const auto& [name, borrower] : m_borrowers)
            {
                next = std::min(next, borrower.NextEnd());
            }
            m_changed.wait_until(lock, next);
            const auto now = TCClock::now();
            for (auto& [name, borrower] : m_borrowers)
            {
                borrower.EndLoansUntil(now);
            }
            std::erase_if(m_borrowers, [](const auto& entry) { return !entry.second.HasLoans(); });
        }
        m_timerRuns = false;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<std::string, TCBorrower> m_borrowers;
    bool m_timerRuns = false;
    std::string m_lastName;
    pid_t m_lastProcess = -1;
};

// Never destroyed: its thread may run until the process ends.
TCResourceManager& Manager()
{
    static TCResourceManager* const manager = new TCResourceManager;
    return *manager;
}

template <class Action>
int Guarded(pid_t thread, const char* destination, Action action)
{
    if (thread < 0 || destination == nullptr || *destination == '\0')
    {
        return -EINVAL;
    }
    try
    {
        return action(thread != 0 ? thread : gettid(), std::string(destination));
    }
    catch (const std::exception&)
    {
        return -ENOMEM; // neither memory nor a thread to be had
    }
}
} // namespace

int resource_set_cpu_inheritance(pid_t thread, const char* destination, int timeout_ms)
{
    if (timeout_ms <= 0)
    {
        return -EINVAL;
    }
    return Guarded(thread, destination,
                   [=](pid_t lender, const std::string& name)
                   { return Manager().Lend(lender, name, std::chrono::milliseconds(timeout_ms)); });
}

int resource_clear_cpu_inheritance(pid_t thread, const char* destination)
{
    return Guarded(thread, destination,
                   [](pid_t lender, const std::string& name) { return Manager().Clear(lender, name); });
}
