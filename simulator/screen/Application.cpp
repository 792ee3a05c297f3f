#include "Application.h"

#include "calls/Instance.h"
#include "Dialogue.h"
#include "Lines.h"
#include "json/Secret.h"
#include "json/Signals.h"

#include "protocol/SignalRows.h"

#include <ciapi/CICallOutcome.h>
#include <ciapi/CIService.h>

#include <csignal>
#include <deque>
#include <glib.h>
#include <iterator>
#include <unistd.h>

namespace CIM::sim
{
namespace
{
using json::TJson;

TJson Invoked(const json::TCOperationForm& operation, const TJson& arguments)
{
    return operation.Invoke(InstanceOf(*json::FindInterface(operation.InterfaceName())), arguments);
}

class TCApplication
{
public:
    explicit TCApplication(int descriptor)
        : m_loop(g_main_loop_new(nullptr, FALSE)),
          m_lines(
              descriptor, [this](TJson line) { m_Take(std::move(line)); }, [this] { m_Quit(); })
    {
        for (const int number : {SIGTERM, SIGINT, SIGHUP})
        {
            std::signal(number, [](int) { _exit(0); }); // at once: it may be waiting for an answer that never comes
        }
    }
    ~TCApplication() { g_main_loop_unref(m_loop); }
    TCApplication(const TCApplication&) = delete;
    TCApplication& operator=(const TCApplication&) = delete;

    int Run()
    {
        if (!TCCIService::IsCIOperable())
        {
            m_lines.Send({{"trouble", "this set has no CI"}});
        }
        else
        {
            m_Begin();
        }
        if (!m_isOver)
        {
            g_main_loop_run(m_loop);
        }
        TCCIService::Destroy();
        return 0;
    }

private:
    void m_Quit()
    {
        m_isOver = true;
        g_main_loop_quit(m_loop);
    }

    // First the subscriptions, then the look: what happens in between is not missed. The last ones are those for a CAM
    // that is ready or opens a dialogue, by which others may see that somebody is there.
    void m_Begin()
    {
        std::map<unsigned char, ECamStatus> slots;
        TCCIService::CIGeneralInstance()->GetCiSlotStatus(slots, 0);
        ICISignalSubscriber& signals = *TCCIService::CISignalSubscriberInstance(&s_OnSignal);
        for (const auto& [slot, status] : slots)
        {
            for (auto row = std::rbegin(protocol::SIGNAL_ROWS); row != std::rend(protocol::SIGNAL_ROWS); ++row)
            {
                signals.Subscribe(row->type, this, PROFILE_MAIN, slot, 0);
            }
        }
        TCCIService::CIGeneralInstance()->GetCiSlotStatus(slots, 0);
        for (const auto& [slot, status] : slots)
        {
            if (status == CAM_STATUS_READY)
            {
                m_Look(slot, {});
            }
        }
        m_lines.Send({{"ready", true}});
    }

    static int s_OnSignal(ECISignalType type, EProfile profile, unsigned short handle, TSSignalData data, void* self)
    try
    {
        static_cast<TCApplication*>(self)->m_OnSignal({type, profile, handle, data});
        return 0;
    }
    catch (const std::exception& error) // the library's callbacks throw nothing
    {
        std::fprintf(stderr, "ci-daemon-sim: a signal is lost: %s\n", error.what());
        return 0;
    }

    void m_OnSignal(const protocol::SSignal& signal)
    {
        TJson told = json::SignalDataToJson(signal);
        told["type"] = json::SignalName(signal.type);
        m_lines.Send({{"signal", std::move(told)}});
        const protocol::SSignalFields fields = protocol::UnpackSignalData(signal.data);
        switch (signal.type)
        {
        case SIGNAL_CI_MMI_STATUS_CHANGED:
            m_Look(fields.slot, fields.code);
            break;
        case SIGNAL_CI_PIN_REPLY_TO_PIN_EVENT:
            m_Ask(fields.slot, "pin");
            break;
        case SIGNAL_CI_PIN_REPLY_TO_PIN_CMD:
            m_Ask(fields.slot,
                  fields.code == CAM_PIN_CODE_STATUS_BAD && TCCIService::CIGeneralInstance()->IsCamPinNeeded() == 1
                      ? TJson("pin")
                      : TJson());
            break;
        case SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE:
            m_Ask(fields.slot, fields.code == CAM_UPGRADE_STATUS_REPLY_REQUESTED ? TJson("upgrade") : TJson());
            break;
        case SIGNAL_CI_CAM_READY_STATUS_CHANGED:
            m_Ask(fields.slot, TJson());
            break;
        default:
            break;
        }
    }

    void m_Ask(unsigned slot, TJson about) { m_lines.Send({{"question", slot}, {"about", std::move(about)}}); }

    void m_Look(unsigned slot, std::optional<int> status)
    {
        m_lines.Send({{"dialogue", slot}, {"page", ReadDialogue(Invoked, slot, status)}});
    }

    void m_Take(TJson line)
    {
        m_calls.push_back(std::move(line));
        if (m_next == 0)
        {
            m_next = g_idle_add_full(G_PRIORITY_DEFAULT, s_OnNext, this, nullptr);
        }
    }

    // One call in each turn of the loop: signals come in between.
    static gboolean s_OnNext(void* self) noexcept
    {
        auto& application = *static_cast<TCApplication*>(self);
        application.m_Call(application.m_calls.front());
        json::Wipe(application.m_calls.front());
        application.m_calls.pop_front();
        const bool isMore = !application.m_calls.empty() && !application.m_isOver;
        application.m_next = isMore ? application.m_next : 0;
        return isMore ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
    }

    void m_Call(const TJson& call)
    {
        TJson answer = {{"answer", call.value("id", 0)}};
        try
        {
            const std::string name = call.at("call").get<std::string>();
            const json::TCOperationForm* const operation = json::FindOperation(name);
            if (operation == nullptr)
            {
                throw std::runtime_error(name + " is no operation");
            }
            operation->Check(call.at("arguments"));
            m_lines.Send({{"calling", name}});
            answer.update(Invoked(*operation, call.at("arguments")));
            const TSCallOutcome outcome = LastCallOutcome();
            if (!operation->IsLocal() && outcome.outcome > CALL_OUTCOME_SENT)
            {
                answer["error"] = ToString(outcome);
            }
        }
        catch (const std::exception& error)
        {
            answer["error"] = error.what();
        }
        m_lines.Send({{"calling", nullptr}});
        m_lines.Send(answer);
    }

    GMainLoop* m_loop;
    TCLines m_lines;
    std::deque<TJson> m_calls;
    guint m_next = 0;
    bool m_isOver = false;
};
} // namespace

int PlayApplication(int descriptor) { return TCApplication(descriptor).Run(); }
} // namespace CIM::sim
