#pragma once

#include "recording/Writer.h"

#include <dbus/dbus.h>

#include <string>

namespace CIM::cictl
{
/// Keeps messages in a recording; secrets in calls are overwritten before they reach the file. Bound to its thread.
class TCRecorder
{
public:
    /// \param[in] ringBytes    0: no ring
    /// \param[in] withSecrets  PINs and what viewers type are kept, too
    /// \throws std::runtime_error when the file cannot be written
    TCRecorder(const std::string& path, std::uint64_t ringBytes, bool withSecrets);

    /// \param[in,out] message  its secrets are overwritten in place: whoever wants them looks before
    void Record(DBusMessage* message, const recording::TSMoment& moment, const std::string& comment);
    /// Call it at least every second. What is wrong with the file is told on standard error, once.
    void Tick();
    /// Whether all is in the file that should be.
    bool Close();

private:
    void m_TellTrouble();

    recording::TCWriter m_writer;
    bool m_withSecrets;
    bool m_hasTold = false;
};
} // namespace CIM::cictl
