#include "AppMmi.h"

#include "simulator/definition/FileAnswer.h"

namespace CIM::sim
{
namespace
{
constexpr std::size_t MAX_DATA = 256;
constexpr unsigned char ACCEPTED = 1;

ECISignalType SignalOf(EAppMmiMessage message)
{
    switch (message)
    {
    case CI_APPMMI_MESSAGE_START_APP:
        return SIGNAL_CI_APP_MMI_START_APP;
    case CI_APPMMI_MESSAGE_FILE_ACK:
        return SIGNAL_CI_APP_MMI_FILE_ACK;
    case CI_APPMMI_MESSAGE_ABORT_REQ:
        return SIGNAL_CI_APP_MMI_ABORT_REQ;
    case CI_APPMMI_MESSAGE_ABORT_ACK:
        break;
    }
    return SIGNAL_CI_APP_MMI_ABORT_ACK;
}
} // namespace

TCAppMmi::TSSession* TCAppMmi::m_Find(unsigned short id, EStep step)
{
    const auto found = m_sessions.find(id);
    return found != m_sessions.end() && found->second.step == step ? &found->second : nullptr;
}

const TCAppMmi::TSData* TCAppMmi::m_Data(int dataId, EAppMmiMessage message) const
{
    const auto found = m_data.find(dataId);
    return found != m_data.end() && found->second.message == message ? &found->second : nullptr;
}

void TCAppMmi::m_Announce(const TSSession& session, TSData data)
{
    const EAppMmiMessage message = data.message;
    const unsigned short id = data.session;
    data.pipeline = session.pipeline;
    m_data[++m_lastData] = std::move(data);
    if (m_data.size() > MAX_DATA)
    {
        m_data.erase(m_data.begin());
    }
    const auto value = static_cast<std::uint32_t>(m_lastData);
    for (const ECISignalType type : {SignalOf(message), SIGNAL_CI_APPMMI_MESSAGE})
    {
        m_world.Raise(PipelineSignal(type, session.pipeline, session.slot, message, id, value));
    }
}

int TCAppMmi::SetApplicationState(TVSHandle const&, EAppMmiName application, EAppMmiState state,
                                  unsigned long long value)
{
    if (EnumName(application).empty() || application == CI_APPMMI_INVALID || EnumName(state).empty())
    {
        return 0;
    }
    m_applications[application] = {state, value};
    return 1;
}

int TCAppMmi::SendAppAbortRequest(unsigned short id, std::vector<unsigned char> const& data)
{
    const auto found = m_sessions.find(id);
    if (found == m_sessions.end())
    {
        return 0;
    }
    // Also when the CAM has asked for the same: requests that cross end the session once.
    const TSSession session = found->second;
    m_sessions.erase(found);
    const TSSlot& slot = m_world.slots[session.slot];
    m_world.After(slot, slot.cam.appMmi.delayMs,
                  [this, session, id, data] {
                      m_Announce(session, {CI_APPMMI_MESSAGE_ABORT_ACK, id, true, true, 0, data, {}, {}});
                  });
    return 1;
}

int TCAppMmi::SendAppAbortAck(unsigned short id, std::vector<unsigned char> const&)
{
    if (!m_Find(id, STEP_ABORTING))
    {
        return 0;
    }
    m_sessions.erase(id);
    return 1;
}

int TCAppMmi::SendFileRequest(unsigned short id, std::vector<unsigned char> const& data, int value)
{
    const TSSession* const session = m_Find(id, STEP_RUNNING);
    if (!session)
    {
        return 0;
    }
    const TSSlot& slot = m_world.slots[session->slot];
    m_world.After(slot, slot.cam.appMmi.delayMs,
                  [this, &slot, id, data, value]
                  {
                      if (const auto then = m_sessions.find(id); then != m_sessions.end())
                      {
                          TSFileAnswer answer = AnswerFileRequest(slot.cam.appMmi.files, value, data);
                          m_Announce(then->second, {CI_APPMMI_MESSAGE_FILE_ACK,
                                                    id,
                                                    answer.isFound,
                                                    answer.isServed,
                                                    value,
                                                    data,
                                                    std::move(answer.bytes),
                                                    {}});
                      }
                  });
    return 1;
}

int TCAppMmi::SendRequestStartAck(unsigned short id, unsigned char ackCode)
{
    TSSession* const session = m_Find(id, STEP_WAITING);
    if (!session)
    {
        return 0;
    }
    if (ackCode == ACCEPTED)
    {
        session->step = STEP_RUNNING;
    }
    else
    {
        m_sessions.erase(id);
    }
    return 1;
}

int TCAppMmi::GetAbortAckData(int dataId, std::vector<unsigned char>& data)
{
    const TSData* const found = m_Data(dataId, CI_APPMMI_MESSAGE_ABORT_ACK);
    if (!found)
    {
        return 0;
    }
    data = found->first;
    return 1;
}

int TCAppMmi::GetAbortRequestData(int dataId, std::vector<unsigned char>& data)
{
    const TSData* const found = m_Data(dataId, CI_APPMMI_MESSAGE_ABORT_REQ);
    if (!found)
    {
        return 0;
    }
    data = found->first;
    return 1;
}

int TCAppMmi::GetFileAckData(int dataId, bool& firstFlag, bool& secondFlag, int& value,
                             std::vector<unsigned char>& firstData, std::vector<unsigned char>& secondData)
{
    const TSData* const found = m_Data(dataId, CI_APPMMI_MESSAGE_FILE_ACK);
    if (!found)
    {
        return 0;
    }
    firstFlag = found->isFound;
    secondFlag = found->isServed;
    value = found->value;
    firstData = found->first;
    secondData = found->second;
    return 1;
}

int TCAppMmi::GetStartAppData(unsigned short id, int dataId, std::vector<unsigned char>& firstData,
                              std::vector<unsigned char>& secondData, TVSHandle& handle, bool& flag)
{
    const TSData* const found = m_Data(dataId, CI_APPMMI_MESSAGE_START_APP);
    if (!found || found->session != id)
    {
        return 0;
    }
    firstData = found->first;
    secondData = found->second;
    handle = found->pipeline;
    flag = !found->second.empty();
    return 1;
}

TSOutcome TCAppMmi::RequestStart(unsigned slot, const std::string& domain, const std::string& object,
                                 const TVSHandle& pipeline)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found)
    {
        return TSOutcome::Refused("no ready CAM in slot " + std::to_string(slot));
    }
    do
    {
        ++m_lastSession;
    } while (m_lastSession == 0 || m_sessions.count(m_lastSession) > 0);
    const TSSession session{found->number, STEP_WAITING, pipeline, domain};
    m_sessions[m_lastSession] = session;
    m_Announce(session, {CI_APPMMI_MESSAGE_START_APP,
                         m_lastSession,
                         true,
                         true,
                         0,
                         TBytes(domain.begin(), domain.end()),
                         TBytes(object.begin(), object.end()),
                         {}});
    return TSOutcome::Done();
}

TSOutcome TCAppMmi::RequestAbort(unsigned slot, const TBytes& data)
{
    for (auto& [id, session] : m_sessions)
    {
        if (session.slot == slot && session.step != STEP_ABORTING)
        {
            session.step = STEP_ABORTING;
            m_Announce(session, {CI_APPMMI_MESSAGE_ABORT_REQ, id, true, true, 0, data, {}, {}});
            return TSOutcome::Done();
        }
    }
    return TSOutcome::Refused("the CAM in slot " + std::to_string(slot) + " has no application MMI session to abort");
}

void TCAppMmi::OnCamGone(const TSSlot& slot)
{
    for (auto session = m_sessions.begin(); session != m_sessions.end();)
    {
        if (session->second.slot != slot.number)
        {
            ++session;
            continue;
        }
        const auto [id, gone] = *session;
        session = m_sessions.erase(session);
        m_Announce(gone, {CI_APPMMI_MESSAGE_ABORT_REQ, id, true, true, 0, {}, {}, {}});
    }
}

json::TCDraft TCAppMmi::State() const
{
    static constexpr const char* steps[] = {"waiting", "running", "aborting"};
    json::TCDraft sessions = json::List();
    for (const auto& [id, session] : m_sessions)
    {
        sessions.Append(json::Record(
            {{"session", id}, {"slot", session.slot}, {"step", steps[session.step]}, {"domain", session.domain}}));
    }
    json::TCDraft applications = json::List();
    for (const auto& [name, state] : m_applications)
    {
        applications.Append(json::Record({{"application", EnumName(static_cast<EAppMmiName>(name))},
                                          {"state", EnumName(state.first)},
                                          {"value", state.second}}));
    }
    return json::Record({{"sessions", std::move(sessions)}, {"applications", std::move(applications)}});
}
} // namespace CIM::sim
