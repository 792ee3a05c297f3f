#include "CamMenus.h"

#include "json/Harmless.h"

#include <algorithm>
#include <cctype>

namespace CIM::sim
{
using json::TJson;

namespace
{
constexpr std::size_t DEEPEST = 12; ///< a menu that leads to itself has no end
constexpr const char* NO_ENTITLEMENT_MENU = "no-entitlement";
constexpr const char* DIGITS = "0123456789";

/// The one number in a text, and what stands around it.
struct TSNumbered
{
    std::string before;
    int number = 0;
    std::string behind;
};
std::optional<TSNumbered> ReadNumbered(const TJson& text)
{
    const std::string* const words = json::TextOf(text);
    const std::size_t begin = words != nullptr ? words->find_first_of(DIGITS) : std::string::npos;
    if (begin == std::string::npos)
    {
        return std::nullopt;
    }
    const std::size_t end = std::min(words->find_first_not_of(DIGITS, begin), words->size());
    if (end - begin > 2 || words->find_first_of(DIGITS, end) != std::string::npos)
    {
        return std::nullopt;
    }
    return TSNumbered{words->substr(0, begin), std::stoi(words->substr(begin, end - begin)), words->substr(end)};
}

/// Whether two enquiries are one but for the number of tries that are left: then the second one's number.
std::optional<int> TriesLeft(const TJson& enquiry, const TJson& later)
{
    const auto first = ReadNumbered(enquiry.at("prompt"));
    const auto second = ReadNumbered(later.at("prompt"));
    const bool isCounted = first && second && first->before == second->before && first->behind == second->behind &&
                           second->number <= first->number;
    return isCounted ? std::optional(second->number) : std::nullopt;
}

bool IsEnquiry(const TJson& page) { return page.at("kind") == "enquiry"; }
} // namespace

bool IsAskedAgain(const TJson& page, const TSSeenPage& later)
{
    return IsEnquiry(page) && IsEnquiry(later.page) && (later.IsLike(page) || TriesLeft(page, later.page));
}

std::string WordFrom(const TJson& text, const std::string& alternative)
{
    std::string word;
    for (const char c : json::TextOf(text) != nullptr ? *json::TextOf(text) : std::string())
    {
        const bool isPlain = static_cast<unsigned char>(c) < 0x80 && std::isalnum(static_cast<unsigned char>(c)) != 0;
        if (isPlain)
        {
            word += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
        else if (!word.empty() && word.back() != '-')
        {
            word += '-';
        }
    }
    constexpr std::size_t MOST = 30;
    word.resize(std::min(word.size(), MOST));
    word.resize(word.find_last_not_of('-') + 1);
    return word.empty() ? alternative : word;
}

std::string Quoted(const TJson& text)
{
    constexpr std::size_t MOST = 60;
    const std::string words = json::TextOf(text) != nullptr ? *json::TextOf(text) : json::Dump(text);
    return "\"" + json::Harmless(json::Shortened(words, MOST)) + "\"";
}

void TCCamMenus::Enter() { m_done = ENTERED; }

void TCCamMenus::Choose(unsigned choice)
{
    m_done = CHOSEN;
    m_choice = choice;
}

void TCCamMenus::AnswerEnquiry(bool isCancelled) { m_done = isCancelled ? CANCELLED : ANSWERED; }

void TCCamMenus::End()
{
    if (!m_path.empty() && m_done == ANSWERED && IsEnquiry(m_path.back()->page))
    {
        TSNode& top = *m_path.back();
        if (std::none_of(top.outcomes.begin(), top.outcomes.end(),
                         [](const auto& outcome) { return outcome != nullptr && outcome->page["kind"] == "close"; }))
        {
            top.outcomes.push_back(std::make_unique<TSNode>(TSNode{TJson({{"kind", "close"}}), top.depth + 1}));
        }
    }
    m_path.clear();
    m_done = NOTHING;
}

std::string TCCamMenus::Show(const TSSeenPage& seen, bool isRefusal)
{
    if (seen.IsEnd())
    {
        End();
        return {};
    }
    TSNode* const followed = m_Follow(seen);
    m_done = NOTHING;
    if (followed != nullptr)
    {
        return {};
    }
    const std::string name = m_NameFor(seen, isRefusal);
    auto& node = m_menus[name];
    if (node == nullptr)
    {
        node = std::make_unique<TSNode>(TSNode{seen.page});
    }
    m_path = {node.get()};
    return name;
}

TCCamMenus::TSNode* TCCamMenus::m_Follow(const TSSeenPage& seen)
{
    if (m_done == ENTERED)
    {
        if (m_menu == nullptr)
        {
            m_menu = std::make_unique<TSNode>(TSNode{seen.page});
        }
        else if (!seen.IsLike(m_menu->page))
        {
            return nullptr;
        }
        m_path = {m_menu.get()};
        return m_menu.get();
    }
    if (m_path.empty())
    {
        return nullptr;
    }
    TSNode& top = *m_path.back();
    switch (m_done)
    {
    case CHOSEN:
        return m_FollowChoice(top, seen);
    case ANSWERED:
        return IsEnquiry(top.page) ? m_FollowAnswer(top, seen) : nullptr;
    case CANCELLED:
        return m_GoesBack(seen) ? m_Back() : nullptr;
    default:
        return nullptr;
    }
}

TCCamMenus::TSNode* TCCamMenus::m_FollowChoice(TSNode& top, const TSSeenPage& seen)
{
    const bool isMenu = top.page["kind"] == "menu";
    if (!isMenu || m_choice == 0 || m_choice > top.page["entries"].size())
    {
        return m_GoesBack(seen) ? m_Back() : nullptr;
    }
    const auto known = top.next.find(m_choice);
    if (known != top.next.end())
    {
        if (known->second == nullptr)
        {
            return m_GoesBack(seen) ? m_Back() : nullptr;
        }
        if (!seen.IsLike(known->second->page))
        {
            return nullptr;
        }
        m_path.push_back(known->second.get());
        return m_path.back();
    }
    if (m_GoesBack(seen))
    {
        top.next[m_choice] = nullptr;
        return m_Back();
    }
    if (top.depth >= DEEPEST)
    {
        return nullptr;
    }
    auto& node = top.next[m_choice];
    node = std::make_unique<TSNode>(TSNode{seen.page, top.depth + 1});
    m_path.push_back(node.get());
    return node.get();
}

TCCamMenus::TSNode* TCCamMenus::m_FollowAnswer(TSNode& top, const TSSeenPage& seen)
{
    if (IsAskedAgain(top.page, seen))
    {
        const auto most = ReadNumbered(top.page.at("prompt"));
        const auto tries = TriesLeft(top.page, seen.page);
        top.mostTries = most && tries && *tries < most->number ? most->number : top.mostTries;
        ++top.agains;
        return &top;
    }
    if (m_GoesBack(seen))
    {
        if (std::find(top.outcomes.begin(), top.outcomes.end(), nullptr) == top.outcomes.end())
        {
            top.outcomes.push_back(nullptr);
        }
        return m_Back();
    }
    auto node = std::find_if(top.outcomes.begin(), top.outcomes.end(),
                             [&](const auto& outcome) { return outcome != nullptr && seen.IsLike(outcome->page); });
    if (node == top.outcomes.end())
    {
        if (top.depth >= DEEPEST)
        {
            return nullptr;
        }
        top.outcomes.push_back(std::make_unique<TSNode>(TSNode{seen.page, top.depth + 1}));
        node = top.outcomes.end() - 1;
    }
    m_path.back() = node->get(); // it stands in the enquiry's place
    return m_path.back();
}

bool TCCamMenus::m_GoesBack(const TSSeenPage& seen) const
{
    return m_path.size() > 1 && seen.IsLike(m_path[m_path.size() - 2]->page);
}

TCCamMenus::TSNode* TCCamMenus::m_Back()
{
    m_path.pop_back();
    return m_path.back();
}

std::string TCCamMenus::m_NameFor(const TSSeenPage& seen, bool isRefusal)
{
    for (const auto& [name, node] : m_menus)
    {
        if (seen.IsLike(node->page))
        {
            return name;
        }
    }
    const std::string word = isRefusal ? NO_ENTITLEMENT_MENU : WordFrom(seen.Title(), seen.Kind());
    std::string name = word;
    for (int number = 2; m_menus.count(name) > 0; ++number)
    {
        name = word + "-" + std::to_string(number);
    }
    return name;
}

void TCCamMenus::Define(TJson& cam, std::vector<std::string>& notes) const
{
    if (m_menu != nullptr)
    {
        cam["menu"] = m_Define(*m_menu, cam, notes);
    }
    for (const auto& [name, node] : m_menus)
    {
        cam["menus"][name] = m_Define(*node, cam, notes);
    }
}

TJson TCCamMenus::m_Define(const TSNode& node, TJson& cam, std::vector<std::string>& notes)
{
    TJson page = node.page;
    for (const auto& [choice, next] : node.next)
    {
        TJson& entry = page["entries"][choice - 1];
        entry = {{"text", TJson(entry)},
                 {"page", next != nullptr ? m_Define(*next, cam, notes) : TJson({{"kind", "back"}})}};
    }
    if (page.contains("entries"))
    {
        for (TJson& entry : page["entries"])
        {
            if (!entry.is_string() && !entry.contains("text"))
            {
                entry = {{"text", TJson(entry)}}; // of code units
            }
        }
    }
    if (IsEnquiry(page))
    {
        m_DefineEnquiry(node, page, cam, notes);
    }
    return page;
}

void TCCamMenus::m_DefineEnquiry(const TSNode& node, TJson& page, TJson& cam, std::vector<std::string>& notes)
{
    const std::string question = Quoted(node.page["prompt"]);
    const auto define = [&](const std::unique_ptr<TSNode>& outcome) {
        return outcome != nullptr ? m_Define(*outcome, cam, notes) : TJson({{"kind", "back"}});
    };
    const std::size_t kinds = node.outcomes.size() + (node.agains > 0 ? 1 : 0);
    if (kinds == 1 && node.agains == 0)
    {
        page["whenRight"] = define(node.outcomes.front());
        notes.push_back("What was answered to " + question +
                        " is covered in the recording: here every answer counts as right.");
        return;
    }
    if (kinds == 0)
    {
        return;
    }
    // Some answers were right and some were not, or all were wrong.
    std::string pin = "1234";
    if (node.page["length"] != 0 && node.page["length"] < pin.size())
    {
        pin.resize(node.page["length"].get<std::size_t>());
    }
    cam["pin"]["digits"] = pin;
    page["checksPin"] = true;
    if (node.mostTries > 0)
    {
        const auto numbered = ReadNumbered(node.page["prompt"]);
        page["prompt"] = numbered->before + "{tries}" + numbered->behind;
        cam["pin"]["tries"] = node.mostTries;
    }
    if (!node.outcomes.empty())
    {
        page["whenRight"] = define(node.outcomes.back());
    }
    if (node.agains > 0 && !node.outcomes.empty())
    {
        page["whenLocked"] = define(node.outcomes.front());
    }
    else if (node.outcomes.size() > 1)
    {
        page["whenWrong"] = define(node.outcomes.front());
    }
    notes.push_back("What was answered to " + question + " is covered in the recording: here " + pin +
                    ", the PIN of the CAM, is right, and every other answer is wrong. To meet the story, answer so.");
}
} // namespace CIM::sim
