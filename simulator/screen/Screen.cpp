#include "Screen.h"

#include "Hand.h"
#include "Server.h"
#include "simulator/model/Model.h"
#include "simulator/scenario/Scenario.h"
#include "simulator/world/World.h"
#include "Tables.h"
#include "Traffic.h"
#include "Tv.h"
#include "Viewer.h"
#include "json/Secret.h"

#include <algorithm>
#include <list>

namespace CIM::sim
{
namespace
{
using json::TJson;

constexpr unsigned FRAME_MS = 50;
constexpr std::size_t MOST_VIEWERS = 16;
} // namespace

struct TCScreen::TSPrivate
{
    TSPrivate(TCSimulatedDaemon& aDaemon, const TSScreenOptions& options)
        : daemon(aDaemon), before(aDaemon.onCall), tv(daemon.Model(), options.application),
          hand(daemon, options.story, options.inserted),
          traffic([this](const std::string& name) { return daemon.Clients().ProgramOf(name); }), timers(nullptr),
          server(*options.address, options.listener,
                 {[this](std::unique_ptr<TCPageSocket> socket) { OnPage(std::move(socket)); },
                  [this](const std::string& name) { return Download(name); }})
    {
        if (options.story != nullptr)
        {
            story = {{"name", options.story->name},
                     {"description", options.story->description},
                     {"step", ""},
                     {"over", nullptr}};
        }
        daemon.onCall = [this](const TSJournalEntry& call)
        {
            if (before)
            {
                before(call);
            }
            hand.OnCall(call);
        };
    }
    ~TSPrivate() { daemon.onCall = std::move(before); }

    void OnPage(std::unique_ptr<TCPageSocket> socket)
    {
        if (viewers.size() >= MOST_VIEWERS)
        {
            socket->Close();
            return;
        }
        viewers.emplace_back(
            std::move(socket), [this](TCViewer& viewer, TJson request) { OnRequest(viewer, std::move(request)); },
            [this](TCViewer& viewer)
            {
                // Not within what it has called.
                timers.After(0, [this, gone = &viewer]
                             { viewers.remove_if([&](const TCViewer& each) { return &each == gone; }); });
            });
        Frame();
        if (!isFraming)
        {
            isFraming = true;
            NextFrame();
        }
    }

    void NextFrame()
    {
        timers.After(FRAME_MS,
                     [this]
                     {
                         isFraming = !viewers.empty();
                         if (isFraming)
                         {
                             Frame();
                             NextFrame();
                         }
                     });
    }

    void Frame()
    {
        if (std::none_of(viewers.begin(), viewers.end(), [](const TCViewer& viewer) { return viewer.IsReady(); }))
        {
            return;
        }
        const TJson state = State();
        for (TCViewer& viewer : viewers)
        {
            if (viewer.IsReady())
            {
                TJson news = traffic.From(viewer.nextTraffic);
                viewer.Show(state, std::move(news));
            }
        }
    }

    TJson State()
    {
        TJson set;
        {
            const TCModelUse use(daemon.Clock());
            set = daemon.State();
        }
        set.erase("debug");
        set.erase("subscriptions");
        set["ca"].erase("history");
        set["faults"] = daemon.Faults().List();
        TJson cams = TJson::array();
        for (const std::string_view name : daemon.Model().World().definition.CamNames())
        {
            cams.push_back(name);
        }
        set["cams"] = std::move(cams);
        return {{"set", std::move(set)}, {"tv", tv.State()}, {"story", story}, {"deeds", hand.Deeds()}};
    }

    void OnRequest(TCViewer& viewer, TJson request)
    {
        const json::TCWipeAtEnd wipe(request);
        try
        {
            const std::string what = request.at("do").get<std::string>();
            if (what == "verb")
            {
                TJson arguments = request.value("arguments", TJson::object());
                const json::TCWipeAtEnd wipeArguments(arguments);
                viewer.Answer(request, {{"result", hand.Do(request.at("name").get<std::string>(), arguments)}});
            }
            else if (what == "call")
            {
                const TJson kept = {{"id", request.value("id", std::uint64_t{0})}};
                tv.Call(request.at("operation"), request.at("arguments"),
                        [this, kept, to = &viewer](TJson answer)
                        {
                            for (TCViewer& each : viewers) // it may have gone meanwhile
                            {
                                if (&each == to)
                                {
                                    each.Answer(kept, std::move(answer));
                                    return;
                                }
                            }
                        });
            }
            else if (what == "details")
            {
                viewer.Answer(request, {{"result", traffic.Details(request.at("number").get<std::uint64_t>())}});
            }
            else
            {
                viewer.Answer(request, {{"error", "nobody knows how to do " + what}});
            }
        }
        catch (const std::exception& error)
        {
            viewer.Answer(request, {{"error", error.what()}});
        }
    }

    std::optional<TSDownload> Download(const std::string& name) const
    {
        try
        {
            if (name == "tables.json")
            {
                return TSDownload{FormTables(), "application/json", ""};
            }
            if (name == "story.json")
            {
                return TSDownload{hand.Story(), "application/json", "story.json"};
            }
            if (name == "traffic.pcapng")
            {
                return TSDownload{traffic.Recording(), "application/octet-stream", "traffic.pcapng"};
            }
        }
        catch (const std::exception& error)
        {
            return TSDownload{std::string(error.what()) + "\n", "text/plain", ""};
        }
        return std::nullopt;
    }

    TCSimulatedDaemon& daemon;
    std::function<void(const TSJournalEntry&)> before; ///< who heard of calls already; they are heard first
    TCTv tv;
    TCHand hand;
    TCTraffic traffic;
    TJson story;
    std::list<TCViewer> viewers;
    bool isFraming = false;
    TCTimers timers;
    TCScreenServer server;
};

TCScreen::TCScreen(TCSimulatedDaemon& daemon, const TSScreenOptions& options)
    : m_private(std::make_unique<TSPrivate>(daemon, options))
{
}

TCScreen::~TCScreen() = default;

void TCScreen::Begin() { m_private->hand.Begin(); }

void TCScreen::Progress(const std::string& words)
{
    if (!m_private->story.is_null())
    {
        m_private->story["step"] = words;
    }
}

void TCScreen::Over(const std::string& words)
{
    if (!m_private->story.is_null())
    {
        m_private->story["over"] = words;
    }
}
} // namespace CIM::sim
