#pragma once

#include "Spoken.h"

#include <map>

namespace CIM::sim
{
/// A page of a CAM's MMI that was announced in a recording, or the end of the dialogue.
struct TSSeenPage
{
    unsigned slot = 0;
    json::TJson page;    ///< as in the definition of a set; of kind "close": the end
    bool isRead = false; ///< by an application; otherwise only kind and number of entries are known

    std::string Kind() const { return page["kind"].get<std::string>(); }
    bool IsEnd() const { return Kind() == "close"; }
    /// Its title, text or question.
    const json::TJson& Title() const { return page.at(Kind() == "enquiry" ? "prompt" : "title"); }
    /// The operation by which it is read; empty: by none.
    std::string Operation() const;
    /// The page that a reply to that holds.
    json::TJson PageFrom(const TSSpoken& spoken) const;
    /// Whether a page of a definition may be this one.
    bool IsLike(const json::TJson& other) const;
};

/// All of them, by the event of the signal, or of the call that reads a page that was never announced.
std::map<std::size_t, TSSeenPage> SeenPages(const TSRecording& recording);

/// Whether it is the operation by which an application reads a page.
bool ReadsPage(const std::string& operation);
} // namespace CIM::sim
