#include "cictl/Condition.h"
#include "cictl/Output.h"
#include "cictl/Verb.h"

#include <ciapi/CIEnumerations.h>

#include <algorithm>
#include <chrono>
#include <set>

namespace CIM::cictl
{
namespace
{
using TClock = std::chrono::steady_clock;

constexpr unsigned ASK_MS = 250; ///< how often the daemon is asked for what no signal tells
constexpr TSField WAIT_FIELDS[] = {{"condition", "condition"}, {"met", "met"}, {"seconds", "seconds"}};

/// Follows the set until a condition holds. A daemon that is not there yet, or goes, is waited for, too.
class TCWaiting
{
public:
    TCWaiting(TCDaemonAccess& daemon, TCCondition& condition)
        : m_daemon(daemon), m_condition(condition),
          m_signals(daemon, [this](const TSSignal& signal) { OnSignal(signal); })
    {
        for (const json::TCInterfaceForm& interface : json::Interfaces())
        {
            m_names.push_back(interface.ConnectionName());
        }
    }
    ~TCWaiting()
    {
        if (m_timer != 0)
        {
            g_source_remove(m_timer);
        }
    }
    TCWaiting(const TCWaiting&) = delete;
    TCWaiting& operator=(const TCWaiting&) = delete;

    /// \return EXIT_ANSWERED when it holds
    EExit Go(std::optional<std::chrono::milliseconds> timeout)
    {
        const TClock::time_point begin = TClock::now();
        m_signals.WatchDaemon([this](const TCBus::TSOwnerChange& change) { OnOwner(change); });
        for (const std::string& name : m_names)
        {
            if (!m_daemon.Bus().OwnerOf(name).empty())
            {
                m_owned.insert(name);
            }
        }
        Follow();
        if (Needs([](const TSAtom& atom) { return atom.NeedsAsking(); }))
        {
            m_timer = g_timeout_add(ASK_MS, &s_OnTimer, this);
        }
        if (!m_isMet)
        {
            const auto left = timeout ? std::chrono::ceil<std::chrono::milliseconds>(begin + *timeout - TClock::now())
                                      : std::chrono::milliseconds(0);
            const bool isInTime = !timeout || (left.count() > 0 && m_signals.Run(static_cast<unsigned>(left.count())));
            if (!timeout)
            {
                m_signals.Run();
            }
            return m_signals.Unless(m_isMet || isInTime ? EXIT_ANSWERED : EXIT_TIMEOUT);
        }
        return EXIT_ANSWERED;
    }

    std::vector<std::string> Atoms(bool areMet) const
    {
        std::vector<std::string> texts;
        for (const TSAtom& atom : m_condition.Atoms())
        {
            if (atom.IsMet(m_state) == areMet)
            {
                texts.push_back(atom.text);
            }
        }
        return texts;
    }

private:
    template <class TPredicate>
    bool Needs(TPredicate predicate) const
    {
        return std::any_of(m_condition.Atoms().begin(), m_condition.Atoms().end(), predicate);
    }
    bool NeedsDaemon() const
    {
        return Needs([](const TSAtom& atom) { return atom.kind != TSAtom::EKind::DAEMON; });
    }
    bool NeedsPages() const
    {
        return Needs([](const TSAtom& atom) { return atom.kind == TSAtom::EKind::PAGE; });
    }

    TJson Ask(const char* operation, TJson arguments) { return m_daemon.Call("ICIGeneral", operation, arguments); }

    void OnOwner(const TCBus::TSOwnerChange& change)
    {
        if (std::find(m_names.begin(), m_names.end(), change.name) == m_names.end())
        {
            return;
        }
        m_owned.erase(change.name);
        if (IsCalled(change.name)) // also from one owner to the next: the new one knows nothing of this application
        {
            Forget();
        }
        if (!change.owner.empty())
        {
            m_owned.insert(change.name);
        }
        Follow();
    }

    static bool IsCalled(const std::string& name)
    {
        return name == json::FindInterface("ICIGeneral")->ConnectionName() ||
               name == json::FindInterface("ICISignalSubscriber")->ConnectionName();
    }

    void Forget()
    {
        m_isFollowing = false;
        m_state.slots.clear();
    }

    // Begins to follow a daemon that is there, and looks whether the condition holds.
    void Follow()
    {
        m_state.isDaemonThere = m_owned.size() == m_names.size();
        if (!m_isFollowing && NeedsDaemon() && std::count_if(m_owned.begin(), m_owned.end(), &IsCalled) == 2)
        {
            Try(
                [this]
                {
                    FindSlots();
                    Subscribe();
                    FindSlots(); // what changed until the signals were subscribed
                    FindNames();
                    FindPages();
                    m_isFollowing = true;
                });
        }
        Look();
    }

    // A daemon that goes meanwhile is waited for.
    template <class TAction>
    void Try(TAction action)
    {
        try
        {
            action();
        }
        catch (const TCFailure& failure)
        {
            if (failure.Status() != EXIT_NO_DAEMON)
            {
                throw;
            }
            Forget();
        }
    }

    void Look()
    {
        if (m_condition.IsMet(m_state))
        {
            m_isMet = true;
            m_signals.Quit();
        }
    }

    void FindSlots()
    {
        for (const auto& [slot, status] : m_daemon.SlotStatuses())
        {
            m_state.slots[slot].isReady = status == CAM_STATUS_READY;
        }
        for (const TSAtom& atom : m_condition.Atoms())
        {
            if (atom.slot && m_state.slots.count(*atom.slot) == 0)
            {
                throw TCFailure(EXIT_REFUSED, "there is no slot " + std::to_string(*atom.slot));
            }
        }
    }

    void FindNames()
    {
        if (!Needs([](const TSAtom& atom) { return atom.NeedsAsking(); }))
        {
            return;
        }
        for (auto& [number, slot] : m_state.slots)
        {
            slot.isNamed = slot.isReady || IsYes(Ask("GetApplicationInfo", {{"slot", number}}));
        }
    }

    void FindPages()
    {
        constexpr std::pair<const char*, ECiMmiStatus> PAGES[] = {{"GetMmiMenu", CI_MMI_STATUS_MENU_RECEIVED},
                                                                  {"GetMmiList", CI_MMI_STATUS_LIST_RECEIVED},
                                                                  {"GetMmiText", CI_MMI_STATUS_TEXT_RECEIVED},
                                                                  {"GetMmiEnquiry", CI_MMI_STATUS_ENQUIRY_RECEIVED}};
        for (auto& [number, slot] : m_state.slots)
        {
            slot.page.reset();
            for (const auto& [operation, page] : PAGES)
            {
                if (!slot.page && NeedsPages() && IsYes(Ask(operation, {{"slot", number}})))
                {
                    slot.page = page;
                }
            }
        }
    }

    void Subscribe()
    {
        m_signals.Renew();
        for (const TSAtom& atom : m_condition.Atoms())
        {
            if (atom.kind == TSAtom::EKind::SIGNAL && (atom.handle || atom.profile))
            {
                m_signals.Subscribe(atom.type, atom.profile.value_or(PROFILE_MAIN), atom.handle.value_or(0));
                continue;
            }
            for (const auto& entry : m_state.slots)
            {
                const auto handle = static_cast<unsigned short>(entry.first);
                switch (atom.kind)
                {
                case TSAtom::EKind::DAEMON:
                    break;
                case TSAtom::EKind::SIGNAL:
                    m_signals.Subscribe(atom.type, PROFILE_MAIN, handle);
                    break;
                case TSAtom::EKind::PAGE:
                    m_signals.Subscribe(SIGNAL_CI_MMI_STATUS_CHANGED, PROFILE_MAIN, handle);
                    [[fallthrough]];
                default:
                    m_signals.Subscribe(SIGNAL_CI_CAM_READY_STATUS_CHANGED, PROFILE_MAIN, handle);
                }
            }
        }
    }

    void OnSignal(const TSSignal& signal)
    {
        for (TSAtom& atom : m_condition.Atoms())
        {
            atom.Take(signal);
        }
        const auto found = m_state.slots.find(signal.handle);
        if (found != m_state.slots.end() && signal.profile == PROFILE_MAIN)
        {
            TSSlotState& slot = found->second;
            if (signal.type == SIGNAL_CI_MMI_STATUS_CHANGED)
            {
                const auto page = static_cast<ECiMmiStatus>(protocol::UnpackSignalData(signal.data).code);
                slot.page = page == CI_MMI_STATUS_SESSION_CLOSED ? std::nullopt : std::optional(page);
            }
            else if (signal.type == SIGNAL_CI_CAM_READY_STATUS_CHANGED)
            {
                slot.isReady = protocol::UnpackSignalData(signal.data).code == CAM_STATUS_READY;
                slot.page = slot.isReady ? slot.page : std::nullopt;
                Try([this] { FindNames(); });
            }
        }
        Look();
    }

    static gboolean s_OnTimer(gpointer self)
    {
        auto& waiting = *static_cast<TCWaiting*>(self);
        waiting.m_signals.Guarded(
            [&]
            {
                if (waiting.m_isFollowing)
                {
                    waiting.Try(
                        [&]
                        {
                            waiting.FindSlots();
                            waiting.FindNames();
                        });
                    waiting.Look();
                }
            });
        return G_SOURCE_CONTINUE;
    }

    TCDaemonAccess& m_daemon;
    TCCondition& m_condition;
    TCSignals m_signals;
    TSSetState m_state;
    std::vector<std::string> m_names;
    std::set<std::string> m_owned;
    guint m_timer = 0;
    bool m_isFollowing = false;
    bool m_isMet = false;
};
} // namespace

EExit WaitVerb(const TCArguments& arguments)
{
    std::string text;
    for (const std::string& word : arguments.Many("condition"))
    {
        text += (text.empty() ? "" : " ") + word;
    }
    TCCondition condition(text);
    const auto timeout = arguments.Timeout();
    const TClock::time_point begin = TClock::now();
    TCDaemonAccess daemon(timeout);
    TCWaiting waiting(daemon, condition);
    const EExit exit = waiting.Go(timeout);
    if (exit == EXIT_TIMEOUT)
    {
        throw TCFailure(exit, "the time is over; what does not hold: " + InWords(waiting.Atoms(false)));
    }
    if (exit == EXIT_ANSWERED && arguments.IsJson())
    {
        const auto after = std::chrono::duration_cast<std::chrono::milliseconds>(TClock::now() - begin);
        PrintRecord(
            WAIT_FIELDS,
            {{"condition", text}, {"met", waiting.Atoms(true)}, {"seconds", static_cast<double>(after.count()) / 1000}},
            true);
    }
    return exit;
}
} // namespace CIM::cictl
