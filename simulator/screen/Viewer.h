#pragma once

#include "Server.h"
#include "json/Json.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace CIM::sim
{
/// A page that is open, and how far it has come: it gets what has changed since its last frame, and no further frame
/// while it has not taken those before. So nothing heaps up for one that is slow, or asleep in the background.
class TCViewer
{
public:
    TCViewer(std::unique_ptr<TCPageSocket> socket, std::function<void(TCViewer&, json::TJson)> onRequest,
             std::function<void(TCViewer&)> onClosed);

    bool IsReady() const { return m_sent - m_taken < MOST_FRAMES; }
    /// Sends a frame, unless it would say nothing. \param[in] news  more members of the frame; may be empty
    void Show(const json::TJson& state, json::TJson news);
    /// Answers a request. \param[in] answer  an object
    void Answer(const json::TJson& request, json::TJson answer);

    std::uint64_t nextTraffic = 0; ///< the number of the first message that it has not got

private:
    static constexpr std::uint64_t MOST_FRAMES = 2;

    void m_Take(const std::string& text);

    std::unique_ptr<TCPageSocket> m_socket;
    std::function<void(TCViewer&, json::TJson)> m_onRequest;
    json::TJson m_shown;
    std::uint64_t m_sent = 0;
    std::uint64_t m_taken = 0;
};
} // namespace CIM::sim
