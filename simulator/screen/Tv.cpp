#include "Tv.h"

#include "Dialogue.h"
#include "simulator/model/Model.h"
#include "json/Secret.h"

#include <stdexcept>

namespace CIM::sim
{
using json::TJson;

namespace
{
constexpr std::size_t MOST_NEWS = 8;
constexpr std::size_t MOST_CALLS = 64; ///< that wait for their answers
} // namespace

TCTv::TCTv(TCModel& model, int application)
    : m_model(model), m_shown({{"dialogues", TJson::object()},
                               {"questions", TJson::object()},
                               {"calling", nullptr},
                               {"news", TJson::array()}})
{
    if (application >= 0)
    {
        m_lines = std::make_unique<TCLines>(
            application, [this](TJson line) { m_Hear(std::move(line)); }, [this] { m_isGone = true; });
    }
}

json::TJson TCTv::State()
{
    TJson state = m_lines ? m_shown : m_OfModel();
    state["role"] = !m_lines ? "onlooker" : m_isGone ? "gone" : "application";
    return state;
}

json::TJson TCTv::m_OfModel() const
{
    TJson dialogues = TJson::object();
    const TInvoke invoke = [this](const json::TCOperationForm& operation, const TJson& arguments)
    { return operation.Invoke(&m_model.Of<ICIGeneral>(), arguments); };
    const TJson state = m_model.State();
    for (const TJson& open : state.at("mmi"))
    {
        const unsigned slot = open.at("slot").get<unsigned>();
        dialogues[std::to_string(slot)] = ReadDialogue(invoke, slot);
    }
    return {{"dialogues", std::move(dialogues)}, {"calling", nullptr}, {"news", TJson::array()}};
}

void TCTv::Call(const TJson& operation, const TJson& arguments, std::function<void(TJson)> answered)
{
    if (!m_lines || m_isGone)
    {
        throw std::runtime_error(m_lines ? "the application has ended"
                                         : "the page looks on: the command is the application");
    }
    if (m_calls.size() >= MOST_CALLS)
    {
        throw std::runtime_error("so many calls wait for their answers already");
    }
    TJson line = {{"call", operation}, {"arguments", arguments}, {"id", ++m_lastCall}};
    const json::TCWipeAtEnd wipe(line);
    m_calls[m_lastCall] = std::move(answered);
    m_lines->Send(line);
}

void TCTv::m_Hear(TJson line)
{
    if (line.contains("answer"))
    {
        const auto call = m_calls.extract(line["answer"].get<std::uint64_t>());
        if (!call.empty())
        {
            line.erase("answer");
            call.mapped()(std::move(line));
        }
    }
    else if (line.contains("dialogue"))
    {
        const std::string slot = std::to_string(line["dialogue"].get<unsigned>());
        TJson& dialogues = m_shown["dialogues"];
        dialogues.erase(slot);
        if (!line["page"].is_null())
        {
            dialogues[slot] = std::move(line["page"]);
        }
        m_shown["latest"] = slot;
        m_shown["pages"] = ++m_pages; // the same page again is another one
    }
    else if (line.contains("question"))
    {
        TJson& questions = m_shown["questions"];
        const std::string slot = std::to_string(line["question"].get<unsigned>());
        questions.erase(slot);
        if (!line["about"].is_null())
        {
            questions[slot] = std::move(line["about"]);
        }
        m_shown["pages"] = ++m_pages;
    }
    else if (line.contains("signal"))
    {
        TJson& news = m_shown["news"];
        news.push_back(std::move(line["signal"]));
        if (news.size() > MOST_NEWS)
        {
            news.erase(news.begin());
        }
    }
    else
    {
        m_shown.update(line); // "calling", "ready", "trouble"
    }
}
} // namespace CIM::sim
