#include "Sas.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
constexpr std::size_t MAX_MESSAGE = 65'536;
constexpr std::size_t MAX_QUEUED = 1'024;
constexpr std::size_t MAX_SESSIONS = 1'024;
constexpr TTime CONNECT_MS = 20;
} // namespace

int TCSas::m_SessionsOf(std::uint64_t applicationId) const
{
    return static_cast<int>(std::count_if(m_sessions.begin(), m_sessions.end(),
                                          [&](const auto& session) {
                                              return session.second.isConnected &&
                                                     session.second.application.id == applicationId;
                                          }));
}

int TCSas::Connect(std::uint64_t applicationId, unsigned short& sessionId)
{
    const TSSlot* slot = m_world.FirstReady();
    if (!slot || m_sessions.size() >= MAX_SESSIONS)
    {
        return 0;
    }
    TSSasApplicationDefinition application;
    application.answer = SAS_CONNECTION_STATUS_CONNECT_DENIED_NO_APP;
    for (const TSSlot& candidate : m_world.slots)
    {
        for (const TSSasApplicationDefinition& offered : candidate.cam.sasApplications)
        {
            if (candidate.IsReady() && offered.id == applicationId &&
                application.answer == SAS_CONNECTION_STATUS_CONNECT_DENIED_NO_APP)
            {
                slot = &candidate;
                application = offered;
            }
        }
    }
    application.id = applicationId;
    do
    {
        ++m_lastSession;
    } while (m_lastSession == 0 || m_sessions.count(m_lastSession) > 0);
    sessionId = m_lastSession;
    m_sessions[sessionId] = {slot->number, application, false, 0, {}, 0, 0};
    m_world.Raise(SlotSignal(SIGNAL_CI_SAS_STATUS_CHANGE, slot->number, CAM_SAS_STATUS_SESSION_OPEN, sessionId));
    m_world.After(*slot, CONNECT_MS,
                  [this, slot, id = sessionId]
                  {
                      TSSession& session = m_sessions.at(id);
                      ESasConnectionStatus answer = session.application.answer;
                      if (answer == SAS_CONNECTION_STATUS_CONNECT_OK &&
                          m_SessionsOf(session.application.id) >= session.application.maxSessions)
                      {
                          answer = SAS_CONNECTION_STATUS_CONNECT_DENIED_TOO_MANY_APP;
                      }
                      session.isConnected = answer == SAS_CONNECTION_STATUS_CONNECT_OK;
                      m_world.Raise(SlotSignal(SIGNAL_CI_SAS_STATUS_CHANGE, slot->number, CAM_SAS_STATUS_CONNECT_RESULT,
                                               id, answer));
                      if (!session.isConnected)
                      {
                          m_sessions.erase(id);
                          return;
                      }
                      for (const TBytes& message : session.application.onConnect)
                      {
                          m_Arrive(id, message);
                      }
                  });
    return 1;
}

bool TCSas::IsConnected(unsigned short sessionId) const
{
    const auto found = m_sessions.find(sessionId);
    return found != m_sessions.end() && found->second.isConnected;
}

int TCSas::Send(unsigned short sessionId, const TBytes& data)
{
    if (!IsConnected(sessionId) || data.size() > MAX_MESSAGE)
    {
        return 0;
    }
    const TSSession& session = m_sessions.at(sessionId);
    std::vector<TBytes> replies;
    if (const auto scripted = session.application.answers.find(data); scripted != session.application.answers.end())
    {
        replies = scripted->second;
    }
    else if (session.application.echoes)
    {
        replies.push_back(data);
    }
    // One delay for all: answers to one message keep their order.
    const TSSlot& slot = m_world.slots[session.slot];
    const TTime delay = m_world.Varied(slot, session.application.delayMs);
    for (TBytes& reply : replies)
    {
        m_world.After(slot, delay, [this, sessionId, reply = std::move(reply)] { m_Arrive(sessionId, reply); });
    }
    return 1;
}

void TCSas::m_Arrive(unsigned short sessionId, const TBytes& data)
{
    TSSession& session = m_sessions.at(sessionId);
    if (session.queue.size() >= MAX_QUEUED)
    {
        ++session.lost;
        return;
    }
    // 0 asks for the oldest message, so that no message has this number.
    session.lastMessage = session.lastMessage == 0xFFFF ? 1 : static_cast<unsigned short>(session.lastMessage + 1);
    session.queue.emplace(++session.arrived, std::make_pair(session.lastMessage, data));
    m_world.Raise(SlotSignal(SIGNAL_CI_SAS_STATUS_CHANGE, session.slot, CAM_SAS_STATUS_DATA_RECEIVED, sessionId,
                             session.lastMessage));
}

int TCSas::Get(unsigned short sessionId, unsigned short messageId, TBytes& data)
{
    if (!IsConnected(sessionId))
    {
        return 0;
    }
    auto& queue = m_sessions.at(sessionId).queue;
    const auto found =
        std::find_if(queue.begin(), queue.end(),
                     [&](const auto& message) { return messageId == 0 || message.second.first == messageId; });
    if (found == queue.end())
    {
        return 0;
    }
    data = std::move(found->second.second);
    queue.erase(found);
    return 1;
}

TSOutcome TCSas::SendFromCam(std::uint64_t applicationId, const TBytes& data)
{
    for (const auto& [id, session] : m_sessions)
    {
        if (session.isConnected && session.application.id == applicationId)
        {
            m_Arrive(id, data);
            return TSOutcome::Done();
        }
    }
    return TSOutcome::Refused("no session is connected to this SAS application");
}

void TCSas::OnCamGone(const TSSlot& slot)
{
    for (auto session = m_sessions.begin(); session != m_sessions.end();)
    {
        if (session->second.slot != slot.number)
        {
            ++session;
            continue;
        }
        const unsigned short id = session->first;
        session = m_sessions.erase(session);
        m_world.Raise(SlotSignal(SIGNAL_CI_SAS_STATUS_CHANGE, slot.number, CAM_SAS_STATUS_SESSION_CLOSED, id));
    }
}

json::TCDraft TCSas::State() const
{
    json::TCDraft result = json::List();
    for (const auto& [id, session] : m_sessions)
    {
        result.Append(json::Record({{"session", id},
                                    {"slot", session.slot},
                                    {"application", session.application.id},
                                    {"connected", session.isConnected},
                                    {"queued", session.queue.size()},
                                    {"lost", session.lost}}));
    }
    return result;
}
} // namespace CIM::sim
