#include "Traffic.h"

#include "protocol/Envelope.h"
#include "recording/Writer.h"
#include "traffic/CoverSecrets.h"
#include "traffic/Messages.h"
#include "traffic/Monitor.h"
#include "json/Harmless.h"
#include "json/Signals.h"

#include <algorithm>
#include <cmath>
#include <dbus/dbus-glib-lowlevel.h>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace CIM::sim
{
namespace
{
using json::TJson;

constexpr std::size_t MOST_MESSAGES = 5'000;
constexpr std::size_t MOST_BYTES = 32 << 20;
constexpr std::size_t MOST_OPEN_CALLS = 4'096;
constexpr std::size_t MOST_AT_ONCE = 500;
constexpr std::size_t SHOWN_CHARACTERS = 120;

std::string Text(const char* text) { return text != nullptr ? text : ""; }

double Milliseconds(const recording::TSMoment& from, const recording::TSMoment& to)
{
    return std::round(static_cast<double>(recording::TimeBetween(from, to)) / 1e4) / 100;
}

void BecomeMonitor(DBusConnection* connection)
{
    const TCMessagePtr call = traffic::MakeMonitorRequest();
    TCDBusError error;
    const TCMessagePtr reply(call ? dbus_connection_send_with_reply_and_block(connection, call.get(), -1, error.Get())
                                  : nullptr);
    if (reply == nullptr)
    {
        throw std::runtime_error(std::string("the bus does not let its messages be seen: ") + error.Text());
    }
}

TCMessagePtr MessageFrom(const std::string& bytes)
{
    TCDBusError error;
    TCMessagePtr message(dbus_message_demarshal(bytes.data(), static_cast<int>(bytes.size()), error.Get()));
    return message != nullptr ? std::move(message) : throw std::runtime_error("the message is not readable");
}

/// What a signal, or a reply, carries, beside what stands in its brief form.
TJson Carried(DBusMessage* message, const TJson& brief)
{
    TJson carried = TJson::object();
    std::string error;
    if (const auto call = traffic::ReadCall(message))
    {
        carried["processId"] = call->processId;
        carried["oneWay"] = call->isOneWay;
        error = call->error;
        if (call->operation != nullptr && !json::MayHideSecrets(call->interface, call->operation, call->payload))
        {
            json::TSDecoded decoded = call->operation->RequestToJson(call->payload);
            call->operation->HideSecrets(decoded.json);
            carried["arguments"] = std::move(decoded.json);
            error += decoded.error;
        }
    }
    else if (traffic::IsSignal(message))
    {
        const traffic::TSSignal signal = traffic::ReadSignal(message);
        error = signal.error;
        carried["data"] = signal.bytes;
        if (signal.signal)
        {
            carried["profile"] = json::ToJson(signal.signal->profile);
            carried["handle"] = signal.signal->handle;
            carried.update(json::SignalDataToJson(*signal.signal));
        }
    }
    else
    {
        const traffic::TSReply reply = traffic::ReadReply(message);
        const json::TCOperationForm* const operation = json::FindOperation(brief.at("name").get<std::string>());
        error = reply.errorName.empty() ? reply.error : reply.errorName + ": " + reply.errorText;
        if (reply.errorName.empty())
        {
            carried["status"] = reply.status;
        }
        if (operation != nullptr && reply.errorName.empty())
        {
            const json::TSDecoded decoded = operation->ReplyToJson(reply.payload);
            carried.update(decoded.json);
            error += decoded.error;
        }
    }
    if (!error.empty())
    {
        carried["error"] = error;
    }
    return carried;
}
} // namespace

TCTraffic::TCTraffic(std::function<std::string(const std::string&)> programOf) : m_programOf(std::move(programOf))
{
    TCDBusError error;
    m_connection = OpenCurrentSystemBus(error);
    if (m_connection == nullptr)
    {
        throw std::runtime_error(std::string("no system bus: ") + error.Text());
    }
    BecomeMonitor(m_connection.get());
    if (!dbus_connection_add_filter(m_connection.get(), s_OnMessage, this, nullptr))
    {
        throw std::bad_alloc();
    }
    dbus_connection_setup_with_g_main(m_connection.get(), nullptr);
}

TCTraffic::~TCTraffic() { dbus_connection_remove_filter(m_connection.get(), s_OnMessage, this); }

DBusHandlerResult TCTraffic::s_OnMessage(DBusConnection*, DBusMessage* message, void* self)
{
    try
    {
        static_cast<TCTraffic*>(self)->m_Take(message);
    }
    catch (const std::exception& error)
    {
        g_printerr("ci-daemon-sim: a message is not shown: %s\n", error.what());
    }
    return DBUS_HANDLER_RESULT_HANDLED; // whatever it is, who listens does not answer
}

void TCTraffic::m_Take(DBusMessage* message)
{
    const recording::TSMoment moment = recording::TSMoment::Now();
    TJson brief = {{"n", m_End()}, {"t", Milliseconds(m_begin, moment)}};
    if (dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_METHOD_CALL)
    {
        if (!m_DescribeCall(message, moment, brief))
        {
            return;
        }
        traffic::CoverSecrets(message);
    }
    else if (traffic::IsSignal(message))
    {
        const traffic::TSSignal signal = traffic::ReadSignal(message);
        brief["kind"] = "signal";
        brief["name"] = signal.signal ? json::SignalName(signal.signal->type) : signal.type;
        brief["words"] = json::Shortened(
            signal.signal ? json::SignalWords(*signal.signal) : json::Harmless(signal.error), SHOWN_CHARACTERS);
        if (!signal.error.empty())
        {
            brief["error"] = signal.error;
        }
    }
    else if (!m_DescribeReply(message, moment, brief))
    {
        return;
    }
    char* bytes = nullptr;
    int length = 0;
    if (!dbus_message_marshal(message, &bytes, &length))
    {
        throw std::bad_alloc();
    }
    m_messages.push_back({{bytes, static_cast<std::size_t>(length)}, moment, std::move(brief)});
    dbus_free(bytes);
    m_bytes += m_messages.back().bytes.size();
    while (m_messages.size() > MOST_MESSAGES || (m_bytes > MOST_BYTES && m_messages.size() > 1))
    {
        m_bytes -= m_messages.front().bytes.size();
        m_messages.pop_front();
        ++m_first;
    }
}

bool TCTraffic::m_DescribeCall(DBusMessage* message, const recording::TSMoment& moment, TJson& brief)
{
    const auto call = traffic::ReadCall(message);
    if (!call)
    {
        return false;
    }
    const std::string sender = Text(dbus_message_get_sender(message));
    std::string program = Text(call->program);
    if (program.empty() && m_programOf)
    {
        program = m_programOf(sender);
    }
    program = json::Harmless(program.empty() ? sender : program);
    brief["kind"] = "call";
    brief["name"] = call->name;
    brief["from"] = program;
    const bool wantsReply = !dbus_message_get_no_reply(message);
    if (!wantsReply)
    {
        brief["oneWay"] = true;
    }
    if (!call->error.empty())
    {
        brief["error"] = call->error;
    }
    if (wantsReply)
    {
        if (m_calls.size() == MOST_OPEN_CALLS)
        {
            m_calls.erase(std::min_element(m_calls.begin(), m_calls.end(),
                                           [](const auto& left, const auto& right)
                                           { return left.second.number < right.second.number; }));
        }
        m_calls[{sender, dbus_message_get_serial(message)}] = {m_End(), moment, call->name, program};
    }
    return true;
}

bool TCTraffic::m_DescribeReply(DBusMessage* message, const recording::TSMoment& moment, TJson& brief)
{
    const auto call =
        m_calls.extract({Text(dbus_message_get_destination(message)), dbus_message_get_reply_serial(message)});
    if (call.empty())
    {
        return false;
    }
    const TSOpenCall& open = call.mapped();
    const traffic::TSReply reply = traffic::ReadReply(message);
    brief["kind"] = "reply";
    brief["name"] = open.name;
    brief["from"] = open.program;
    brief["call"] = open.number;
    brief["ms"] = Milliseconds(open.moment, moment);
    const bool isHandled = (reply.status & protocol::STATUS_HANDLED) != 0;
    const std::string error = !reply.errorName.empty() ? reply.errorName
                              : !reply.error.empty()   ? reply.error
                              : !isHandled             ? "not handled"
                                                       : "";
    if (!error.empty())
    {
        brief["error"] = json::Shortened(json::Harmless(error), SHOWN_CHARACTERS);
    }
    return true;
}

TJson TCTraffic::From(std::uint64_t& number) const
{
    TJson news = TJson::object();
    if (number >= m_End())
    {
        return news;
    }
    if (number < m_first)
    {
        news["lost"] = m_first - number;
        number = m_first;
    }
    TJson& list = news["traffic"] = TJson::array();
    for (; number < m_End() && list.size() < MOST_AT_ONCE; ++number)
    {
        list.push_back(m_messages[static_cast<std::size_t>(number - m_first)].brief);
    }
    return news;
}

TJson TCTraffic::Details(std::uint64_t number) const
{
    if (number < m_first || number >= m_End())
    {
        throw std::runtime_error("this message is not kept any more");
    }
    const TSMessage& kept = m_messages[static_cast<std::size_t>(number - m_first)];
    TJson details = kept.brief;
    details["bytes"] = kept.bytes.size();
    details.update(Carried(MessageFrom(kept.bytes).get(), kept.brief));
    return details;
}

std::string TCTraffic::Recording() const
{
    const int file = memfd_create("recording", MFD_CLOEXEC);
    if (file < 0)
    {
        throw std::runtime_error("no memory for the recording");
    }
    const std::shared_ptr<void> closing(nullptr, [file](void*) { close(file); });
    recording::TCWriter writer("/proc/self/fd/" + std::to_string(file), 0, "ci-daemon-sim");
    for (const TSMessage& message : m_messages)
    {
        writer.Write(message.moment, message.bytes);
    }
    writer.Close();
    std::string content(static_cast<std::size_t>(std::max<off_t>(lseek(file, 0, SEEK_END), 0)), '\0');
    if (!writer.Trouble().empty() ||
        pread(file, content.data(), content.size(), 0) != static_cast<ssize_t>(content.size()))
    {
        throw std::runtime_error("the recording: " + writer.Trouble());
    }
    return content;
}
} // namespace CIM::sim
