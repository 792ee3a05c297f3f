#include "proxy/SignalReceptor.h"

#include <utility>

namespace CIM
{
namespace
{
// Guards the pointer alone, never held while anything is called.
std::mutex g_receptorMutex;

// Made with the first receptor and never destroyed: signals may come until the very end of the process.
constinit std::shared_ptr<TCSignalReceptor>* g_signalReceptor = nullptr;
} // namespace

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
    if (g_signalReceptor == nullptr)
    {
        g_signalReceptor = new std::shared_ptr<TCSignalReceptor>;
    }
    return std::exchange(*g_signalReceptor, std::move(receptor));
}

void OnSignal(int signalType, TCMessageBuffer& payload)
{
    TCSignalReceptor* receptor = nullptr;
    {
        // No reference is taken: the receptor's end waits for this call, which must not become its last owner.
        const std::lock_guard lock(g_receptorMutex);
        receptor = g_signalReceptor != nullptr ? g_signalReceptor->get() : nullptr;
    }
    if (receptor != nullptr)
    {
        receptor->Forward(signalType, payload);
    }
}
} // namespace CIM
