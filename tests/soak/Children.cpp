#include "soak/Children.h"

#include "privatebus/Process.h"
#include "soak/Application.h"

#include <ciapi/CICallOutcome.h>
#include <ciapi/CINames.h>
#include <ciapi/CIService.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <glib.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace CIM::soak
{
int g_sharedDescriptor = -1;

namespace
{
constexpr std::uint64_t BOUND_MS = 10'000;
// It waits for the daemon's interface, and then for its answer.
constexpr std::uint64_t EXECUTED_BOUND_MS = 15'000 + LIBRARY_TIMEOUT_MS + 5'000;
constexpr int WRONG_STATUS = 3;

// Everything that is needed behind a fork, made before it.
struct SCommand
{
    std::array<char, 16> descriptor{};
    std::array<char, 16> number{};
    std::array<const char*, 5> words{};

    SCommand(const char* role, unsigned which)
    {
        std::snprintf(descriptor.data(), descriptor.size(), "%d", g_sharedDescriptor);
        std::snprintf(number.data(), number.size(), "%u", which);
        words = {"soak", role, descriptor.data(), number.data(), nullptr};
    }
    [[noreturn]] void Execute() const
    {
        execv("/proc/self/exe", const_cast<char* const*>(words.data()));
        _exit(127);
    }
};

void DieWith(pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
    {
        _exit(0);
    }
}

[[noreturn]] void BeChild(EChild kind, const SCommand& command)
{
    std::vector<unsigned char> output;
    const std::vector<unsigned char> input;
    const int result = TCCIService::CIGeneralInstance()->EncryptUsingAesCbcWithSAK(1, input, output);
    const bool isRight = result == 0 && output.empty() && LastCallOutcome().outcome == CALL_OUTCOME_NOT_SENT;
    if (kind == CHILD_EXECUTES && isRight)
    {
        command.Execute();
    }
    if (kind == CHILD_EXITS && isRight)
    {
        std::exit(0);
    }
    _exit(isRight ? 0 : WRONG_STATUS);
}
} // namespace

pid_t StartSelf(const char* role, unsigned number)
{
    const SCommand command(role, number);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0)
    {
        DieWith(parent);
        command.Execute();
    }
    return child;
}

void TCChildren::Fork(EChild kind)
{
    const SCommand command("executed", 0);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0)
    {
        DieWith(parent);
        BeChild(kind, command);
    }
    if (child > 0)
    {
        m_shared.figures.forks.fetch_add(1);
        m_children.push_back({child, kind, NowMs() + (kind == CHILD_EXECUTES ? EXECUTED_BOUND_MS : BOUND_MS)});
    }
}

void TCChildren::Check()
{
    std::erase_if(m_children,
                  [this](const SChild& child)
                  {
                      if (const std::optional<int> status = privatebus::CheckForEnd(child.process))
                      {
                          if (*status != 0)
                          {
                              Find(m_shared, *status == WRONG_STATUS ? FINDING_WRONG : FINDING_DEATH,
                                   "forked child of kind %u ended with status %d", child.kind, *status);
                          }
                          return true;
                      }
                      // A program that finds no bus looks for it for a minute.
                      const bool isInVain = child.kind == CHILD_EXECUTES && m_shared.isBusDead.load();
                      if (!isInVain && NowMs() < child.deadline)
                      {
                          return false;
                      }
                      if (!isInVain)
                      {
                          Find(m_shared, FINDING_STUCK, "forked child %d of kind %u does not end",
                               static_cast<int>(child.process), child.kind);
                      }
                      privatebus::SendSignal(child.process, SIGKILL);
                      privatebus::WaitForEnd(child.process);
                      return true;
                  });
}

void TCChildren::End()
{
    while (!m_children.empty())
    {
        Check();
        g_usleep(10'000);
    }
}

TCChildren::~TCChildren()
{
    for (const SChild& child : m_children)
    {
        privatebus::SendSignal(child.process, SIGKILL);
        privatebus::WaitForEnd(child.process);
    }
}

int RunExecuted(SShared& shared)
{
    const unsigned before = shared.trouble.load();
    const SRequest request{1, 100, 100, FAULT_NONE, 0};
    std::vector<unsigned char> output;
    const int result = TCCIService::CIGeneralInstance()->EncryptUsingAesCbcWithSAK(
        1, MakeRequest(request, FIRST_BYTES_METHOD), output);
    const TSCallOutcome outcome = LastCallOutcome();
    const bool isRight = result == ResultOf(1, MEANING_ANSWER) &&
                         output == BytesOf(1, FIRST_BYTES_METHOD, MEANING_ANSWER, request.answerLength);
    if (!isRight && (outcome.outcome == CALL_OUTCOME_ANSWERED || !SShared::IsExcused(before, shared.trouble.load())))
    {
        Find(shared, FINDING_UNTOLD, "a program that was executed got %d, %s", result, ToString(outcome).c_str());
    }
    return 0;
}
} // namespace CIM::soak
