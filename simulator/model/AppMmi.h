#pragma once

#include "simulator/world/World.h"

#include <ciapi/ICIAppMMI.h>

#include "json/Draft.h"

#include <map>

namespace CIM::sim
{
/// Application MMI sessions. The CAM starts one; the set acknowledges, asks for files, and either side ends it. What
/// the interface leaves to the daemon is decided so:
/// - Data identifiers count from 1 over the model's life; the last 256 pieces of data are kept.
/// - SendFileRequest: the bytes are the file's name, the number an EFileRequestType. The acknowledgement's first flag
///   says whether the file was found, its second whether the request type is served; its number is the request type,
///   its first byte string the name, its second the answer: the file, the request's own bytes, the file's SHA-256, or
///   the served types.
/// - GetStartAppData: first byte string the application domain, second the initial object; the flag is true when there
///   is an initial object.
/// - SendRequestStartAck: 1 accepts; every other code ends the session.
///
/// Each event is raised as its own signal and as SIGNAL_CI_APPMMI_MESSAGE, both with the session as id and the data
/// identifier as value.
class TCAppMmi final : public ICIAppMMI
{
public:
    explicit TCAppMmi(TSWorld& world) : m_world(world) {}

    int SetApplicationState(TVSHandle const& handle, EAppMmiName application, EAppMmiState state,
                            unsigned long long value) override;
    int SendAppAbortRequest(unsigned short id, std::vector<unsigned char> const& data) override;
    int SendAppAbortAck(unsigned short id, std::vector<unsigned char> const& data) override;
    int SendFileRequest(unsigned short id, std::vector<unsigned char> const& data, int value) override;
    int SendRequestStartAck(unsigned short id, unsigned char ackCode) override;
    int GetAbortAckData(int dataId, std::vector<unsigned char>& data) override;
    int GetAbortRequestData(int dataId, std::vector<unsigned char>& data) override;
    int GetFileAckData(int dataId, bool& firstFlag, bool& secondFlag, int& value, std::vector<unsigned char>& firstData,
                       std::vector<unsigned char>& secondData) override;
    int GetStartAppData(unsigned short id, int dataId, std::vector<unsigned char>& firstData,
                        std::vector<unsigned char>& secondData, TVSHandle& handle, bool& flag) override;

    /// The CAM wants an application started.
    TSOutcome RequestStart(unsigned slot, const std::string& domain, const std::string& object,
                           const TVSHandle& pipeline = {PROFILE_MAIN, 0});
    /// The CAM wants its application ended.
    TSOutcome RequestAbort(unsigned slot, const TBytes& data);

    void OnCamGone(const TSSlot& slot);
    json::TCDraft State() const;

private:
    enum EStep : int
    {
        STEP_WAITING, ///< for the acknowledgement of the start
        STEP_RUNNING,
        STEP_ABORTING, ///< the CAM waits for the acknowledgement of its abort request
    };

    struct TSSession
    {
        unsigned char slot = 0;
        EStep step = STEP_WAITING;
        TVSHandle pipeline;
        std::string domain;
    };

    struct TSData
    {
        EAppMmiMessage message = CI_APPMMI_MESSAGE_START_APP;
        unsigned short session = 0;
        bool isFound = false;
        bool isServed = false;
        int value = 0;
        TBytes first;
        TBytes second;
        TVSHandle pipeline;
    };

    TSSession* m_Find(unsigned short id, EStep step);
    const TSData* m_Data(int dataId, EAppMmiMessage message) const;
    void m_Announce(const TSSession& session, TSData data);

    TSWorld& m_world;
    std::map<unsigned short, TSSession> m_sessions;
    std::map<int, TSData> m_data;
    std::map<int, std::pair<EAppMmiState, unsigned long long>> m_applications; ///< by EAppMmiName
    unsigned short m_lastSession = 0;
    int m_lastData = 0;
};
} // namespace CIM::sim
