#pragma once

#include <dbus/dbus.h>

#include <memory>

namespace CIM
{
struct TCMessageRelease
{
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
/// Owns one reference to a message.
using TCMessagePtr = std::unique_ptr<DBusMessage, TCMessageRelease>;

/// An error that libdbus fills in; freed when it ends.
class TCDBusError
{
public:
    TCDBusError() { dbus_error_init(&m_error); }
    ~TCDBusError() { dbus_error_free(&m_error); }
    TCDBusError(const TCDBusError&) = delete;
    TCDBusError& operator=(const TCDBusError&) = delete;

    DBusError* Get() { return &m_error; }
    bool IsSet() const { return dbus_error_is_set(&m_error); }
    const char* Text() const { return m_error.message != nullptr ? m_error.message : ""; }

private:
    DBusError m_error;
};
} // namespace CIM
