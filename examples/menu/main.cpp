// The main job of a TV application with a CAM: be told when a CAM is ready, open its menu, show what arrives, answer,
// close. To be run beside the simulator:
//
//     ci-daemon-sim run -- example-menu
//
// On a TV the same code talks to the real daemon; only Control.h, the hand that moves CAMs, would be gone.

#include "Control.h"

#include <ciapi/CIService.h>

#include <glib.h>

#include <functional>
#include <iostream>
#include <string>
#include <vector>

namespace
{
constexpr unsigned char SLOT = 0;

/// What the callback has been told last. Callbacks run on the thread of the default GLib main context, which in this
/// program is the main thread, so that nothing needs a lock.
struct SKnown
{
    int camStatus = -1;
    int mmiStatus = -1;
} g_known;

// The one callback of the process: it gets every signal that was subscribed. What the eight bytes mean depends on the
// signal; the simulator's are described in docs/signals.md: byte 0 is the slot, byte 1 a status.
int OnCiSignal(CIM::ECISignalType type, EProfile, unsigned short, CIM::TSSignalData data, void* userData)
{
    SKnown& known = *static_cast<SKnown*>(userData);
    const int status = data.bytes[1];
    if (type == CIM::SIGNAL_CI_CAM_READY_STATUS_CHANGED)
    {
        known.camStatus = status;
        std::cout << "  <- signal: " << CIM::ToString(static_cast<CIM::ECamStatus>(status)) << '\n';
    }
    else if (type == CIM::SIGNAL_CI_MMI_STATUS_CHANGED)
    {
        known.mmiStatus = status;
        std::cout << "  <- signal: " << CIM::ToString(static_cast<CIM::ECiMmiStatus>(status)) << '\n';
    }
    return 0;
}

/// Runs the main loop until something is so, for ten seconds at the most. An application that has a main loop anyway
/// simply returns to it.
bool WaitUntil(const std::function<bool()>& isSo)
{
    const gint64 end = g_get_monotonic_time() + 10 * G_USEC_PER_SEC;
    const guint tick = g_timeout_add(
        100, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    while (!isSo() && g_get_monotonic_time() < end)
    {
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(tick);
    return isSo();
}

/// Waits for the CAM's next MMI object.
bool WaitForMmi(CIM::ECiMmiStatus wanted)
{
    const bool came = WaitUntil([&] { return g_known.mmiStatus == wanted; });
    g_known.mmiStatus = -1;
    return came;
}

bool ShowMenu(CIM::ICIGeneral& ci)
{
    CIM::TCIText title, subtitle, bottomLine;
    std::vector<CIM::TCIText> choices;
    if (ci.GetMmiMenu(SLOT, title, subtitle, bottomLine, choices) != 1)
    {
        return false;
    }
    std::cout << "\n  == " << title.ToUtf8() << " == " << subtitle.ToUtf8() << '\n';
    for (std::size_t i = 0; i < choices.size(); ++i)
    {
        std::cout << "     " << i + 1 << "  " << choices[i].ToUtf8() << '\n';
    }
    std::cout << '\n';
    return true;
}

bool Fail(const std::string& what)
{
    std::cerr << "It went wrong here: " << what << '\n';
    return false;
}

bool WalkThroughTheMenu(CIM::ICIGeneral& ci)
{
    std::cout << "The viewer presses the CAM's key: EnterMenu.\n";
    if (ci.EnterMenu(SLOT, /*oneWay=*/false) != 1 || !WaitForMmi(CIM::CI_MMI_STATUS_MENU_RECEIVED) || !ShowMenu(ci))
    {
        return Fail("the main menu did not come");
    }
    for (const unsigned char choice : {2, 2}) // Settings, then Region
    {
        std::cout << "The viewer takes entry " << int(choice) << ": AnswerMmiMenu.\n";
        if (ci.AnswerMmiMenu(SLOT, choice, false, false) != 1 || !WaitForMmi(CIM::CI_MMI_STATUS_MENU_RECEIVED) ||
            !ShowMenu(ci))
        {
            return Fail("the next menu did not come");
        }
    }
    std::cout << "The viewer takes entry 1.\n";
    bool isBlind = false;
    unsigned char length = 0;
    CIM::TCIText question;
    if (ci.AnswerMmiMenu(SLOT, 1, false, false) != 1 || !WaitForMmi(CIM::CI_MMI_STATUS_ENQUIRY_RECEIVED) ||
        ci.GetMmiEnquiry(SLOT, isBlind, length, question) != 1)
    {
        return Fail("the CAM's question did not come");
    }
    std::cout << "\n  The CAM asks: " << question.ToUtf8() << " (" << int(length) << " characters"
              << (isBlind ? ", not to be shown" : "") << ")\n\nThe viewer types 12345: AnswerMmiEnquiry.\n";
    CIM::TCIText text;
    if (ci.AnswerMmiEnquiry(SLOT, CIM::MMI_ANSWER_ID_ANSWER, CIM::TCIText::FromUtf8("12345"), false, false) != 1 ||
        !WaitForMmi(CIM::CI_MMI_STATUS_TEXT_RECEIVED) || ci.GetMmiText(SLOT, text) != 1)
    {
        return Fail("the CAM did not take the answer");
    }
    std::cout << "\n  The CAM says: " << text.ToUtf8() << "\n\nThe viewer has seen enough: CloseMmi.\n";
    return (ci.CloseMmi(SLOT, false, false) == 1 && WaitForMmi(CIM::CI_MMI_STATUS_SESSION_CLOSED)) ||
           Fail("the menu did not close");
}

bool Run()
{
    // The facade gives a proxy of the daemon, or, on a set without CI, an object that answers "nothing there".
    CIM::ICIGeneral& ci = *CIM::TCCIService::CIGeneralInstance();
    if (!CIM::TCCIService::IsCIOperable())
    {
        return Fail("this set has no CI slots (run it under ci-daemon-sim run)");
    }

    // One callback for the process; each subscription names a signal and what it is about. Here: slot 0.
    CIM::ICISignalSubscriber& signals = *CIM::TCCIService::CISignalSubscriberInstance(OnCiSignal);
    for (const auto type : {CIM::SIGNAL_CI_CAM_READY_STATUS_CHANGED, CIM::SIGNAL_CI_MMI_STATUS_CHANGED})
    {
        if (signals.Subscribe(type, &g_known, PROFILE_MAIN, SLOT, 0) != 1)
        {
            return Fail("no subscription");
        }
    }

    std::cout << "Somebody pulls the CAM of slot 0 and puts it in again.\n";
    for (const std::string& error : {Control::RemoveCam(SLOT), Control::InsertCam(SLOT, "plus")})
    {
        if (!error.empty())
        {
            return Fail(error);
        }
    }
    g_known.camStatus = -1;
    if (!WaitUntil([] { return g_known.camStatus == CIM::CAM_STATUS_READY; }))
    {
        return Fail("the CAM did not become ready");
    }

    CIM::ECIApplicationType kind{};
    CIM::TCIText menu, maker;
    if (ci.GetApplicationInfo(SLOT, kind, menu, maker) != 1)
    {
        return Fail("no application information");
    }
    std::cout << "\nThe CAM is ready. It calls itself \"" << menu.ToUtf8() << "\", made by " << maker.ToUtf8()
              << ".\n\n";
    return WalkThroughTheMenu(ci);
}
} // namespace

int main()
{
    const bool isGood = Run();
    CIM::TCCIService::Destroy(); // ends the subscriptions
    std::cout << (isGood ? "\nDone.\n" : "");
    return isGood ? 0 : 1;
}
