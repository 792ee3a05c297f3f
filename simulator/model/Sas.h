#pragma once

#include "simulator/world/World.h"

#include "json/Draft.h"

#include <map>

namespace CIM::sim
{
/// SAS sessions between applications of the set and applications in CAMs, each with its queue of messages.
class TCSas
{
public:
    explicit TCSas(TSWorld& world) : m_world(world) {}

    /// Gives a session at once; whether it is connected is announced later.
    int Connect(std::uint64_t applicationId, unsigned short& sessionId);
    int Send(unsigned short sessionId, const TBytes& data);
    /// \param[in] messageId  the number in the signal that announced the message; 0: the oldest one
    int Get(unsigned short sessionId, unsigned short messageId, TBytes& data);
    bool IsConnected(unsigned short sessionId) const;

    /// The application in the CAM sends by itself, to the first session connected to it.
    TSOutcome SendFromCam(std::uint64_t applicationId, const TBytes& data);

    void OnCamGone(const TSSlot& slot);
    json::TCDraft State() const;

private:
    struct TSSession
    {
        unsigned char slot = 0;
        TSSasApplicationDefinition application;
        bool isConnected = false;
        unsigned short lastMessage = 0;
        std::map<std::uint64_t, std::pair<unsigned short, TBytes>> queue; ///< by order of arrival
        std::uint64_t arrived = 0;
        std::uint64_t lost = 0;
    };

    int m_SessionsOf(std::uint64_t applicationId) const;
    void m_Arrive(unsigned short sessionId, const TBytes& data);

    TSWorld& m_world;
    std::map<unsigned short, TSSession> m_sessions;
    unsigned short m_lastSession = 0;
};
} // namespace CIM::sim
