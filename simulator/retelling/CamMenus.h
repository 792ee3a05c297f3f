#pragma once

#include "SeenPages.h"

#include <memory>

namespace CIM::sim
{
/// The menus of a CAM, put together from the pages that it shows one behind the other: a page hangs where the choice
/// stood that led to it. Follows the CAM's dialogue as the model plays it.
class TCCamMenus
{
public:
    // What the application does, when the CAM takes it.
    void Enter();
    /// \param[in] choice  counted from 1; 0 goes back
    void Choose(unsigned choice);
    void AnswerEnquiry(bool isCancelled);

    /// The CAM shows a page.
    /// \param[in] isRefusal  it follows a reply that a service is not descrambled
    /// \return the name of the page among the CAM's menus when it came by itself; else empty
    std::string Show(const TSSeenPage& seen, bool isRefusal);
    /// The dialogue ends.
    void End();

    /// Puts "menu", "menus" and "pin" into the definition of a CAM, as far as they are known.
    /// \param[in,out] notes  sentences about what is not known
    void Define(json::TJson& cam, std::vector<std::string>& notes) const;

private:
    struct TSNode
    {
        json::TJson page;
        std::size_t depth = 0;
        std::map<unsigned, std::unique_ptr<TSNode>> next{}; ///< by choice; null: it goes back
        // Of an enquiry:
        unsigned agains = 0;                             ///< how often it came again
        std::vector<std::unique_ptr<TSNode>> outcomes{}; ///< other pages behind an answer; null: it goes back
        int mostTries = 0;                               ///< the highest number in its prompts, when that went down
    };
    enum EDone
    {
        NOTHING,
        ENTERED,
        CHOSEN,
        ANSWERED,
        CANCELLED,
    };

    TSNode* m_Follow(const TSSeenPage& seen);
    TSNode* m_FollowChoice(TSNode& top, const TSSeenPage& seen);
    TSNode* m_FollowAnswer(TSNode& top, const TSSeenPage& seen);
    bool m_GoesBack(const TSSeenPage& seen) const;
    TSNode* m_Back();
    std::string m_NameFor(const TSSeenPage& seen, bool isRefusal);
    static json::TJson m_Define(const TSNode& node, json::TJson& cam, std::vector<std::string>& notes);
    static void m_DefineEnquiry(const TSNode& node, json::TJson& page, json::TJson& cam,
                                std::vector<std::string>& notes);

    std::unique_ptr<TSNode> m_menu;
    std::map<std::string, std::unique_ptr<TSNode>> m_menus; ///< what comes by itself
    std::vector<TSNode*> m_path;                            ///< from the first page to the one that is shown
    EDone m_done = NOTHING;
    unsigned m_choice = 0;
};

/// Whether a page is the same question again, perhaps with fewer tries left.
bool IsAskedAgain(const json::TJson& page, const TSSeenPage& later);
/// A word of small letters, digits and '-' made from a text; of others, the alternative.
std::string WordFrom(const json::TJson& text, const std::string& alternative);
/// A text within quotes, short and harmless enough for a line.
std::string Quoted(const json::TJson& text);
} // namespace CIM::sim
