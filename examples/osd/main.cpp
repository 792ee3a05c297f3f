// An on-screen display for the CAM in slot 0: opens its menu when it is ready, shows each page when it is announced,
// answers as the viewer does, and takes the dialogue off the screen when the CAM closes it. It does one thing at a time
// and returns to its main loop in between, so that it stands whatever happens meanwhile. To be played with any story:
//
//     ci-daemon-sim play menu-walk --end -- example-osd 2 1 0042
//
// The words are what the viewer does, page by page: the number of an entry, an answer, "." to do nothing while the page
// is there. Behind the last one the viewer closes the menu.

#include <ciapi/CIService.h>

#include <glib-unix.h>

#include <cstdlib>
#include <deque>
#include <iostream>
#include <string>
#include <vector>

namespace
{
constexpr unsigned char SLOT = 0;
constexpr unsigned THINKING_MS = 150; ///< how long the viewer looks at a page

/// Everything runs on the thread of the default GLib main context, so that nothing needs a lock.
class TCOsd
{
public:
    explicit TCOsd(std::deque<std::string> words) : m_words(std::move(words)) {}

    /// \return false when there is nothing to show on this set
    bool Begin()
    {
        if (!CIM::TCCIService::IsCIOperable())
        {
            return false;
        }
        m_ci = CIM::TCCIService::CIGeneralInstance();
        // First the subscriptions, then the look: what happens in between is not missed.
        CIM::ICISignalSubscriber& signals = *CIM::TCCIService::CISignalSubscriberInstance(&s_OnSignal);
        for (const auto type : {CIM::SIGNAL_CI_MMI_STATUS_CHANGED, CIM::SIGNAL_CI_CAM_READY_STATUS_CHANGED})
        {
            if (signals.Subscribe(type, this, PROFILE_MAIN, SLOT, 0) != 1)
            {
                return false;
            }
        }
        std::map<unsigned char, CIM::ECamStatus> statuses;
        if (m_ci->GetCiSlotStatus(statuses, 0) == 1 && statuses[SLOT] == CIM::CAM_STATUS_READY)
        {
            OnCam(CIM::CAM_STATUS_READY);
        }
        return true;
    }

private:
    static int s_OnSignal(CIM::ECISignalType type, EProfile, unsigned short, CIM::TSSignalData data, void* self)
    {
        TCOsd& osd = *static_cast<TCOsd*>(self);
        const int code = data.bytes[1];
        if (type == CIM::SIGNAL_CI_MMI_STATUS_CHANGED)
        {
            osd.OnPage(static_cast<CIM::ECiMmiStatus>(code));
        }
        else
        {
            osd.OnCam(static_cast<CIM::ECamStatus>(code));
        }
        return 0;
    }

    void OnCam(CIM::ECamStatus status)
    {
        std::cout << "the CAM: " << CIM::ToString(status) << std::endl;
        if (status == CIM::CAM_STATUS_READY && m_page == CIM::CI_MMI_STATUS_SESSION_CLOSED)
        {
            Later([](TCOsd& osd) { osd.m_ci->EnterMenu(SLOT, false); });
        }
    }

    // A new page takes the place of the one that is shown, whatever the viewer was about to do with that.
    void OnPage(CIM::ECiMmiStatus page)
    {
        m_page = page;
        if (page == CIM::CI_MMI_STATUS_SESSION_CLOSED)
        {
            std::cout << "(nothing on the screen)" << std::endl;
            Forget();
        }
        else if (Show())
        {
            Later([](TCOsd& osd) { osd.Answer(); });
        }
    }

    bool Show()
    {
        CIM::TCIText title, subtitle, bottomLine;
        std::vector<CIM::TCIText> lines;
        bool isBlind = false;
        unsigned char length = 0;
        int result = 0;
        switch (m_page)
        {
        case CIM::CI_MMI_STATUS_MENU_RECEIVED:
            result = m_ci->GetMmiMenu(SLOT, title, subtitle, bottomLine, lines);
            break;
        case CIM::CI_MMI_STATUS_LIST_RECEIVED:
            result = m_ci->GetMmiList(SLOT, title, subtitle, bottomLine, lines);
            break;
        case CIM::CI_MMI_STATUS_TEXT_RECEIVED:
            result = m_ci->GetMmiText(SLOT, title);
            break;
        case CIM::CI_MMI_STATUS_ENQUIRY_RECEIVED:
            result = m_ci->GetMmiEnquiry(SLOT, isBlind, length, title);
            break;
        case CIM::CI_MMI_STATUS_SESSION_CLOSED:
            break;
        }
        if (result != 1)
        {
            return false; // the page is gone already, and its signal is on its way
        }
        m_entries = lines.size();
        std::cout << "== " << title.ToUtf8() << " == " << subtitle.ToUtf8() << '\n';
        for (std::size_t i = 0; i < lines.size(); ++i)
        {
            std::cout << "   " << i + 1 << "  " << lines[i].ToUtf8().substr(0, 60) << '\n';
        }
        std::cout << bottomLine.ToUtf8() << std::endl;
        return true;
    }

    void Answer()
    {
        const std::string word = m_words.empty() ? "" : m_words.front();
        if (!m_words.empty())
        {
            m_words.pop_front();
        }
        if (word == ".")
        {
            return;
        }
        if (m_page == CIM::CI_MMI_STATUS_ENQUIRY_RECEIVED)
        {
            const auto id = word.empty() ? CIM::MMI_ANSWER_ID_CANCEL : CIM::MMI_ANSWER_ID_ANSWER;
            m_ci->AnswerMmiEnquiry(SLOT, id, CIM::TCIText::FromUtf8(word), false, false);
        }
        else if (m_page == CIM::CI_MMI_STATUS_MENU_RECEIVED && !word.empty())
        {
            const unsigned long choice = std::strtoul(word.c_str(), nullptr, 10);
            m_ci->AnswerMmiMenu(SLOT, static_cast<unsigned char>(choice <= m_entries ? choice : 0), false, false);
        }
        else if (m_page != CIM::CI_MMI_STATUS_MENU_RECEIVED)
        {
            m_ci->AnswerMmiMenu(SLOT, 0, false, false); // back
        }
        else
        {
            m_ci->CloseMmi(SLOT, false, false);
        }
    }

    /// Does the viewer's next deed a little later; in place of what was to come.
    void Later(void (*deed)(TCOsd&))
    {
        Forget();
        m_deed = deed;
        m_timer = g_timeout_add(
            THINKING_MS,
            [](gpointer self) -> gboolean
            {
                TCOsd& osd = *static_cast<TCOsd*>(self);
                osd.m_timer = 0;
                osd.m_deed(osd);
                return G_SOURCE_REMOVE;
            },
            this);
    }

    void Forget()
    {
        if (m_timer != 0)
        {
            g_source_remove(m_timer);
            m_timer = 0;
        }
    }

    std::deque<std::string> m_words;
    CIM::ICIGeneral* m_ci = nullptr;
    CIM::ECiMmiStatus m_page = CIM::CI_MMI_STATUS_SESSION_CLOSED;
    std::size_t m_entries = 0;
    guint m_timer = 0;
    void (*m_deed)(TCOsd&) = nullptr;
};
} // namespace

int main(int argc, char** argv)
{
    GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
    for (const int number : {SIGTERM, SIGINT})
    {
        g_unix_signal_add(
            number,
            [](gpointer data) -> gboolean
            {
                g_main_loop_quit(static_cast<GMainLoop*>(data));
                return G_SOURCE_CONTINUE;
            },
            loop);
    }
    TCOsd osd({argv + 1, argv + argc});
    const bool isGood = osd.Begin();
    if (isGood)
    {
        g_main_loop_run(loop);
    }
    else
    {
        std::cerr << "This set has no CI slots (run it under ci-daemon-sim).\n";
    }
    CIM::TCCIService::Destroy(); // ends the subscriptions
    g_main_loop_unref(loop);
    return isGood ? 0 : 1;
}
