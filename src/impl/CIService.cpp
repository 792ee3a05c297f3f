#include <ciapi/CIService.h>

#include "impl/CIMarshallingHelperProxy.h"
#include "impl/CIUtil.h"
#include "no_ci/MakeNull.h"
#include "protocol/InterfaceList.h"
#include "proxy/MakeProxy.h"
#include "utils/CIAPILog.h"

#include <ciapi/CINames.h> // the names outlive the proxies, because g_closer comes after them

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <memory>
#include <mutex>
#include <tuple>
#include <utility>

namespace CIM
{
namespace
{
template <class TInterface>
struct SSlot
{
    std::unique_ptr<TInterface> owner;
    // The same once it is complete. Read without the mutex: a signal callback that asks for an instance must not wait
    // for a thread that is at work inside the facade, and perhaps waits for the callback.
    std::atomic<TInterface*> published{nullptr};
};

struct SFacade
{
    std::recursive_mutex m_mutex; // IsCIOperable is called with it held
    bool m_canCreateNewInterface = true;
    boost::shared_ptr<TIIPCHelper> m_IPCHelper;
    protocol::TInterfaces::AsEach<std::tuple, SSlot> m_instances; // ended in this order
    std::mutex m_ending;                                          // held while they are
};

// Ready before the first constructor of the program runs, usable in the last destructor.
union UNeverDestroyed
{
    constexpr UNeverDestroyed() : facade() {}
    ~UNeverDestroyed() {}
    SFacade facade;
};
constinit UNeverDestroyed g_state;
constinit SFacade& g_facade = g_state.facade;

// Empties a slot.
template <class TInterface>
std::unique_ptr<TInterface> Take(SSlot<TInterface>& slot)
{
    slot.published.store(nullptr);
    return std::move(slot.owner);
}

// Ends everything, for ever. The instances are deleted without the mutex: the subscriber's end waits for a callback
// that is running, and that callback may ask the facade for something.
void Close(std::unique_lock<std::recursive_mutex> lock)
{
    g_facade.m_canCreateNewInterface = false;
    auto ended = std::apply([](auto&... slot) { return std::tuple(Take(slot)...); }, g_facade.m_instances);
    boost::shared_ptr<TIIPCHelper> helper;
    helper.swap(g_facade.m_IPCHelper);
    lock.unlock();
    std::apply([](auto&... owner) { (owner.reset(), ...); }, ended);
    helper.reset(); // the last reference: closes the connection
}

// Ends the instances of a process that never called Destroy.
struct SCloser
{
    ~SCloser()
    {
        std::unique_lock lock(g_facade.m_mutex, std::try_to_lock);
        if (lock) // otherwise a thread is at work inside, for up to a minute: what it has ends with the process
        {
            Close(std::move(lock));
        }
    }
} g_closer;

// The one way to every instance.
template <class TInterface, class TCreated>
TInterface* Instance(TCreated created)
{
    auto& slot = std::get<SSlot<TInterface>>(g_facade.m_instances);
    if (TInterface* const ready = slot.published.load())
    {
        return ready;
    }
    const std::lock_guard lock(g_facade.m_mutex);
    if (!slot.owner && g_facade.m_canCreateNewInterface)
    {
        std::unique_ptr<TInterface> instance;
        if (TCCIService::IsCIOperable())
        {
            if (!g_facade.m_IPCHelper)
            {
                g_facade.m_IPCHelper.reset(new TCIPCHelper);
            }
            instance = MakeProxy<TInterface>(g_facade.m_IPCHelper);
        }
        else
        {
            instance = MakeNull<TInterface>();
        }
        created(*instance);
        slot.owner = std::move(instance);
        slot.published.store(slot.owner.get());
    }
    return slot.owner.get();
}

template <class TInterface>
TInterface* Instance()
{
    return Instance<TInterface>([](TInterface&) {});
}
} // namespace

bool TCCIService::IsCIOperable()
{
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
    const std::lock_guard ending(g_facade.m_ending); // whoever comes second returns when everything has ended
    Close(std::unique_lock(g_facade.m_mutex));
}
} // namespace CIM
