#include "Daemon.h"

#include "simulator/model/Model.h"
#include "WireForm.h"

namespace CIM::sim
{
TDaemon::TDaemon(TModel& model, TSDaemonOptions options)
    : m_model(model), m_options(std::move(options)), m_clients(model.Subscriber()), m_skeletons(model, m_clients),
      m_port(m_options.context, {[this](DBusMessage* message) { m_OnCall(message); },
                                 [this](const std::string& name) { m_clients.OnGone(name); },
                                 [this]
                                 {
                                     if (onLost)
                                     {
                                         onLost();
                                     }
                                 }}),
      m_timers(m_options.context), m_clock(model, m_options.context, m_options.isManualClock),
      m_marker(m_options.markerPath), m_names(m_skeletons.ConnectionNames())
{
    m_model.SetSignalSink([this](const TSSignal& signal) { m_port.Send(MakeSignal(signal).get()); });
}

TDaemon::~TDaemon()
{
    Stop();
    m_model.SetSignalSink({});
}

bool TDaemon::Start(std::string& error)
{
    if (!m_port.Connect(error) || !m_TakeNames(error))
    {
        Stop();
        return false;
    }
    m_clock.CatchUp();
    m_clock.Settle();
    return true;
}

void TDaemon::Stop()
{
    m_timers.CancelAll();
    m_marker.Remove();
    m_port.Disconnect();
    m_owned.clear();
    m_clients.ForgetAll();
}

bool TDaemon::m_TakeNames(std::string& error)
{
    for (std::size_t i = 0; i < m_names.size(); ++i)
    {
        const unsigned delay = m_options.namesAfterMs + static_cast<unsigned>(i) * m_options.nameStepMs;
        if (delay == 0)
        {
            if (!m_TakeName(i, error))
            {
                return false;
            }
            continue;
        }
        m_timers.After(delay,
                       [this, i]
                       {
                           std::string late;
                           if (!m_TakeName(i, late))
                           {
                               g_printerr("ci-daemon-sim: %s\n", late.c_str());
                           }
                       });
    }
    return true;
}

bool TDaemon::m_TakeName(std::size_t index, std::string& error)
{
    if (!m_port.TakeName(m_names[index], error))
    {
        return false;
    }
    m_owned.insert(m_names[index]);
    if (m_owned.size() == m_names.size())
    {
        if (!m_marker.Write(error))
        {
            return false;
        }
        if (onReady)
        {
            onReady();
        }
    }
    return true;
}

void TDaemon::m_OnCall(DBusMessage* message)
{
    if (!dbus_message_has_path(message, CALL_OBJECT) || !dbus_message_has_member(message, CALL_MEMBER))
    {
        m_port.Send(MakeError(message, DBUS_ERROR_UNKNOWN_METHOD,
                              std::string("calls go to ") + CALL_MEMBER + " of " + CALL_OBJECT)
                        .get());
        return;
    }
    TSCall call;
    std::string error;
    if (!DecodeCall(message, call, error))
    {
        if (!call.isOneWay)
        {
            m_port.Send(MakeError(message, DBUS_ERROR_INVALID_ARGS, error).get());
        }
        return;
    }
    m_clients.OnCall(call);
    m_clock.CatchUp();
    m_Answer(message, call);
    m_clock.Settle();
}

void TDaemon::m_Answer(DBusMessage* message, const TSCall& call)
{
    TCMessageBuffer request;
    TCMessageBuffer reply;
    request.PushBorrowed(call.payload.size(), call.payload.data());
    protocol::TISkeleton* const skeleton = m_skeletons.Find(call.interface);
    const protocol::EHandled handled = skeleton != nullptr
                                           ? skeleton->Handle(call.methodId, call.isOneWay, request, reply)
                                           : protocol::EHandled::UNKNOWN_METHOD;
    if (call.isOneWay)
    {
        return;
    }
    unsigned char status = handled == protocol::EHandled::ANSWERED ? STATUS_HANDLED : 0;
    if (m_clients.IsHelloWanted())
    {
        status |= STATUS_HELLO_WANTED;
    }
    const std::size_t size = reply.GetUnreadSize();
    const auto* const bytes = size == 0 ? nullptr : reinterpret_cast<const unsigned char*>(reply.GetAsCStr(0));
    m_port.Send(MakeReply(message, status, {bytes, size}).get());
}
} // namespace CIM::sim
