#include "SeenPages.h"

#include <ciapi/CIEnumerations.h>

#include <algorithm>
#include <tuple>

namespace CIM::sim
{
using json::TJson;

namespace
{
/// What the library calls a kind of page, and how it is read.
struct TSKind
{
    ECiMmiStatus status;
    const char* kind;
    const char* operation;
    const char* lines; ///< the output with the entries; null: it has none
};
constexpr TSKind KINDS[] = {
    {CI_MMI_STATUS_SESSION_CLOSED, "close", "", nullptr},
    {CI_MMI_STATUS_ENQUIRY_RECEIVED, "enquiry", "ICIGeneral.GetMmiEnquiry", nullptr},
    {CI_MMI_STATUS_TEXT_RECEIVED, "text", "ICIGeneral.GetMmiText", nullptr},
    {CI_MMI_STATUS_MENU_RECEIVED, "menu", "ICIGeneral.GetMmiMenu", "choices"},
    {CI_MMI_STATUS_LIST_RECEIVED, "list", "ICIGeneral.GetMmiList", "lines"},
};

/// A page of which nothing but its kind is known.
TJson Unread(const TSKind& kind, std::size_t entries)
{
    TJson page = {{"kind", kind.kind}};
    if (kind.status != CI_MMI_STATUS_SESSION_CLOSED)
    {
        page[kind.status == CI_MMI_STATUS_ENQUIRY_RECEIVED ? "prompt" : "title"] = "?";
    }
    if (kind.lines != nullptr)
    {
        page["entries"] = TJson(std::min<std::size_t>(entries, 255), "?");
    }
    return page;
}

TJson PageOf(const TSKind& kind, const TSSpoken& spoken)
{
    TJson page = {{"kind", kind.kind}};
    if (kind.status == CI_MMI_STATUS_ENQUIRY_RECEIVED)
    {
        page["prompt"] = spoken.Output("text");
        page["blind"] = spoken.Output("blindAnswer");
        page["length"] = spoken.Output("answerLength");
        return page;
    }
    if (kind.lines == nullptr)
    {
        page["title"] = spoken.Output("text");
        return page;
    }
    page["title"] = spoken.Output("title");
    for (const auto& [name, output] : {std::pair("subtitle", "subtitle"), std::pair("bottom", "bottomLine")})
    {
        if (spoken.Output(output) != "")
        {
            page[name] = spoken.Output(output);
        }
    }
    page["entries"] = spoken.Output(kind.lines);
    return page;
}

bool HasAll(const TJson& page)
{
    return std::none_of(page.begin(), page.end(), [](const TJson& member) { return member.is_null(); });
}

class TCReader
{
public:
    explicit TCReader(const TSRecording& recording) : m_recording(recording) {}

    std::map<std::size_t, TSSeenPage> Read()
    {
        for (std::size_t i = 0; i < m_recording.events.size(); ++i)
        {
            const TSRecordedEvent& event = m_recording.events[i];
            if (event.kind == TSRecordedEvent::CALL)
            {
                m_TakeCall(i, m_recording.calls[event.call]);
            }
            else if (const auto signal = ReadRecordedSignal(event))
            {
                m_TakeSignal(i, *signal);
            }
        }
        return std::move(m_pages);
    }

private:
    void m_TakeSignal(std::size_t place, const TSSignal& signal)
    {
        const TSSignalFields fields = UnpackSignalData(signal.data);
        const auto kind = std::find_if(std::begin(KINDS), std::end(KINDS),
                                       [&](const TSKind& row) { return row.status == fields.code; });
        if (signal.type == SIGNAL_CI_MMI_STATUS_CHANGED && fields.slot != NO_SLOT && kind != std::end(KINDS))
        {
            TSSeenPage seen{fields.slot, Unread(*kind, fields.value), false};
            const auto alike = m_alike.find(m_KeyOf(seen));
            seen.page = alike != m_alike.end() ? alike->second : seen.page;
            m_pages[place] = std::move(seen);
            m_open[fields.slot] = place;
        }
    }

    void m_TakeCall(std::size_t place, const TSRecordedCall& call)
    {
        const std::string operation = OperationOf(call);
        const auto kind = std::find_if(std::begin(KINDS), std::end(KINDS),
                                       [&](const TSKind& row) { return row.operation == operation; });
        if (operation.empty() || kind == std::end(KINDS))
        {
            return;
        }
        const TSSpoken spoken = ReadSpoken(call);
        const auto slot = spoken.Slot();
        if (!spoken.isDone || !slot)
        {
            return;
        }
        TJson page = PageOf(*kind, spoken);
        const auto open = m_open.find(*slot);
        if (!HasAll(page))
        {
            return;
        }
        if (open == m_open.end()) // it was there before the recording began
        {
            m_pages[place] = {*slot, std::move(page), true};
            m_open[*slot] = place;
        }
        else if (TSSeenPage& seen = m_pages[open->second]; !seen.isRead && seen.Kind() == kind->kind)
        {
            seen.page = std::move(page);
            seen.isRead = true;
            m_alike[m_KeyOf(seen)] = seen.page;
        }
    }

    /// What is known of a page that nobody reads.
    using TKey = std::tuple<unsigned, std::string, std::size_t>;
    static TKey m_KeyOf(const TSSeenPage& seen)
    {
        return {seen.slot, seen.Kind(), seen.page.contains("entries") ? seen.page["entries"].size() : 0};
    }

    const TSRecording& m_recording;
    std::map<std::size_t, TSSeenPage> m_pages;
    std::map<TKey, TJson> m_alike;          ///< the latest of those that were read
    std::map<unsigned, std::size_t> m_open; ///< the latest page, by slot
};

const TSKind& KindOf(const TSSeenPage& seen)
{
    return *std::find_if(std::begin(KINDS), std::end(KINDS),
                         [kind = seen.Kind()](const TSKind& row) { return row.kind == kind; });
}
} // namespace

std::string TSSeenPage::Operation() const { return KindOf(*this).operation; }

TJson TSSeenPage::PageFrom(const TSSpoken& spoken) const { return PageOf(KindOf(*this), spoken); }

bool TSSeenPage::IsLike(const TJson& other) const
{
    if (isRead)
    {
        return json::IsSame(page, other);
    }
    const auto entries = [](const TJson& each) { return each.contains("entries") ? each["entries"].size() : 0; };
    return other.at("kind") == page["kind"] && entries(other) == entries(page);
}

std::map<std::size_t, TSSeenPage> SeenPages(const TSRecording& recording) { return TCReader(recording).Read(); }

bool ReadsPage(const std::string& operation)
{
    return std::any_of(std::begin(KINDS), std::end(KINDS),
                       [&](const TSKind& row) { return row.operation == operation; });
}
} // namespace CIM::sim
