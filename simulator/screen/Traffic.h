#pragma once

#include "bus/Handles.h"
#include "recording/Moment.h"
#include "json/Json.h"

#include <deque>
#include <functional>
#include <map>
#include <string>

namespace CIM::sim
{
/// What crosses the bus between applications and the daemon, as the bus hands it out: the latest messages, without the
/// secrets in them. Bound to the thread of the default main context.
class TCTraffic
{
public:
    /// Listens from now on. \param[in] programOf  the name of a program by its unique bus name; may be empty
    /// \throws std::runtime_error with the reason
    explicit TCTraffic(std::function<std::string(const std::string&)> programOf);
    ~TCTraffic();
    TCTraffic(const TCTraffic&) = delete;
    TCTraffic& operator=(const TCTraffic&) = delete;

    /// Messages in short, from a number on, which becomes that of the first that is not among them; a part of them when
    /// there are many. \return {"traffic": [...], "lost": how many are not kept any more}, or an empty object
    json::TJson From(std::uint64_t& number) const;
    /// All that a message says. \throws std::runtime_error when it is not kept any more
    json::TJson Details(std::uint64_t number) const;
    /// All that are kept, as pcapng. \throws std::runtime_error
    std::string Recording() const;

private:
    struct TSMessage
    {
        std::string bytes;
        recording::TSMoment moment;
        json::TJson brief;
    };
    struct TSOpenCall
    {
        std::uint64_t number;
        recording::TSMoment moment;
        std::string name;
        std::string program;
    };

    static DBusHandlerResult s_OnMessage(DBusConnection*, DBusMessage* message, void* self);
    void m_Take(DBusMessage* message);
    bool m_DescribeCall(DBusMessage* message, const recording::TSMoment& moment, json::TJson& brief);
    bool m_DescribeReply(DBusMessage* message, const recording::TSMoment& moment, json::TJson& brief);
    std::uint64_t m_End() const { return m_first + m_messages.size(); }

    std::function<std::string(const std::string&)> m_programOf;
    TCConnectionPtr m_connection;
    const recording::TSMoment m_begin = recording::TSMoment::Now();
    std::deque<TSMessage> m_messages;
    std::uint64_t m_first = 0; ///< the number of the first message that is kept
    std::size_t m_bytes = 0;
    std::map<std::pair<std::string, dbus_uint32_t>, TSOpenCall> m_calls;
};
} // namespace CIM::sim
