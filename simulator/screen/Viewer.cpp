#include "Viewer.h"

#include "json/Secret.h"

namespace CIM::sim
{
using json::TJson;

namespace
{
constexpr int MOST_LEVELS = 100; ///< of a request; what is nested deeper is left out
}

TCViewer::TCViewer(std::unique_ptr<TCPageSocket> socket, std::function<void(TCViewer&, TJson)> onRequest,
                   std::function<void(TCViewer&)> onClosed)
    : m_socket(std::move(socket)), m_onRequest(std::move(onRequest))
{
    m_socket->onText = [this](std::string text)
    {
        const json::TCWipeAtEnd wipe(text); // a PIN may stand in it
        m_Take(text);
    };
    m_socket->onClosed = [this, onClosed = std::move(onClosed)] { onClosed(*this); };
}

void TCViewer::Show(const TJson& state, TJson news)
{
    TJson patch = TJson::diff(m_shown, state);
    if (patch.empty() && news.empty())
    {
        return;
    }
    m_shown = state;
    news["frame"] = ++m_sent;
    news["patch"] = std::move(patch);
    m_socket->Send(json::Dump(news));
}

void TCViewer::Answer(const TJson& request, TJson answer)
{
    answer["reply"] = request.value("id", std::uint64_t{0});
    m_socket->Send(json::Dump(answer));
}

void TCViewer::m_Take(const std::string& text)
{
    const auto isShallow = [](int depth, TJson::parse_event_t, const TJson&) { return depth < MOST_LEVELS; };
    TJson request = TJson::parse(text, isShallow, false);
    if (!request.is_object() || (request.contains("id") && !request["id"].is_number_unsigned()))
    {
        return m_socket->Close();
    }
    if (request.contains("taken") && request["taken"].is_number_unsigned())
    {
        m_taken = std::min(request["taken"].get<std::uint64_t>(), m_sent);
        return;
    }
    m_onRequest(*this, std::move(request));
}
} // namespace CIM::sim
