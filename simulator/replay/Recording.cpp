#include "Recording.h"

#include "recording/Input.h"
#include "simulator/daemon/Messages.h"
#include "traffic/Messages.h"
#include "traffic/Recorded.h"

#include "protocol/InterfaceList.h"
#include "json/Harmless.h"
#include "json/Secret.h"

#include <ciapi/CINames.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

namespace CIM::sim
{
namespace
{
constexpr std::size_t MOST_BYTES = 512U << 20; ///< of the messages that are kept

std::string Text(const char* text) { return text != nullptr ? text : ""; }

/// Takes from a recording what is the CI daemon's.
class TCLoader
{
public:
    TCLoader(const std::string& path) : m_file(path), m_messages(m_file.Descriptor()) { m_recording.file = path; }

    TSRecording Load()
    {
        while (m_messages.Next())
        {
            m_Take();
        }
        m_recording.ending = m_messages.Ending();
        m_DropStrangers();
        return std::move(m_recording);
    }

private:
    void m_Take()
    {
        const recording::TSMessageHead& head = m_messages.Head();
        switch (head.type)
        {
        case DBUS_MESSAGE_TYPE_METHOD_CALL:
            if (traffic::InterfaceOfCall(head) != nullptr)
            {
                m_TakeCall();
            }
            break;
        case DBUS_MESSAGE_TYPE_METHOD_RETURN:
        case DBUS_MESSAGE_TYPE_ERROR:
            m_TakeReply(head);
            break;
        default:
            m_TakeSignal();
            break;
        }
    }

    void m_TakeCall()
    {
        const TSharedMessage message = m_Message();
        if (message == nullptr)
        {
            return;
        }
        const std::optional<traffic::TSCall> read = traffic::ReadCall(message.get());
        if (!read || read->isForeign)
        {
            return;
        }
        TSRecordedCall call;
        try
        {
            const TSCall decoded = DecodeCall(message.get());
            const protocol::SBytes& payload = decoded.envelope.payload;
            call.request = ToRequest(read->interface->Name(), read->methodId,
                                     {payload.data, static_cast<std::size_t>(payload.length)});
            call.isOneWay = decoded.isOneWay;
        }
        catch (const std::runtime_error&)
        {
            return; // no daemon gets as far as answering it
        }
        call.operation = read->operation;
        call.client = Text(dbus_message_get_sender(message.get()));
        call.isSubscription = read->interface->Name() == protocol::NameOf<ICISignalSubscriber>();
        call.message = message;
        m_CountFor(call.client, Text(read->program));
        const std::size_t index = m_recording.calls.size();
        if (!dbus_message_get_no_reply(message.get()))
        {
            m_open[{call.client, dbus_message_get_serial(message.get())}] = index;
        }
        m_recording.calls.push_back(std::move(call));
        m_AddEvent({TSRecordedEvent::CALL, 0, index, nullptr, {}});
    }

    void m_TakeReply(const recording::TSMessageHead& head)
    {
        const auto found = m_open.find({std::string(head.destination), head.replySerial});
        if (found == m_open.end())
        {
            return;
        }
        const TSharedMessage reply = m_Message();
        if (reply == nullptr)
        {
            return;
        }
        m_recording.calls[found->second].reply = reply;
        m_daemons.insert(Text(dbus_message_get_sender(reply.get())));
        m_AddEvent({TSRecordedEvent::REPLY, 0, found->second, nullptr, {}});
        m_open.erase(found);
    }

    void m_TakeSignal()
    {
        if (m_messages.Head().interface != traffic::MARK_INTERFACE &&
            m_messages.Head().interface != std::string_view(CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME))
        {
            return;
        }
        const TSharedMessage message = m_Message();
        if (message == nullptr)
        {
            return;
        }
        if (traffic::IsSignal(message.get()))
        {
            m_AddEvent({TSRecordedEvent::SIGNAL, 0, 0, message, {}});
        }
        else if (const auto mark = traffic::ReadMark(message.get()))
        {
            m_AddEvent({TSRecordedEvent::MARK, 0, 0, nullptr, *mark});
        }
    }

    TSharedMessage m_Message()
    {
        TCMessagePtr message = m_messages.Message();
        if (message == nullptr)
        {
            return nullptr;
        }
        m_bytes += m_messages.Size();
        if (m_bytes > MOST_BYTES)
        {
            throw TCNoRecording(m_recording.file + ": this recording is too long to be played, it holds more than " +
                                std::to_string(MOST_BYTES >> 20) +
                                " MiB of calls and signals; editcap -A and -B cut out a time");
        }
        return {message.release(), TSMessageRelease()};
    }

    void m_AddEvent(TSRecordedEvent event)
    {
        const recording::TSMoment& moment = m_messages.Moment();
        if (m_recording.events.empty())
        {
            m_first = moment;
        }
        const bool isMonotonic = m_first.monotonic != 0 && moment.monotonic != 0;
        std::int64_t at = 0;
        const bool isWrong = isMonotonic ? __builtin_sub_overflow(moment.monotonic, m_first.monotonic, &at)
                                         : __builtin_sub_overflow(moment.real, m_first.real, &at);
        event.at = isWrong ? m_last : std::max(at, m_last); // a clock that was put back
        m_last = event.at;
        m_recording.events.push_back(std::move(event));
    }

    void m_CountFor(const std::string& client, const std::string& program)
    {
        auto& clients = m_recording.clients;
        auto found =
            std::find_if(clients.begin(), clients.end(), [&](const auto& known) { return known.name == client; });
        if (found == clients.end())
        {
            clients.push_back({client, {}, 0});
            found = clients.end() - 1;
        }
        ++found->calls;
        found->program = program.empty() ? found->program : program;
    }

    /// What somebody else sends as the daemon's counts for no application.
    void m_DropStrangers()
    {
        if (m_daemons.empty())
        {
            return;
        }
        m_recording.strangersSignals =
            std::erase_if(m_recording.events,
                          [&](const TSRecordedEvent& event)
                          {
                              return event.kind == TSRecordedEvent::SIGNAL &&
                                     m_daemons.count(Text(dbus_message_get_sender(event.signal.get()))) == 0;
                          });
    }

    recording::TCInput m_file;
    traffic::TCRecorded m_messages;
    TSRecording m_recording;
    std::map<std::pair<std::string, std::uint32_t>, std::size_t> m_open; ///< calls without a reply yet
    std::set<std::string> m_daemons;                                     ///< unique names of who answers
    recording::TSMoment m_first;
    std::int64_t m_last = 0;
    std::size_t m_bytes = 0;
};

/// Leaves the calls of one application, and the signals that could reach it.
void KeepClient(TSRecording& recording, const std::string& client)
{
    std::set<std::string> names;
    for (const TSRecordedClient& known : recording.clients)
    {
        if (known.name == client || known.program == client)
        {
            names.insert(known.name);
        }
    }
    if (names.empty())
    {
        throw TCNoRecording(recording.file + ": there are no calls of an application " + client +
                            "; there are: " + recording.ClientsInWords());
    }
    std::vector<std::size_t> places(recording.calls.size());
    std::vector<TSRecordedCall> calls;
    for (std::size_t i = 0; i < recording.calls.size(); ++i)
    {
        places[i] = calls.size();
        if (names.count(recording.calls[i].client) > 0)
        {
            calls.push_back(std::move(recording.calls[i]));
        }
        else
        {
            places[i] = SIZE_MAX;
        }
    }
    recording.calls = std::move(calls);
    std::erase_if(recording.events,
                  [&](TSRecordedEvent& event)
                  {
                      if (event.kind == TSRecordedEvent::SIGNAL)
                      {
                          const std::string to = Text(dbus_message_get_destination(event.signal.get()));
                          return !to.empty() && names.count(to) == 0;
                      }
                      const bool isOfCall = event.kind != TSRecordedEvent::MARK;
                      event.call = isOfCall ? places[event.call] : 0;
                      return isOfCall && event.call == SIZE_MAX;
                  });
    std::erase_if(recording.clients, [&](const TSRecordedClient& known) { return names.count(known.name) == 0; });
}
} // namespace

std::string Counted(std::size_t count, const char* what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string TSRequest::Words() const
{
    constexpr std::size_t MOST = 200;
    return json::Shortened(text, MOST);
}

std::optional<json::TJson> ReadableArguments(const json::TCOperationForm& operation, std::string_view payload)
{
    json::TSDecoded decoded = operation.RequestToJson(payload);
    if (!decoded.error.empty() ||
        json::MayHideSecrets(json::FindInterface(operation.InterfaceName()), &operation, payload))
    {
        json::Wipe(decoded.json);
        return std::nullopt;
    }
    operation.HideSecrets(decoded.json);
    decoded.json.erase("processId");
    return std::move(decoded.json);
}

TSRequest ToRequest(const std::string& interface, short methodId, std::string_view payload)
{
    const json::TCInterfaceForm* const known = json::FindInterface(interface);
    const json::TCOperationForm* const operation = known != nullptr ? known->Find(methodId) : nullptr;
    TSRequest request;
    request.operation = operation != nullptr ? operation->FullName() : interface + "." + std::to_string(methodId);
    if (const auto arguments = operation != nullptr ? ReadableArguments(*operation, payload) : std::nullopt)
    {
        request.text = request.operation + " " + json::Dump(*arguments);
        return request;
    }
    const bool isSecret =
        json::MayHideSecrets(known, operation, payload) || (operation != nullptr && operation->HasSecrets());
    request.text =
        request.operation + " " +
        (isSecret ? std::to_string(payload.size()) + " bytes"
                  : json::BytesToHex({reinterpret_cast<const unsigned char*>(payload.data()), payload.size()}));
    return request;
}

std::string_view TSRecordedCall::Payload() const
{
    const protocol::SBytes payload = DecodeCall(message.get()).envelope.payload;
    return {payload.data, static_cast<std::size_t>(payload.length)};
}

std::string TSRecording::ClientsInWords() const
{
    std::string words;
    for (const TSRecordedClient& client : clients)
    {
        words += (words.empty() ? "" : ", ") +
                 (client.program.empty() ? client.name : client.program + " (" + client.name + ")") + ": " +
                 Counted(client.calls, "call");
    }
    return words;
}

TSRecording ReadRecording(const std::string& path, const std::string& client)
{
    try
    {
        TSRecording recording = TCLoader(path).Load();
        if (recording.calls.empty())
        {
            throw TCNoRecording(path + ": this recording holds no call to the CI daemon" +
                                (recording.ending.empty() ? "" : "; " + recording.ending));
        }
        if (!client.empty())
        {
            KeepClient(recording, client);
        }
        return recording;
    }
    catch (const recording::TCInputError& error)
    {
        throw TCNoRecording(error.what());
    }
    catch (const recording::TCRecordingError& error)
    {
        throw TCNoRecording(path + ": " + error.what());
    }
}

std::size_t LeaveOf(const TSRecording& recording)
{
    const auto leaves = [](const TSRecordedCall& call)
    { return call.operation != nullptr && call.operation->FullName() == "ICISignalSubscriber.Unsubscribe"; };
    const auto last = std::find_if_not(recording.calls.rbegin(), recording.calls.rend(), leaves);
    return static_cast<std::size_t>(recording.calls.rend() - last);
}

bool IsRecording(const std::string& path)
{
    if (path.ends_with(".pcapng") || path.ends_with(".pcap"))
    {
        return true;
    }
    std::error_code problem;
    if (!std::filesystem::is_regular_file(path, problem))
    {
        return false;
    }
    std::uint32_t begin = 0;
    std::ifstream(path, std::ios::binary).read(reinterpret_cast<char*>(&begin), sizeof begin);
    const auto known = {recording::BLOCK_SECTION, recording::PCAP_MICROSECONDS, recording::PCAP_NANOSECONDS};
    return std::any_of(known.begin(), known.end(),
                       [&](std::uint32_t word) { return begin == word || begin == __builtin_bswap32(word); });
}
} // namespace CIM::sim
