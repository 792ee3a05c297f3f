#pragma once

#include "bus/Handles.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace CIM
{
/// A client of a bus. Nothing here waits for time to pass: a bus answers a client in the order in which it was asked, so
/// that what has not come before an answer of the bus never comes.
class TCBusClient
{
public:
    explicit TCBusClient(TCConnectionPtr connection) : m_connection(std::move(connection)) {}

    std::string Name() const { return dbus_bus_get_unique_name(m_connection.get()); }

    /// Asks the bus itself. \return the error's name; empty for a success
    template <class... Arguments>
    std::string Ask(const char* interface, const char* method, Arguments... arguments)
    {
        const TCMessagePtr call(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, interface, method));
        dbus_message_append_args(call.get(), arguments..., DBUS_TYPE_INVALID);
        TCDBusError error;
        m_answer.reset(
            dbus_connection_send_with_reply_and_block(m_connection.get(), call.get(), BOUND_MS, error.Get()));
        return error.Name();
    }
    /// The number in the bus's last answer.
    unsigned Answer() const
    {
        unsigned number = 0;
        dbus_message_get_args(m_answer.get(), nullptr, DBUS_TYPE_UINT32, &number, DBUS_TYPE_INVALID);
        return number;
    }

    /// \throws std::runtime_error when the bus refuses
    void Match(const std::string& rule)
    {
        const char* const text = rule.c_str();
        m_Must(Ask(DBUS_INTERFACE_DBUS, "AddMatch", DBUS_TYPE_STRING, &text));
    }
    /// \return what became of it: "yes", "no" when the policy refuses, or what else was wrong
    std::string Own(const std::string& name)
    {
        const char* const text = name.c_str();
        const unsigned flags = DBUS_NAME_FLAG_DO_NOT_QUEUE;
        const std::string error =
            Ask(DBUS_INTERFACE_DBUS, "RequestName", DBUS_TYPE_STRING, &text, DBUS_TYPE_UINT32, &flags);
        return Verdict(error); // a name that another owns is refused in another way, by those who might have it
    }

    /// Sends, and returns when the bus has passed it on. \return its serial number
    dbus_uint32_t Send(DBusMessage* message)
    {
        dbus_uint32_t serial = 0;
        dbus_connection_send(m_connection.get(), message, &serial);
        Catch();
        return serial;
    }
    /// Takes in what the bus has passed on to this client.
    void Catch()
    {
        m_Must(Ask(DBUS_INTERFACE_DBUS, "GetId"));
        while (DBusMessage* const message = dbus_connection_pop_message(m_connection.get()))
        {
            m_caught.emplace_back(message);
        }
    }
    /// The message that another client sent, if it has been passed on. Valid as long as this.
    DBusMessage* Find(const TCBusClient& sender, dbus_uint32_t serial)
    {
        Catch();
        const auto found = std::find_if(m_caught.begin(), m_caught.end(),
                                        [&](const TCMessagePtr& message)
                                        {
                                            return dbus_message_has_sender(message.get(), sender.Name().c_str()) &&
                                                   dbus_message_get_serial(message.get()) == serial;
                                        });
        return found != m_caught.end() ? found->get() : nullptr;
    }
    /// Whoever answers a call: the type of the message that came, or 0.
    int AnswerTo(dbus_uint32_t serial)
    {
        Catch();
        for (const TCMessagePtr& message : m_caught)
        {
            if (dbus_message_get_reply_serial(message.get()) == serial)
            {
                return dbus_message_get_type(message.get());
            }
        }
        return 0;
    }

    static std::string Verdict(const std::string& error)
    {
        return error.empty() ? "yes" : error == DBUS_ERROR_ACCESS_DENIED ? "no" : error;
    }

private:
    static constexpr int BOUND_MS = 20'000;

    static void m_Must(const std::string& error)
    {
        if (!error.empty())
        {
            throw std::runtime_error("the bus refuses: " + error);
        }
    }

    TCConnectionPtr m_connection;
    TCMessagePtr m_answer;
    std::vector<TCMessagePtr> m_caught;
};
} // namespace CIM
