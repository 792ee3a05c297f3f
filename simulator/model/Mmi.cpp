#include "Mmi.h"

#include "commandline/Nearest.h"
#include "simulator/definition/Text.h"

namespace CIM::sim
{
namespace
{
const char* ToName(EMmiKind kind)
{
    static constexpr const char* names[] = {"close", "back", "menu", "list", "text", "enquiry"};
    return names[kind];
}

ECiMmiStatus StatusOf(EMmiKind kind)
{
    switch (kind)
    {
    case MMI_KIND_MENU:
        return CI_MMI_STATUS_MENU_RECEIVED;
    case MMI_KIND_LIST:
        return CI_MMI_STATUS_LIST_RECEIVED;
    case MMI_KIND_TEXT:
        return CI_MMI_STATUS_TEXT_RECEIVED;
    case MMI_KIND_ENQUIRY:
        return CI_MMI_STATUS_ENQUIRY_RECEIVED;
    case MMI_KIND_CLOSE:
    case MMI_KIND_BACK:
        break;
    }
    return CI_MMI_STATUS_SESSION_CLOSED;
}

TSMmiPage PinDialogue(const TSSlot& slot)
{
    TSMmiPage page;
    page.kind = MMI_KIND_ENQUIRY;
    page.prompt = u"Enter PIN ({tries} tries left)";
    page.blind = true;
    page.length = static_cast<unsigned char>(slot.cam.pin.digits.size());
    page.checksPin = true;
    page.whenRight.emplace_back();
    return page;
}
} // namespace

int TCMmi::Enter(unsigned char slot)
{
    TSSlot* const found = m_world.FindReady(slot);
    if (!found)
    {
        return 0;
    }
    if (found->cam.ignoresFirstEnterMenu && !m_hasIgnoredEnter[slot])
    {
        m_hasIgnoredEnter[slot] = true;
        return 1;
    }
    m_world.After(*found, m_world.Varied(*found, found->cam.mmiMs), [this, found] { Open(*found, found->cam.menu); });
    return 1;
}

int TCMmi::Close(unsigned char slot)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found || m_sessions[slot].path.empty())
    {
        return 0;
    }
    m_End(*found);
    return 1;
}

const TSMmiPage* TCMmi::m_Page(unsigned char slot, EMmiKind kind) const
{
    if (slot >= m_sessions.size() || m_sessions[slot].path.empty())
    {
        return nullptr;
    }
    const TSMmiPage* const page = m_sessions[slot].path.back();
    return page->kind == kind ? page : nullptr;
}

int TCMmi::GetText(unsigned char slot, TCIText& text) const
{
    const TSMmiPage* const page = m_Page(slot, MMI_KIND_TEXT);
    if (!page)
    {
        return 0;
    }
    Assign(text, page->title);
    return 1;
}

int TCMmi::GetEnquiry(unsigned char slot, bool& blind, unsigned char& length, TCIText& text) const
{
    const TSMmiPage* const page = m_Page(slot, MMI_KIND_ENQUIRY);
    if (!page)
    {
        return 0;
    }
    blind = page->blind;
    length = page->length;
    Assign(text, m_Prompt(slot, *page));
    return 1;
}

std::u16string TCMmi::m_Prompt(std::size_t slot, const TSMmiPage& page) const
{
    static constexpr std::u16string_view placeholder = u"{tries}";
    std::u16string prompt = page.prompt;
    if (const std::size_t at = prompt.find(placeholder); at != std::u16string::npos)
    {
        prompt.replace(at, placeholder.size(), ToUnits(std::to_string(m_pin.TriesLeft(m_world.slots[slot]))));
    }
    return prompt;
}

int TCMmi::GetChoices(unsigned char slot, EMmiKind kind, TCIText& title, TCIText& subtitle, TCIText& bottom,
                      std::vector<TCIText>& lines) const
{
    const TSMmiPage* const page = m_Page(slot, kind);
    if (!page)
    {
        return 0;
    }
    Assign(title, page->title);
    Assign(subtitle, page->subtitle);
    Assign(bottom, page->bottom);
    lines.clear();
    for (const TSMmiEntry& entry : page->entries)
    {
        lines.push_back(MakeText(entry.text));
    }
    return 1;
}

int TCMmi::AnswerMenu(unsigned char slot, unsigned char choice)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found)
    {
        return 0;
    }
    if (const TSMmiPage* const page = m_Page(slot, MMI_KIND_MENU))
    {
        if (choice > page->entries.size())
        {
            return 0;
        }
        if (const auto chosen = m_sessions[slot].chosen)
        {
            m_End(*found);
            chosen(choice);
        }
        else if (choice > 0)
        {
            m_Go(*found, page->entries[choice - 1].page);
        }
        else
        {
            m_Back(*found);
        }
        return 1;
    }
    if (m_Page(slot, MMI_KIND_LIST) || m_Page(slot, MMI_KIND_TEXT))
    {
        m_Back(*found);
        return 1;
    }
    return 0;
}

int TCMmi::AnswerEnquiry(unsigned char slot, EMmiAnswerId answerId, const TCIText& answer)
{
    const TSSlot* const found = m_world.FindReady(slot);
    const TSMmiPage* const page = m_Page(slot, MMI_KIND_ENQUIRY);
    if (!found || !page)
    {
        return 0;
    }
    if (answerId == MMI_ANSWER_ID_CANCEL)
    {
        m_Back(*found);
        return 1;
    }
    if (answerId != MMI_ANSWER_ID_ANSWER || (page->length != 255 && answer.text.size() > page->length))
    {
        return 0;
    }
    std::u16string given = UnitsOf(answer);
    const json::TCWipeAtEnd wipe(given); // it may be a PIN
    if (page->checksPin)
    {
        return m_AnswerPin(*found, *page, given);
    }
    bool isRight = page->rightAnswers.empty();
    for (const std::u16string& right : page->rightAnswers)
    {
        isRight = isRight || right == given;
    }
    m_Follow(*found, isRight ? page->whenRight : page->whenWrong, !isRight);
    return 1;
}

int TCMmi::m_AnswerPin(const TSSlot& slot, const TSMmiPage& page, const std::u16string& answer)
{
    std::string digits = ToUtf8(answer);
    const json::TCWipeAtEnd wipe(digits);
    const EPinOutcome outcome = m_pin.Check(slot, digits);
    if (outcome == PIN_RIGHT)
    {
        m_pin.Answered(slot);
    }
    if (const auto& pipeline = m_sessions[slot.number].pinDialogue)
    {
        m_world.Raise(PipelineSignal(SIGNAL_CI_PIN_REPLY_TO_PIN_MMI_REQ, *pipeline, slot.number,
                                     outcome == PIN_RIGHT ? slot.cam.pin.whenRight : CAM_PIN_CODE_STATUS_BAD,
                                     m_pin.TriesLeft(slot)));
    }
    if (outcome != PIN_BLOCKED)
    {
        m_Follow(slot, outcome == PIN_RIGHT ? page.whenRight : page.whenWrong, outcome == PIN_WRONG);
    }
    else if (page.whenLocked.empty())
    {
        m_End(slot);
    }
    else
    {
        m_Follow(slot, page.whenLocked, false);
    }
    return 1;
}

void TCMmi::m_Follow(const TSSlot& slot, const std::vector<TSMmiPage>& next, bool stays)
{
    if (next.empty() && stays)
    {
        m_Show(slot);
    }
    else if (next.empty() || next.front().kind == MMI_KIND_BACK)
    {
        m_Back(slot);
    }
    else
    {
        // What an answer leads to stands in the enquiry's place: going back does not ask again.
        const TSMmiPage& page = next.front();
        m_sessions[slot.number].path.pop_back();
        m_Go(slot, page);
    }
}

void TCMmi::m_Go(const TSSlot& slot, const TSMmiPage& page)
{
    if (page.kind == MMI_KIND_CLOSE)
    {
        m_End(slot);
    }
    else if (page.kind == MMI_KIND_BACK)
    {
        m_Back(slot);
    }
    else
    {
        m_sessions[slot.number].path.push_back(&page);
        m_Show(slot);
    }
}

void TCMmi::m_Back(const TSSlot& slot)
{
    auto& path = m_sessions[slot.number].path;
    if (path.size() <= 1)
    {
        m_End(slot);
        return;
    }
    path.pop_back();
    m_Show(slot);
}

void TCMmi::m_Show(const TSSlot& slot)
{
    TSSession& session = m_sessions[slot.number];
    ++session.shown;
    m_Announce(slot, false);
}

void TCMmi::m_Announce(const TSSlot& slot, bool isRedrawn)
{
    TSSession& session = m_sessions[slot.number];
    const TSMmiPage& page = *session.path.back();
    m_world.Raise(SlotSignal(SIGNAL_CI_MMI_STATUS_CHANGED, slot.number, StatusOf(page.kind), 0, page.entries.size()));
    const auto whileShown = [this, &slot, number = session.number, shown = session.shown](auto action)
    {
        return [this, &slot, number, shown, action]
        {
            if (m_sessions[slot.number].number == number && m_sessions[slot.number].shown == shown)
            {
                action();
            }
        };
    };
    if (page.closeAfterMs > 0 && !isRedrawn)
    {
        m_world.After(slot, page.closeAfterMs, whileShown([this, &slot] { m_End(slot); }));
    }
    if (page.redrawEveryMs > 0)
    {
        m_world.After(slot, page.redrawEveryMs, whileShown([this, &slot] { m_Announce(slot, true); }));
    }
}

void TCMmi::m_End(const TSSlot& slot)
{
    m_sessions[slot.number] = {};
    m_world.Raise(SlotSignal(SIGNAL_CI_MMI_STATUS_CHANGED, slot.number, CI_MMI_STATUS_SESSION_CLOSED));
}

void TCMmi::Open(const TSSlot& slot, const TSMmiPage& page, std::function<void(unsigned char)> chosen)
{
    TSSession session;
    session.first = std::make_shared<TSMmiPage>(page);
    session.chosen = std::move(chosen);
    session.number = ++m_lastNumber;
    const TSMmiPage& first = *session.first;
    m_sessions[slot.number] = std::move(session);
    m_Go(slot, first);
}

TSOutcome TCMmi::OpenUnsolicited(unsigned slot, const std::string& menu)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found)
    {
        return TSOutcome::Refused("no ready CAM in slot " + std::to_string(slot));
    }
    if (!menu.empty() && !HasMenu(*found, menu))
    {
        return TSOutcome::Refused(
            "the CAM '" + found->cam.name + "' has no menu '" + menu + "'; " +
            ThereAre(NamesOf(found->cam.menus, [](const auto& known) -> const std::string& { return known.first; }),
                     menu));
    }
    Open(*found, menu.empty() ? found->cam.menu : found->cam.menus.at(menu));
    return TSOutcome::Done();
}

TSOutcome TCMmi::OpenPinDialogue(unsigned slot, const TVSHandle& pipeline)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found || found->cam.pin.digits.empty())
    {
        return TSOutcome::Refused("no ready CAM with a PIN in slot " + std::to_string(slot));
    }
    Open(*found, PinDialogue(*found));
    m_sessions[found->number].pinDialogue = pipeline;
    return TSOutcome::Done();
}

void TCMmi::OnCamGone(const TSSlot& slot)
{
    m_hasIgnoredEnter[slot.number] = false;
    if (!m_sessions[slot.number].path.empty())
    {
        m_End(slot);
    }
}

json::TCDraft TCMmi::State() const
{
    json::TCDraft result = json::List();
    for (std::size_t slot = 0; slot < m_sessions.size(); ++slot)
    {
        const auto& path = m_sessions[slot].path;
        if (!path.empty())
        {
            const TSMmiPage& page = *path.back();
            const bool isEnquiry = page.kind == MMI_KIND_ENQUIRY;
            result.Append(json::Record({{"slot", slot},
                                        {"kind", ToName(page.kind)},
                                        {"depth", path.size()},
                                        {"text", ToUtf8(isEnquiry ? m_Prompt(slot, page) : page.title)},
                                        {"entries", page.entries.size()}}));
        }
    }
    return result;
}
} // namespace CIM::sim
