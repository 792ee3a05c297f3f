#include "SimulatedDaemon.h"

#include "ControlObject.h"
#include "FaultyReply.h"
#include "Messages.h"
#include "simulator/model/Model.h"
#include "simulator/model/Parts.h"
#include "Verbs.h"

#include <cstdlib>
#include <stdexcept>
#include <sys/resource.h>
#include <unistd.h>

namespace CIM::sim
{
namespace
{
void EndProcess(bool isAbort)
{
    g_printerr("ci-daemon-sim: the simulator ends with a fault: crash\n"); // else only the exit status tells
    if (isAbort)
    {
        const rlimit none{};
        setrlimit(RLIMIT_CORE, &none); // the crash is played: nobody wants its core file
        std::abort();
    }
    _exit(70);
}

const char* OutcomeOf(protocol::EHandled handled)
{
    switch (handled)
    {
    case protocol::EHandled::ANSWERED:
        return "answered";
    case protocol::EHandled::UNKNOWN_METHOD:
        return "unknown-method";
    default:
        return "malformed";
    }
}

/// The slot that a request is about.
std::optional<unsigned> SlotOf(const json::TCOperationForm* operation, const std::string& payload)
{
    const json::TSParameter* const parameter = operation != nullptr ? operation->FindParameter("slot") : nullptr;
    if (parameter == nullptr || !protocol::IsInput(parameter->word))
    {
        return std::nullopt;
    }
    TCMessageBuffer request;
    request.PushBorrowed(static_cast<int>(payload.size()), payload.data());
    TCTreeBranchList tree(&request);
    const TCTreeNode* const node = tree.FindNode(parameter->position);
    if (node == nullptr || node->GetByteSize() != 1)
    {
        return std::nullopt;
    }
    return *static_cast<const unsigned char*>(node->GetData());
}

/// What the journal has of an answer that was given.
void NoteAnswer(TSJournalEntry& entry, DBusMessage* reply)
{
    entry.outcome = "unanswered";
    if (reply != nullptr)
    {
        protocol::SReplyEnvelope envelope;
        ReadArguments(reply, envelope);
        entry.outcome = "answered";
        entry.reply.assign(envelope.payload.data, static_cast<std::size_t>(envelope.payload.length));
    }
}
} // namespace

TCSimulatedDaemon::TCSimulatedDaemon(TCModel& model, TSSimulatedDaemonOptions options)
    : onCrash(EndProcess), m_model(model), m_options(std::move(options)), m_clients(model.Of<ICISignalSubscriber>()),
      m_skeletons(model, m_clients),
      m_port(m_options.context, {[this](DBusMessage* message) { m_OnCall(message); },
                                 [this](const std::string& name) { m_clients.OnGone(name); },
                                 [this] { m_Lost("the system bus is gone"); }}),
      m_timers(m_options.context), m_events(m_options.context),
      m_clock(model, m_options.context, m_options.isManualClock), m_faults(m_options.seed),
      m_signalFaults(m_port, m_timers, m_clients), m_marker(m_options.markerPath),
      m_names(TCSkeletons::ConnectionNames())
{
    if (m_options.hasControl)
    {
        m_names.insert(m_names.begin(), CONTROL_NAME); // there before the daemon is, so that a late one can be watched
    }
    m_model.SetSignalSink(
        [this](const TSSignal& signal)
        {
            m_port.Send(MakeSignal(signal).get());
            if (onSignal)
            {
                onSignal(signal);
            }
        });
}

TCSimulatedDaemon::~TCSimulatedDaemon()
{
    Stop();
    m_model.SetSignalSink({});
}

void TCSimulatedDaemon::Start()
{
    m_isLeaving = false;
    m_port.Connect();
    try
    {
        m_TakeNames(m_options.namesAfterMs, m_options.nameStepMs);
    }
    catch (...)
    {
        Stop();
        throw;
    }
    m_clock.CatchUp();
    m_clock.Settle();
}

void TCSimulatedDaemon::Stop()
{
    m_timers.CancelAll();
    m_events.CancelAll();
    m_marker.Remove();
    m_port.Disconnect();
    m_owned.clear();
    m_clients.ForgetAll();
}

unsigned TCSimulatedDaemon::AddFault(TSFault fault)
{
    if (!fault.operation.empty())
    {
        return m_faults.Add(std::move(fault));
    }
    m_Happen(fault);
    return 0;
}

void TCSimulatedDaemon::RequestQuit()
{
    m_events.After(0,
                   [this]
                   {
                       if (onQuit)
                       {
                           onQuit();
                       }
                   });
}

json::TJson TCSimulatedDaemon::State() const
{
    json::TJson state = m_model.State();
    json::Put(
        state, "daemon",
        json::Record({{"names", m_owned}, {"now", m_model.Now()}, {"manualClock", m_options.isManualClock}}).Take());
    return state;
}

void TCSimulatedDaemon::m_TakeNames(unsigned afterMs, unsigned stepMs)
{
    unsigned delay = afterMs;
    for (const std::string& name : m_names)
    {
        const bool isControl = name == CONTROL_NAME;
        if (delay == 0 || isControl)
        {
            m_TakeName(name);
        }
        else
        {
            m_TakeNameAfter(delay, name);
        }
        delay += isControl ? 0 : stepMs;
    }
}

void TCSimulatedDaemon::m_TakeName(const std::string& name)
{
    try
    {
        m_port.TakeName(name);
    }
    catch (const std::runtime_error& error)
    {
        throw std::runtime_error(std::string(error.what()) +
                                 (name == CONTROL_NAME ? " (on a bus with a policy: --no-control)" : ""));
    }
    m_owned.insert(name);
    if (m_owned.size() == m_names.size())
    {
        m_marker.Write();
        if (onReady)
        {
            onReady();
        }
    }
}

void TCSimulatedDaemon::m_TakeNameAfter(unsigned ms, const std::string& name)
{
    m_timers.After(ms,
                   [this, name]
                   {
                       try
                       {
                           m_TakeName(name);
                       }
                       catch (const std::exception& error)
                       {
                           g_printerr("ci-daemon-sim: %s\n", error.what());
                       }
                   });
}

void TCSimulatedDaemon::m_OnCall(DBusMessage* message)
{
    if (m_isLeaving)
    {
        return;
    }
    const TCModelUse use(m_clock);
    if (IsControlCall(message) && m_options.hasControl)
    {
        const TCMessagePtr reply = AnswerControl(*this, message);
        if (!dbus_message_get_no_reply(message))
        {
            m_port.Send(reply.get());
        }
    }
    else if (dbus_message_has_path(message, protocol::CALL_OBJECT_PATH) &&
             dbus_message_has_member(message, protocol::CALL_MEMBER))
    {
        m_OnInterfaceCall(message);
    }
    else if (!dbus_message_get_no_reply(message))
    {
        m_port.Send(MakeError(message, DBUS_ERROR_UNKNOWN_METHOD,
                              std::string("calls go to ") + protocol::CALL_MEMBER + " of " + protocol::CALL_OBJECT_PATH)
                        .get());
    }
}

void TCSimulatedDaemon::m_OnInterfaceCall(DBusMessage* message)
{
    TSCall call;
    try
    {
        call = DecodeCall(message);
    }
    catch (const std::runtime_error& error)
    {
        if (!dbus_message_get_no_reply(message))
        {
            m_port.Send(MakeError(message, DBUS_ERROR_INVALID_ARGS, error.what()).get());
        }
        return;
    }
    m_clients.OnCall(call);
    const short methodId = protocol::MethodIdOf(call.envelope.header);
    const protocol::SBytes& payload = call.envelope.payload;

    const json::TCInterfaceForm* const interface = json::FindInterface(call.interface);
    TSJournalEntry entry;
    entry.time = m_model.Now();
    entry.interface = interface != nullptr ? interface->Name() : call.interface;
    entry.operation = interface != nullptr ? interface->Find(methodId) : nullptr;
    entry.methodId = methodId;
    entry.isOneWay = call.isOneWay;
    entry.client = call.sender;
    entry.processId = call.envelope.processId;
    entry.program = m_clients.ProgramOf(call.sender);
    entry.request.assign(payload.data, payload.length);

    const std::optional<TSFault> fault =
        m_faults.Meet(entry.interface, entry.OperationName(), SlotOf(entry.operation, entry.request));
    entry.fault = fault ? ToJson(*fault).at("kind").get<std::string>() : "";
    std::optional<TSGivenAnswer> given;
    if (onAnswer)
    {
        given = onAnswer(entry);
    }
    if (!given || entry.interface == protocol::NameOf<ICISignalSubscriber>()) // who has subscribed is known either way
    {
        m_AskModel(call, entry);
    }
    if (given)
    {
        NoteAnswer(entry, given->reply.get());
    }
    const TSJournalEntry& kept = m_journal.Add(std::move(entry));
    if (onCall)
    {
        onCall(kept);
    }
    if (given && !fault)
    {
        m_Give(message, kept, std::move(*given));
    }
    else
    {
        m_Reply(message, kept, fault);
    }
    m_journal.SealLast(); // who hears of the call has seen it
}

void TCSimulatedDaemon::m_AskModel(const TSCall& call, TSJournalEntry& entry)
{
    TCMessageBuffer request;
    TCMessageBuffer reply;
    request.PushBorrowed(call.envelope.payload.length, call.envelope.payload.data);
    protocol::TISkeleton* const skeleton = m_skeletons.Find(call.interface);
    protocol::EHandled handled = protocol::EHandled::UNKNOWN_METHOD;
    try
    {
        handled = skeleton != nullptr ? skeleton->Handle(entry.methodId, call.isOneWay, request, reply) : handled;
    }
    catch (...)
    {
        entry.Seal(); // nobody else will
        if (onThrow)
        {
            onThrow(entry);
        }
        throw;
    }
    entry.outcome = OutcomeOf(handled);
    if (reply.GetUnreadSize() > 0)
    {
        entry.reply.assign(reply.GetAsCStr(0), reply.GetUnreadSize());
    }
}

void TCSimulatedDaemon::m_Reply(DBusMessage* message, const TSJournalEntry& entry, const std::optional<TSFault>& fault)
{
    if (fault && !fault->IsReplyFault())
    {
        m_Happen(*fault); // before the reply: a daemon that ends in the middle of a call has not answered it
    }
    if (entry.isOneWay || m_isLeaving)
    {
        return;
    }
    protocol::SReplyEnvelope envelope;
    envelope.status |= entry.outcome == OutcomeOf(protocol::EHandled::ANSWERED) ? protocol::STATUS_HANDLED : 0;
    envelope.status |= m_clients.IsHelloWanted() ? protocol::STATUS_HELLO_WANTED : 0;
    envelope.length = static_cast<std::int32_t>(entry.reply.size());
    envelope.payload = {entry.reply.data(), envelope.length};
    TCMessagePtr reply = fault ? MakeFaultyReply(message, *fault, envelope) : MakeReply(message, envelope);
    if (reply == nullptr)
    {
        return;
    }
    m_SendAfter(fault && fault->IsReplyFault() ? fault->ms : 0, std::move(reply));
}

void TCSimulatedDaemon::m_Give(DBusMessage* message, const TSJournalEntry& entry, TSGivenAnswer answer)
{
    if (entry.isOneWay || m_isLeaving || answer.reply == nullptr)
    {
        if (answer.before)
        {
            answer.before();
        }
        return;
    }
    dbus_message_set_sender(answer.reply.get(), nullptr);
    if (!dbus_message_set_destination(answer.reply.get(), dbus_message_get_sender(message)) ||
        !dbus_message_set_reply_serial(answer.reply.get(), dbus_message_get_serial(message)))
    {
        throw std::bad_alloc();
    }
    m_SendAfter(answer.afterMs, std::move(answer.reply), std::move(answer.before));
}

void TCSimulatedDaemon::m_SendAfter(unsigned ms, TCMessagePtr reply, std::function<void()> before)
{
    if (ms != 0)
    {
        m_timers.After(ms, [this, late = std::make_shared<TCMessagePtr>(std::move(reply)), before = std::move(before)]
                       { m_SendAfter(0, std::move(*late), before); });
        return;
    }
    if (before)
    {
        before();
    }
    m_port.Send(reply.get());
}

void TCSimulatedDaemon::m_Happen(const TSFault& fault)
{
    switch (fault.kind)
    {
    case FAULT_CRASH:
        onCrash(fault.shape == "abort");
        m_isLeaving = !m_port.IsConnected(); // a crash that is only played has left the bus
        break;
    case FAULT_RESTART:
        m_Restart(fault);
        break;
    case FAULT_LOSE_NAME:
        m_LoseName(fault);
        break;
    default:
        m_signalFaults.Begin(fault);
        break;
    }
}

void TCSimulatedDaemon::m_Restart(const TSFault& fault)
{
    if (m_isLeaving)
    {
        return;
    }
    m_isLeaving = true;
    m_events.After(0,
                   [this, fault]
                   {
                       Stop();
                       m_model.Parts().lifecycle.ResetAll(); // a daemon that starts makes every CAM begin anew
                       m_clock.Settle();
                       m_events.After(fault.ms,
                                      [this, fault]
                                      {
                                          m_options.namesAfterMs = 0;
                                          m_options.nameStepMs = fault.stepMs;
                                          try
                                          {
                                              Start();
                                          }
                                          catch (const std::exception& error)
                                          {
                                              m_Lost(error.what());
                                          }
                                      });
                   });
}

void TCSimulatedDaemon::m_LoseName(const TSFault& fault)
{
    m_port.LeaveName(fault.name);
    m_owned.erase(fault.name);
    if (fault.ms != 0)
    {
        m_TakeNameAfter(fault.ms, fault.name);
    }
}

void TCSimulatedDaemon::m_Lost(const std::string& reason)
{
    g_printerr("ci-daemon-sim: %s\n", reason.c_str());
    if (onLost)
    {
        onLost();
    }
}
} // namespace CIM::sim
