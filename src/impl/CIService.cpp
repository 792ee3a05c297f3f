#include <ciapi/CIDiagnostics.h>
#include <ciapi/CIService.h>

#include "impl/CIMarshallingHelperProxy.h"
#include "impl/CIUtil.h"
#include "no_ci/MakeNull.h"
#include "protocol/InterfaceList.h"
#include "proxy/MakeProxy.h"
#include "utils/CIAPILog.h"
#include "utils/OwnProcess.h"

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <cstdlib>
#include <cxxabi.h>
#include <memory>
#include <mutex>
#include <new>
#include <pthread.h>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace CIM
{
namespace
{
template <class TInterface>
struct SSlot
{
    TInterface* owned = nullptr;
    // The same once it is complete. Read without the mutex: a signal callback that asks for an instance must not wait
    // for a thread that is at work inside the facade, and perhaps waits for the callback.
    std::atomic<TInterface*> published{nullptr};
};

struct SFacade
{
    std::recursive_mutex m_mutex; // IsCIOperable is called with it held
    std::atomic<bool> m_canCreateNewInterface{true};
    std::atomic<bool> m_hasBeenUsed{false};
    std::atomic<bool> m_isExiting{false}; // from now on only null implementations are made
    std::atomic<pid_t> m_process{0};      // whose the instances are; 0: there have been none
    boost::shared_ptr<TCIPCHelper>* m_IPCHelper = nullptr;
    std::atomic<TCIPCHelper*> m_publishedHelper{nullptr};
    protocol::TInterfaces::AsEach<std::tuple, SSlot> m_instances; // ended in this order
    std::mutex m_ending;                                          // held while they are
};

// Ready before the first constructor of the program runs, usable in the last destructor and in threads that run on
// while the program exits: nothing makes it and nothing destroys it.
constinit SFacade g_facade;
static_assert(std::is_trivially_destructible_v<SFacade>);

// Whether the instances are those of the process that this one was forked from.
bool IsForkedChild()
{
    const pid_t process = g_facade.m_process.load();
    return process != 0 && process != CurrentProcess();
}

// A child gets the mutexes as they were, perhaps held by threads that it does not have.
void FreeMutexesInChild()
{
    new (&g_facade.m_mutex) std::recursive_mutex;
    new (&g_facade.m_ending) std::mutex;
}

// Empties a slot.
template <class TInterface>
std::unique_ptr<TInterface> Take(SSlot<TInterface>& slot)
{
    slot.published.store(nullptr);
    return std::unique_ptr<TInterface>(std::exchange(slot.owned, nullptr));
}

// Ends everything, for ever. The instances are deleted without the mutex: the subscriber's end waits for a callback
// that is running, and that callback may ask the facade for something.
void Close()
{
    std::unique_lock lock(g_facade.m_mutex);
    g_facade.m_canCreateNewInterface = false;
    g_facade.m_publishedHelper = nullptr;
    auto ended = std::apply([](auto&... slot) { return std::tuple(Take(slot)...); }, g_facade.m_instances);
    std::unique_ptr<boost::shared_ptr<TCIPCHelper>> helper(std::exchange(g_facade.m_IPCHelper, nullptr));
    lock.unlock();
    if (helper)
    {
        (*helper)->BeginEnding();
    }
    std::apply([](auto&... owner) { (owner.reset(), ...); }, ended);
    helper.reset(); // the last reference: closes the connection
}

// Hands out nothing any more, and leaves all that is the parent's as it is.
void CloseInChild()
{
    g_facade.m_canCreateNewInterface = false;
    std::apply([](auto&... slot) { (slot.published.store(nullptr), ...); }, g_facade.m_instances);
}

// The lines of the destructors that an instance's classes have.
void LogEnd(const std::type_info& type)
{
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> whole(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                            &std::free);
    std::string name = whole ? whole.get() : type.name();
    name.replace(0, name.rfind(':') + 1, "~");
    CIM_LOG_INFO_AT(name.c_str(), __LINE__, "");
    constexpr std::string_view NULL_SUFFIX = "NO_CI";
    if (!name.ends_with(NULL_SUFFIX))
    {
        name += NULL_SUFFIX;
        CIM_LOG_INFO_AT(name.c_str(), __LINE__, "");
    }
}

template <class TInterface>
void EndAtExit(TInterface* instance, TCIPCHelper* helper)
{
    if (instance == nullptr)
    {
        return;
    }
    LogEnd(typeid(*instance));
    if constexpr (std::is_same_v<TInterface, ICISignalSubscriber>)
    {
        if (helper != nullptr)
        {
            EndSubscriptions(*instance, helper->TimeLeft());
        }
    }
}

// Ends the instances of a process that exits without Destroy. They stay where they are, and so does the connection:
// other threads run on until the process is gone, and what they call gives the null answer.
// Called by the loader, after whatever the program runs at its exit: nothing has to be registered when it starts.
[[gnu::destructor]] void EndAllAtExit()
{
    if (IsForkedChild() || !g_facade.m_canCreateNewInterface)
    {
        return;
    }
    const std::unique_lock ending(g_facade.m_ending, std::try_to_lock);
    if (!ending) // another thread is in Destroy, and perhaps waits for the callback that called exit
    {
        return;
    }
    g_facade.m_isExiting = true;
    TCIPCHelper* const helper = g_facade.m_publishedHelper.load();
    if (helper != nullptr)
    {
        helper->BeginEnding();
    }
    std::apply([helper](auto&... slot) { (EndAtExit(slot.published.load(), helper), ...); }, g_facade.m_instances);
    if (helper != nullptr)
    {
        helper->Retire();
    }
}

template <class TInterface>
std::unique_ptr<TInterface> Make()
{
    if (g_facade.m_isExiting || !TCCIService::IsCIOperable())
    {
        return MakeNull<TInterface>();
    }
    if (g_facade.m_IPCHelper == nullptr)
    {
        g_facade.m_IPCHelper = new boost::shared_ptr<TCIPCHelper>(new TCIPCHelper);
        g_facade.m_publishedHelper = g_facade.m_IPCHelper->get();
    }
    return MakeProxy<TInterface>(*g_facade.m_IPCHelper);
}

// The one way to every instance.
template <class TInterface, class TCreated>
TInterface* Instance(TCreated created)
{
    auto& slot = std::get<SSlot<TInterface>>(g_facade.m_instances);
    if (TInterface* const ready = slot.published.load())
    {
        return ready;
    }
    if (!g_facade.m_canCreateNewInterface) // also for a callback that Destroy waits for
    {
        return nullptr;
    }
    const std::lock_guard lock(g_facade.m_mutex);
    if (slot.owned == nullptr && g_facade.m_canCreateNewInterface)
    {
        if (g_facade.m_process == 0)
        {
            pthread_atfork(nullptr, nullptr, FreeMutexesInChild);
            g_facade.m_process = CurrentProcess();
        }
        std::unique_ptr<TInterface> instance = Make<TInterface>();
        created(*instance);
        slot.owned = instance.release();
        slot.published.store(slot.owned);
    }
    return slot.published.load();
}

template <class TInterface>
TInterface* Instance()
{
    return Instance<TInterface>([](TInterface&) {});
}
} // namespace

bool HasBeenUsed() { return g_facade.m_hasBeenUsed; }

bool TCCIService::IsCIOperable()
{
    g_facade.m_hasBeenUsed = true;
    const std::lock_guard lock(g_facade.m_mutex);
    return TCCIUtil::GetSystemInfoNumCI() > 0 && TCCIUtil::IsCISupportedByRegion();
}

ICIGeneral* TCCIService::CIGeneralInstance() { return Instance<ICIGeneral>(); }
ICIAppMMI* TCCIService::CIAppMMIInstance() { return Instance<ICIAppMMI>(); }
ICIOperatorProfile* TCCIService::CIOperatorProfileInstance() { return Instance<ICIOperatorProfile>(); }
IPvrCip* TCCIService::PvrCipInstance() { return Instance<IPvrCip>(); }
ICIDebug* TCCIService::CIDebugInstance() { return Instance<ICIDebug>(); }
ICIAuxiliaryFileSystem* TCCIService::CIAuxiliaryFileSystemInstance() { return Instance<ICIAuxiliaryFileSystem>(); }
ICICAMPlayer* TCCIService::CICAMPlayerInstance() { return Instance<ICICAMPlayer>(); }
ICISampleDecryption* TCCIService::CISampleDecryptionInstance() { return Instance<ICISampleDecryption>(); }

ICISignalSubscriber* TCCIService::CISignalSubscriberInstance(TCISignalCallback callback)
{
    return Instance<ICISignalSubscriber>([callback](ICISignalSubscriber& subscriber)
                                         { subscriber.SetCallback(callback); });
}

void TCCIService::Destroy()
{
    CIM_LOG_ERROR("");
    if (IsForkedChild())
    {
        return CloseInChild();
    }
    const std::lock_guard ending(g_facade.m_ending); // whoever comes second returns when everything has ended
    Close();
}
} // namespace CIM
