#pragma once

#include "Pin.h"

#include <ciapi/CIGeneralDataType.h>

#include <memory>
#include <string>
#include <vector>

namespace CIM::sim
{
/// The CAMs' MMI sessions: menus, lists, texts and enquiries, walked page by page. Each new page is announced by
/// SIGNAL_CI_MMI_STATUS_CHANGED. The operations return 1, or 0 when there is no such page to show or answer.
class TCMmi
{
public:
    TCMmi(TSWorld& world, TCPin& pin) : m_world(world), m_pin(pin), m_sessions(world.slots.size()) {}

    int Enter(unsigned char slot);
    int Close(unsigned char slot);
    int GetText(unsigned char slot, TCIText& text) const;
    int GetEnquiry(unsigned char slot, bool& blind, unsigned char& length, TCIText& text) const;
    int GetChoices(unsigned char slot, EMmiKind kind, TCIText& title, TCIText& subtitle, TCIText& bottom,
                   std::vector<TCIText>& lines) const;
    /// \param[in] choice  counted from 1; 0 goes back, and from the first page out. On a list and a text every choice
    ///                    goes back.
    int AnswerMenu(unsigned char slot, unsigned char choice);
    int AnswerEnquiry(unsigned char slot, EMmiAnswerId answerId, const TCIText& answer);

    /// Opens a page that the CAM shows by itself, in place of what is open.
    /// \param[in] menu  name of one of the CAM's pages; empty: its menu
    TSOutcome OpenUnsolicited(unsigned slot, const std::string& menu);
    bool HasMenu(const TSSlot& slot, const std::string& menu) const { return slot.cam.menus.count(menu) > 0; }
    /// Opens a page; chosen, unless null, hears of each choice on it, and each choice closes the session.
    void Open(const TSSlot& slot, const TSMmiPage& page, std::function<void(unsigned char choice)> chosen = nullptr);
    /// Asks for the PIN in the CAM's own dialogue; the outcome is announced as the reply to it.
    TSOutcome OpenPinDialogue(unsigned slot, const TVSHandle& pipeline);

    void OnCamGone(const TSSlot& slot);
    json::TCDraft State() const;

private:
    struct TSSession
    {
        std::shared_ptr<const TSMmiPage> first; ///< owns every page of the session
        std::vector<const TSMmiPage*> path;     ///< from the first page to the one that is shown
        std::function<void(unsigned char)> chosen;
        std::optional<TVSHandle> pinDialogue; ///< the pipeline that the CAM's PIN dialogue is for
        std::uint64_t number = 0;             ///< tells sessions apart for what is still scheduled
        std::uint64_t shown = 0;              ///< counts pages, likewise
    };

    const TSMmiPage* m_Page(unsigned char slot, EMmiKind kind) const;
    /// The question of an enquiry as it is shown.
    std::u16string m_Prompt(std::size_t slot, const TSMmiPage& page) const;
    void m_Go(const TSSlot& slot, const TSMmiPage& page);
    void m_Back(const TSSlot& slot);
    void m_Follow(const TSSlot& slot, const std::vector<TSMmiPage>& next, bool stays);
    void m_Show(const TSSlot& slot);
    void m_Announce(const TSSlot& slot, bool isRedrawn);
    void m_End(const TSSlot& slot);
    int m_AnswerPin(const TSSlot& slot, const TSMmiPage& page, const std::u16string& answer);

    TSWorld& m_world;
    TCPin& m_pin;
    std::vector<TSSession> m_sessions;
    std::vector<bool> m_hasIgnoredEnter = std::vector<bool>(m_sessions.size());
    std::uint64_t m_lastNumber = 0;
};
} // namespace CIM::sim
