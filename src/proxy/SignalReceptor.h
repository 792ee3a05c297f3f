#pragma once

#include "impl/CIMarshallingHelperProxy.h"

#include <functional>
#include <memory>
#include <mutex>

namespace CIM
{
/// Takes the CI signals from the connection and forwards them, as long as it lives. One lives at a time.
///
/// On a signal's way the connection holds the mutex of the message type, then this object takes its own. So neither
/// the constructor nor the destructor holds the own one while it registers with the connection.
class TCSignalReceptor
{
public:
    using TForward = std::function<void(int, TCMessageBuffer&)>;

    /// Registers OnSignal with the helper's connection.
    TCSignalReceptor(TForward forward, boost::shared_ptr<TIIPCHelper> ipcHelper);
    /// Unregisters OnSignal and returns when no signal is being forwarded any more. Not from within a forwarded signal.
    ~TCSignalReceptor();
    TCSignalReceptor(const TCSignalReceptor&) = delete;
    TCSignalReceptor& operator=(const TCSignalReceptor&) = delete;

    /// Forwards one signal. Throws std::bad_function_call when there is nothing to forward to.
    void Forward(int signalType, TCMessageBuffer& payload);

private:
    std::mutex m_mutex;
    TForward m_forward;
    boost::shared_ptr<TIIPCHelper> m_ipcHelper;
};

/// Puts a receptor, or none, in the place of the present one. \return the one before
std::shared_ptr<TCSignalReceptor> ReplaceSignalReceptor(std::shared_ptr<TCSignalReceptor> receptor);

/// The one callback that the connection knows. Drops the signal when there is no receptor.
void OnSignal(int signalType, TCMessageBuffer& payload);
} // namespace CIM
