#include "proxy/SignalReceptor.h"

#include <utility>

namespace CIM
{
namespace
{
union UNeverDestroyed
{
    constexpr UNeverDestroyed() : receptor() {}
    ~UNeverDestroyed() {}
    std::shared_ptr<TCSignalReceptor> receptor;
};
constinit UNeverDestroyed g_kept;

// Guards the pointer alone, never held while anything is called.
std::mutex g_receptorMutex;
} // namespace

constinit std::shared_ptr<TCSignalReceptor>& g_signalReceptor = g_kept.receptor;

TCSignalReceptor::TCSignalReceptor(TForward forward, boost::shared_ptr<TIIPCHelper> ipcHelper)
    : m_forward(std::move(forward)), m_ipcHelper(std::move(ipcHelper))
{
    m_ipcHelper->GetIPCConnection()->SetCallbackFunction(IPC_MESSAGE_SIGNAL, OnSignal);
}

TCSignalReceptor::~TCSignalReceptor()
{
    m_ipcHelper->GetIPCConnection()->UnsetCallbackFunction(IPC_MESSAGE_SIGNAL, OnSignal);
}

void TCSignalReceptor::Forward(int signalType, TCMessageBuffer& payload)
{
    const std::lock_guard lock(m_mutex);
    m_forward(signalType, payload);
}

std::shared_ptr<TCSignalReceptor> ReplaceSignalReceptor(std::shared_ptr<TCSignalReceptor> receptor)
{
    const std::lock_guard lock(g_receptorMutex);
    return std::exchange(g_signalReceptor, std::move(receptor));
}

void OnSignal(int signalType, TCMessageBuffer& payload)
{
    TCSignalReceptor* receptor = nullptr;
    {
        // No reference is taken: the receptor's end waits for this call, which must not become its last owner.
        const std::lock_guard lock(g_receptorMutex);
        receptor = g_signalReceptor.get();
    }
    if (receptor != nullptr)
    {
        receptor->Forward(signalType, payload);
    }
}
} // namespace CIM
