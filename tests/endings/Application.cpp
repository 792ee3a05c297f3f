#include "privatebus/Process.h"

#include <ciapi/CIService.h>

#include <glib.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <thread>
#include <unistd.h>
#include <utility>

// An application that ends in one of several ways: ending_application WAY. Exits with 0 when all went as promised.

namespace
{
using namespace CIM;
using TClock = std::chrono::steady_clock;

constexpr std::chrono::seconds BOUND{20};
constexpr int SUBSCRIPTIONS = 3;

// Threads go on calling until the process is gone: what they use is never destroyed.
std::atomic<int> g_calls{0};
void (*g_inCallback)() = nullptr;

int OnSignal(ECISignalType, EProfile, unsigned short, TSSignalData, void*)
{
    if (g_inCallback != nullptr)
    {
        g_inCallback();
    }
    return 0;
}

[[noreturn]] void Fail(const char* what)
{
    std::fprintf(stderr, "ending_application: %s\n", what);
    _exit(1);
}

void Until(const std::function<bool()>& condition, const char* otherwise)
{
    const auto deadline = TClock::now() + BOUND;
    while (!condition())
    {
        if (TClock::now() > deadline)
        {
            Fail(otherwise);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

ICISignalSubscriber* Signals() { return TCCIService::CISignalSubscriberInstance(&OnSignal); }

void Subscribe(int count)
{
    for (int number = 0; number < count; ++number)
    {
        Signals()->Subscribe(SIGNAL_CI_CA_REPLY, nullptr, PROFILE_MAIN, static_cast<unsigned short>(number), 0);
    }
}

void CallForEver(int thread)
{
    ICIGeneral* const held = TCCIService::CIGeneralInstance();
    for (unsigned short number = 0;; ++number)
    {
        TCIText text;
        held->GetMmiText(0, text);
        TCCIService::CIGeneralInstance()->IsCamPinNeeded();
        if (thread == 0)
        {
            Signals()->Subscribe(SIGNAL_CI_CA_REPLY, nullptr, PROFILE_SUB, number, 0);
            Signals()->Unsubscribe(SIGNAL_CI_CA_REPLY, PROFILE_SUB, number, 0);
        }
        else if (thread == 1) // created late, perhaps while the process exits
        {
            TCCIService::CIDebugInstance();
            TCCIService::PvrCipInstance();
            TCCIService::IsCIOperable();
        }
        ++g_calls;
    }
}

void RunMainLoop()
{
    std::thread([] { g_main_loop_run(g_main_loop_new(nullptr, FALSE)); }).detach();
}

int ExitWhileThreadsCall()
{
    RunMainLoop();
    Subscribe(SUBSCRIPTIONS);
    for (int thread = 0; thread < 4; ++thread)
    {
        std::thread(CallForEver, thread).detach();
    }
    Until([] { return g_calls > 40; }, "the threads do not get on");
    return 0;
}

// Children that end like any program, while a thread of the parent is at work inside the library.
int ChildrenOf(void (*inChild)())
{
    TCCIService::CIGeneralInstance();
    Signals();
    std::thread(CallForEver, 0).detach();
    Until([] { return g_calls > 0; }, "the thread does not get on");
    for (int count = 0; count < 20; ++count)
    {
        const pid_t child = fork();
        if (child == 0)
        {
            inChild();
            std::exit(0);
        }
        std::optional<int> status;
        const auto deadline = TClock::now() + BOUND;
        while (child > 0 && !(status = privatebus::CheckForEnd(child)) && TClock::now() < deadline)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        if (!status)
        {
            privatebus::SendSignal(child, SIGKILL);
            privatebus::WaitForEnd(child);
            Fail("a child hangs");
        }
        if (*status != 0)
        {
            Fail("a child did not end by itself");
        }
    }
    const int before = g_calls;
    Until([before] { return g_calls > before + 10; }, "the parent no longer gets on");
    _exit(0);
}

void UseAll()
{
    TCIText text;
    TCCIService::CIGeneralInstance()->GetMmiText(0, text);
    TCCIService::PvrCipInstance(); // new in the child
    if (Signals()->Subscribe(SIGNAL_CI_CA_REPLY, nullptr, PROFILE_SUB, 1, 0) != 0)
    {
        Fail("a child has subscribed");
    }
    Signals()->Unsubscribe(SIGNAL_CI_CA_REPLY, PROFILE_SUB, 1, 0);
}

void UseAllAndDestroy()
{
    UseAll();
    TCCIService::Destroy();
    if (TCCIService::CIGeneralInstance() != nullptr || TCCIService::CIDebugInstance() != nullptr)
    {
        Fail("there are instances after Destroy");
    }
}

int DestroyBesideAHungDaemon()
{
    Subscribe(SUBSCRIPTIONS);
    const auto begin = TClock::now();
    TCCIService::Destroy();
    std::printf("%lld\n", static_cast<long long>((TClock::now() - begin) / std::chrono::milliseconds(1)));
    return 0;
}

int ExitBesideAHungDaemon()
{
    Subscribe(SUBSCRIPTIONS);
    return 0;
}

// Subscribing on another thread keeps the subscriber busy while the process exits.
int ExitWhileSubscribingHangs()
{
    Subscribe(SUBSCRIPTIONS);
    std::thread(CallForEver, 0).detach();
    Until([] { return g_calls > 0; }, "the thread does not get on");
    return 0;
}

int ExitInACallback(bool onMainThread)
{
    g_inCallback = [] { std::exit(0); };
    Subscribe(1);
    if (!onMainThread)
    {
        RunMainLoop();
        Until([] { return false; }, "no signal came");
    }
    g_timeout_add_seconds(
        20, [](void*) -> gboolean { Fail("no signal came"); }, nullptr);
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
    return 1;
}

// A callback that does not return until the process is gone.
int ExitBesideACallback()
{
    static std::atomic<bool> isInside{false};
    g_inCallback = []
    {
        isInside = true;
        for (;;)
        {
            pause();
        }
    };
    Subscribe(SUBSCRIPTIONS);
    RunMainLoop();
    Until([] { return isInside.load(); }, "no signal came");
    return 0;
}
} // namespace

int main(int argumentCount, char** arguments)
{
    const std::pair<const char*, int (*)()> ways[] = {
        {"exit-while-threads-call", &ExitWhileThreadsCall},
        {"children-that-exit", [] { return ChildrenOf([] {}); }},
        {"children-that-call", [] { return ChildrenOf(&UseAll); }},
        {"children-that-destroy", [] { return ChildrenOf(&UseAllAndDestroy); }},
        {"destroy", &DestroyBesideAHungDaemon},
        {"exit", &ExitBesideAHungDaemon},
        {"exit-while-subscribing", &ExitWhileSubscribingHangs},
        {"exit-in-callback", [] { return ExitInACallback(true); }},
        {"exit-in-callback-of-a-thread", [] { return ExitInACallback(false); }},
        {"exit-beside-callback", &ExitBesideACallback},
    };
    for (const auto& [name, way] : ways)
    {
        if (argumentCount == 2 && std::strcmp(arguments[1], name) == 0)
        {
            return way();
        }
    }
    Fail("which way?");
}
