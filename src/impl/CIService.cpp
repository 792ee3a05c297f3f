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

#include <memory>
#include <mutex>
#include <type_traits>

namespace CIM
{
namespace
{
struct SFacade
{
    std::recursive_mutex m_mutex; // IsCIOperable is called with it held
    bool m_canCreateNewInterface = true;
    boost::shared_ptr<TIIPCHelper> m_IPCHelper;
    std::unique_ptr<ICIGeneral> m_CIGeneralInstance;
    std::unique_ptr<ICIAppMMI> m_CIAppMMIInstance;
    std::unique_ptr<ICIOperatorProfile> m_CIOperatorProfileInstance;
    std::unique_ptr<IPvrCip> m_PvrCipInstance;
    std::unique_ptr<ICIDebug> m_CIDebugInstance;
    std::unique_ptr<ICIAuxiliaryFileSystem> m_ICIAuxiliaryFileSystemInstance;
    std::unique_ptr<ICICAMPlayer> m_ICICAMPlayerInstance;
    std::unique_ptr<ICISampleDecryption> m_ICISampleDecryptionInstance;
    std::unique_ptr<ICISignalSubscriber> m_CISignalSubscriberInstance;
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

// The caller holds the mutex. reset() empties an owner before it deletes.
void Close()
{
    g_facade.m_CIGeneralInstance.reset();
    g_facade.m_CIAppMMIInstance.reset();
    g_facade.m_CIOperatorProfileInstance.reset();
    g_facade.m_PvrCipInstance.reset();
    g_facade.m_CIDebugInstance.reset();
    g_facade.m_ICIAuxiliaryFileSystemInstance.reset();
    g_facade.m_CISignalSubscriberInstance.reset();
    g_facade.m_ICICAMPlayerInstance.reset();
    g_facade.m_ICISampleDecryptionInstance.reset();
    g_facade.m_IPCHelper.reset(); // the last reference: closes the connection
    g_facade.m_canCreateNewInterface = false;
}

// Ends the instances of a process that never called Destroy.
struct SCloser
{
    ~SCloser()
    {
        const std::unique_lock lock(g_facade.m_mutex, std::try_to_lock);
        if (lock) // otherwise a thread is at work inside, for up to a minute: what it has ends with the process
        {
            Close();
        }
    }
} g_closer;

// The one way to every instance.
template <class TProxy, class TNull, class TInterface, class TCreated>
TInterface* Instance(std::unique_ptr<TInterface> SFacade::*owner, TCreated created)
{
    static_assert(std::is_base_of_v<TNull, TProxy>, "a proxy falls back to the null implementation");
    const std::lock_guard lock(g_facade.m_mutex);
    std::unique_ptr<TInterface>& instance = g_facade.*owner;
    if (!instance && g_facade.m_canCreateNewInterface)
    {
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
    }
    return instance.get();
}

template <class TProxy, class TNull, class TInterface>
TInterface* Instance(std::unique_ptr<TInterface> SFacade::*owner)
{
    return Instance<TProxy, TNull>(owner, [](TInterface&) {});
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
    const std::lock_guard lock(g_facade.m_mutex);
    Close();
}
} // namespace CIM
