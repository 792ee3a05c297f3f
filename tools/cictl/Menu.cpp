#include "cictl/Output.h"
#include "cictl/Signals.h"
#include "cictl/Terminal.h"
#include "cictl/Verb.h"
#include "json/Secret.h"

#include <ciapi/CIEnumerations.h>

#include <charconv>
#include <cstdio>
#include <glib-unix.h>
#include <iostream>
#include <memory>

namespace CIM::cictl
{
namespace
{
constexpr unsigned READY_MS = 5'000; ///< how long a CAM that was just inserted is waited for
constexpr unsigned PAGE_MS = 20'000; ///< how long a CAM may think about the next page, without --timeout

/// A walk through the menu of one CAM: pages come as signals, answers as lines of standard input. Lines that come
/// before their page are kept for it, so that answers can be piped in.
class TCWalk
{
public:
    /// \param[in] patience  how long the CAM may think about the next page, in milliseconds
    TCWalk(TCDaemonAccess& daemon, unsigned char slot, unsigned patience)
        : m_daemon(daemon), m_slot(slot), m_patience(patience),
          m_signals(daemon, [this](const TSSignal& signal) { OnSignal(signal); })
    {
    }
    ~TCWalk()
    {
        StopTimer();
        if (m_input != 0)
        {
            g_source_remove(m_input);
        }
    }

    EExit Go()
    {
        m_signals.Subscribe(SIGNAL_CI_CAM_READY_STATUS_CHANGED, PROFILE_MAIN, m_slot);
        m_signals.Subscribe(SIGNAL_CI_MMI_STATUS_CHANGED, PROFILE_MAIN, m_slot);
        if (!AwaitCam())
        {
            return m_signals.Unless(EXIT_REFUSED);
        }
        if (!IsYes(m_daemon.Call("ICIGeneral", "EnterMenu", {{"slot", m_slot}})))
        {
            throw TCFailure(EXIT_REFUSED, "slot " + std::to_string(m_slot) + " has no menu to show");
        }
        m_isOpen = true;
        StartTimer();
        m_signals.WatchDaemon();
        m_signals.Run();
        m_hidden.reset();
        if (m_isOpen)
        {
            Ask("CloseMmi", {{"flag", false}});
        }
        if (m_isLate)
        {
            throw TCFailure(EXIT_TIMEOUT, "the CAM does not go on");
        }
        return m_signals.Unless(EXIT_ANSWERED);
    }

private:
    enum class EPage
    {
        NONE, ///< waiting for the CAM
        MENU,
        LIST,
        TEXT,
        ENQUIRY,
    };

    TJson Ask(const char* operation, TJson arguments)
    {
        const json::TCWipeAtEnd wipe(arguments); // an answer may be a PIN
        arguments["slot"] = m_slot;
        return m_daemon.Call("ICIGeneral", operation, arguments);
    }

    // A CAM needs some seconds from its insertion on. Returns false when the viewer does not want to wait.
    bool AwaitCam()
    {
        const std::map<unsigned char, ECamStatus> statuses = m_daemon.SlotStatuses();
        const auto status = statuses.find(m_slot);
        if (status == statuses.end() || status->second == CAM_STATUS_READY)
        {
            return true;
        }
        std::fprintf(stderr, "cictl: waiting for the CAM in slot %u\n", static_cast<unsigned>(m_slot));
        m_signals.Wait(READY_MS,
                       [](const TSSignal& signal)
                       {
                           return signal.type == SIGNAL_CI_CAM_READY_STATUS_CHANGED &&
                                  protocol::UnpackSignalData(signal.data).code == CAM_STATUS_READY;
                       });
        return !m_signals.IsInterrupted();
    }

    void OnSignal(const TSSignal& signal)
    {
        if (signal.type != SIGNAL_CI_MMI_STATUS_CHANGED)
        {
            return;
        }
        switch (static_cast<ECiMmiStatus>(protocol::UnpackSignalData(signal.data).code))
        {
        case CI_MMI_STATUS_SESSION_CLOSED:
            Out() << "(the CAM has closed its menu)" << std::endl;
            m_isOpen = false;
            m_signals.Quit();
            break;
        case CI_MMI_STATUS_MENU_RECEIVED:
            ShowChoices("GetMmiMenu", "choices", EPage::MENU, "number, 0 back, q quit> ");
            break;
        case CI_MMI_STATUS_LIST_RECEIVED:
            ShowChoices("GetMmiList", "lines", EPage::LIST, "Enter back, q quit> ");
            break;
        case CI_MMI_STATUS_TEXT_RECEIVED:
            ShowText();
            break;
        case CI_MMI_STATUS_ENQUIRY_RECEIVED:
            ShowEnquiry();
            break;
        }
    }

    // A page that the CAM sends once more, unchanged, is not shown again.
    bool IsNews(EPage page, const TJson& content)
    {
        if (m_page == page && m_content == content)
        {
            return false;
        }
        m_content = content;
        return true;
    }

    void ShowChoices(const char* operation, const char* lines, EPage page, const char* prompt)
    {
        const TJson answer = Ask(operation, TJson::object());
        const TJson& texts = answer["outputs"];
        if (!IsYes(answer) || !IsNews(page, texts))
        {
            return;
        }
        Out() << '\n';
        for (const char* heading : {"title", "subtitle"})
        {
            PrintLine("", texts[heading]);
        }
        int number = 0;
        for (const TJson& line : texts[lines])
        {
            ++number;
            Out() << (page == EPage::MENU ? "  " + std::to_string(number) + "  " : "  - ") << InWords(line) << '\n';
        }
        m_choices = number;
        PrintLine("", texts["bottomLine"]);
        Expect(page, prompt);
    }

    void ShowText()
    {
        const TJson answer = Ask("GetMmiText", TJson::object());
        if (IsYes(answer) && IsNews(EPage::TEXT, answer["outputs"]))
        {
            Out() << '\n';
            PrintLine("", answer["outputs"]["text"]);
            Expect(EPage::TEXT, "Enter back, q quit> ");
        }
    }

    void ShowEnquiry()
    {
        const TJson answer = Ask("GetMmiEnquiry", TJson::object());
        const TJson& enquiry = answer["outputs"];
        // An enquiry that comes again is asked again: the answer to the one before was wrong.
        if (!IsYes(answer) || (m_page == EPage::ENQUIRY && !IsNews(EPage::ENQUIRY, enquiry)))
        {
            return;
        }
        m_content = enquiry;
        m_isBlind = enquiry["blindAnswer"].get<bool>();
        Out() << '\n';
        PrintLine("", enquiry["text"]);
        const int length = enquiry["answerLength"].get<int>();
        Expect(EPage::ENQUIRY, (length == 255 ? std::string("answer") : "answer, up to " + std::to_string(length)) +
                                   (m_isBlind ? ", not shown" : "") + ", empty cancels> ");
    }

    static void PrintLine(const char* margin, const TJson& text)
    {
        const std::string words = InWords(text);
        if (!words.empty())
        {
            Out() << margin << words << '\n';
        }
    }

    void Expect(EPage page, const std::string& prompt)
    {
        StopTimer();
        m_page = page;
        m_hidden.reset();
        m_hidden = std::make_unique<TCHiddenInput>(page == EPage::ENQUIRY && m_isBlind && IsTerminal());
        Out() << prompt << std::flush;
        m_prompt = prompt;
        UseInput();
    }

    // Answers the page with the line that came first; without a line, waits for input.
    void UseInput()
    {
        while (m_page != EPage::NONE)
        {
            std::optional<std::string> line = m_lines.Take();
            if (!line)
            {
                if (m_lines.IsAtEnd())
                {
                    Out() << std::endl;
                    m_signals.Quit();
                    return;
                }
                if (m_input == 0)
                {
                    m_input =
                        g_unix_fd_add(0, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR), &s_OnInput, this);
                }
                return;
            }
            const json::TCWipeAtEnd wipe(*line);
            Answer(*line);
        }
    }

    void Answer(const std::string& line)
    {
        const EPage page = m_page;
        if (page != EPage::ENQUIRY && line == "q")
        {
            m_page = EPage::NONE;
            m_signals.Quit();
            return;
        }
        int choice = 0;
        if (page == EPage::MENU)
        {
            const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), choice);
            if (error != std::errc() || end != line.data() + line.size() || choice < 0 || choice > m_choices)
            {
                Out() << "a number from 0 to " << m_choices << " is needed\n" << m_prompt << std::flush;
                return;
            }
        }
        m_hidden.reset();
        m_page = EPage::NONE;
        StartTimer();
        TJson answer;
        if (page == EPage::ENQUIRY)
        {
            answer =
                Ask("AnswerMmiEnquiry", {{"answerId", line.empty() ? "MMI_ANSWER_ID_CANCEL" : "MMI_ANSWER_ID_ANSWER"},
                                         {"answer", line},
                                         {"flag", false}});
        }
        else
        {
            answer = Ask("AnswerMmiMenu", {{"choice", choice}, {"flag", false}});
        }
        if (!IsYes(answer))
        {
            throw TCFailure(EXIT_REFUSED, "the CAM does not take the answer");
        }
    }

    static gboolean s_OnInput(gint, GIOCondition, gpointer self)
    {
        auto& walk = *static_cast<TCWalk*>(self);
        walk.m_input = 0;
        walk.m_lines.Read();
        walk.m_signals.Guarded([&] { walk.UseInput(); });
        return G_SOURCE_REMOVE;
    }

    static gboolean s_OnLate(gpointer self)
    {
        auto& walk = *static_cast<TCWalk*>(self);
        walk.m_timer = 0;
        walk.m_isLate = true;
        walk.m_signals.Quit();
        return G_SOURCE_REMOVE;
    }

    void StartTimer()
    {
        StopTimer();
        m_timer = g_timeout_add(m_patience, &s_OnLate, this);
    }

    void StopTimer()
    {
        if (m_timer != 0)
        {
            g_source_remove(m_timer);
            m_timer = 0;
        }
    }

    TCDaemonAccess& m_daemon;
    unsigned char m_slot;
    unsigned m_patience;
    TCSignals m_signals;
    TCInputLines& m_lines = StandardInput();
    std::unique_ptr<TCHiddenInput> m_hidden;
    EPage m_page = EPage::NONE;
    TJson m_content;
    std::string m_prompt;
    int m_choices = 0;
    bool m_isBlind = false;
    bool m_isOpen = false;
    bool m_isLate = false;
    guint m_input = 0;
    guint m_timer = 0;
};
} // namespace

EExit MenuVerb(const TCArguments& arguments)
{
    const unsigned char slot = arguments.Slot();
    TCDaemonAccess daemon(arguments.Timeout());
    const auto timeout = arguments.Timeout();
    return TCWalk(daemon, slot, timeout ? static_cast<unsigned>(timeout->count()) : PAGE_MS).Go();
}
} // namespace CIM::cictl
