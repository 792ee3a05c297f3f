#include <ciapi/CIService.h>

#include "impl/CIMarshallingHelperProxy.h"
#include "impl/CIUtil.h"
#include "no_ci/CIAppMMIProxyNO_CI.h"
#include "no_ci/CIAuxiliaryFileSystemProxyNO_CI.h"
#include "no_ci/CICAMPlayerProxyNO_CI.h"
#include "no_ci/CIDebugProxyNO_CI.h"
#include "no_ci/CIGeneralProxyNO_CI.h"
#include "no_ci/CIOperatorProfileProxyNO_CI.h"
#include "no_ci/CISampleDecryptionProxyNO_CI.h"
#include "no_ci/CISignalSubscriberProxyNO_CI.h"
#include "no_ci/PvrCipProxyNO_CI.h"
#include "proxy/CIAppMMIProxy.h"
#include "proxy/CIAuxiliaryFileSystemProxy.h"
#include "proxy/CICAMPlayerProxy.h"
#include "proxy/CIDebugProxy.h"
#include "proxy/CIGeneralProxy.h"
#include "proxy/CIOperatorProfileProxy.h"
#include "proxy/CISampleDecryptionProxy.h"
#include "proxy/CISignalSubscriberProxy.h"
#include "proxy/PvrCipProxy.h"
#include "utils/CIAPILog.h"

#include <ciapi/CINames.h> // the names outlive the proxies, because g_closer comes after them

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <memory>
#include <mutex>
#include <tuple>
#include <type_traits>
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
    SSlot<ICIGeneral> m_CIGeneralInstance;
    SSlot<ICIAppMMI> m_CIAppMMIInstance;
    SSlot<ICIOperatorProfile> m_CIOperatorProfileInstance;
    SSlot<IPvrCip> m_PvrCipInstance;
    SSlot<ICIDebug> m_CIDebugInstance;
    SSlot<ICIAuxiliaryFileSystem> m_ICIAuxiliaryFileSystemInstance;
    SSlot<ICICAMPlayer> m_ICICAMPlayerInstance;
    SSlot<ICISampleDecryption> m_ICISampleDecryptionInstance;
    SSlot<ICISignalSubscriber> m_CISignalSubscriberInstance;
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
    std::tuple ended(Take(g_facade.m_CIGeneralInstance), Take(g_facade.m_CIAppMMIInstance),
                     Take(g_facade.m_CIOperatorProfileInstance), Take(g_facade.m_PvrCipInstance),
                     Take(g_facade.m_CIDebugInstance), Take(g_facade.m_ICIAuxiliaryFileSystemInstance),
                     Take(g_facade.m_CISignalSubscriberInstance), Take(g_facade.m_ICICAMPlayerInstance),
                     Take(g_facade.m_ICISampleDecryptionInstance));
    boost::shared_ptr<TIIPCHelper> helper;
    helper.swap(g_facade.m_IPCHelper);
    lock.unlock();
    std::apply([](auto&... owner) { (owner.reset(), ...); }, ended); // in this order
    helper.reset();                                                  // the last reference: closes the connection
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
template <class TProxy, class TNull, class TInterface, class TCreated>
TInterface* Instance(SSlot<TInterface> SFacade::*member, TCreated created)
{
    static_assert(std::is_base_of_v<TNull, TProxy>, "a proxy falls back to the null implementation");
    SSlot<TInterface>& slot = g_facade.*member;
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
            instance = std::make_unique<TProxy>(g_facade.m_IPCHelper);
        }
        else
        {
            instance = std::make_unique<TNull>();
        }
        created(*instance);
        slot.owner = std::move(instance);
        slot.published.store(slot.owner.get());
    }
    return slot.owner.get();
}

template <class TProxy, class TNull, class TInterface>
TInterface* Instance(SSlot<TInterface> SFacade::*member)
{
    return Instance<TProxy, TNull>(member, [](TInterface&) {});
}
} // namespace

bool TCCIService::IsCIOperable()
{
    const std::lock_guard lock(g_facade.m_mutex);
    return TCCIUtil::GetSystemInfoNumCI() > 0 && TCCIUtil::IsCISupportedByRegion();
}

ICIGeneral* TCCIService::CIGeneralInstance()
{
    return Instance<TCCIGeneralProxy, TCCIGeneralProxyNO_CI>(&SFacade::m_CIGeneralInstance);
}

ICIAppMMI* TCCIService::CIAppMMIInstance()
{
    return Instance<TCCIAppMMIProxy, TCCIAppMMIProxyNO_CI>(&SFacade::m_CIAppMMIInstance);
}

ICIOperatorProfile* TCCIService::CIOperatorProfileInstance()
{
    return Instance<TCCIOperatorProfileProxy, TCCIOperatorProfileProxyNO_CI>(&SFacade::m_CIOperatorProfileInstance);
}

IPvrCip* TCCIService::PvrCipInstance()
{
    return Instance<TCPvrCipProxy, TCPvrCipProxyNO_CI>(&SFacade::m_PvrCipInstance);
}

ICIDebug* TCCIService::CIDebugInstance()
{
    return Instance<TCCIDebugProxy, TCCIDebugProxyNO_CI>(&SFacade::m_CIDebugInstance);
}

ICISignalSubscriber* TCCIService::CISignalSubscriberInstance(TCISignalCallback callback)
{
    return Instance<TCCISignalSubscriberProxy, TCCISignalSubscriberProxyNO_CI>(
        &SFacade::m_CISignalSubscriberInstance,
        [callback](ICISignalSubscriber& subscriber) { subscriber.SetCallback(callback); });
}

ICIAuxiliaryFileSystem* TCCIService::CIAuxiliaryFileSystemInstance()
{
    return Instance<TCCIAuxiliaryFileSystemProxy, TCCIAuxiliaryFileSystemProxyNO_CI>(
        &SFacade::m_ICIAuxiliaryFileSystemInstance);
}

ICICAMPlayer* TCCIService::CICAMPlayerInstance()
{
    return Instance<TCCICAMPlayerProxy, TCCICAMPlayerProxyNO_CI>(&SFacade::m_ICICAMPlayerInstance);
}

ICISampleDecryption* TCCIService::CISampleDecryptionInstance()
{
    return Instance<TCCISampleDecryptionProxy, TCCISampleDecryptionProxyNO_CI>(&SFacade::m_ICISampleDecryptionInstance);
}

void TCCIService::Destroy()
{
    CIM_LOG_ERROR("");
    Close(std::unique_lock(g_facade.m_mutex));
}
} // namespace CIM
