#include "DefinitionJson.h"
#include "Text.h"

#include <algorithm>

namespace CIM
{
template <>
struct TSEnumNames<sim::EMmiKind>
{
    static constexpr std::string_view type = "EMmiKind";
    static constexpr TSEnumName<sim::EMmiKind> entries[] = {
        {sim::MMI_KIND_CLOSE, "close"}, {sim::MMI_KIND_BACK, "back"}, {sim::MMI_KIND_MENU, "menu"},
        {sim::MMI_KIND_LIST, "list"},   {sim::MMI_KIND_TEXT, "text"}, {sim::MMI_KIND_ENQUIRY, "enquiry"},
    };
};
} // namespace CIM

namespace CIM::sim
{
namespace
{
constexpr int MAX_REPEAT = 255;
constexpr long MAX_DEPTH = 200;

/// The page, of none or one, that an answer leads to.
void ReadNext(TCJsonObject& object, const char* name, std::vector<TSMmiPage>& next)
{
    if (object.Has(name))
    {
        next.resize(1);
        object.Field(name, next.front());
    }
}

void Replace(std::u16string& text, std::u16string_view what, const std::u16string& with)
{
    if (const std::size_t at = text.find(what); at != std::u16string::npos)
    {
        text.replace(at, what.size(), with);
    }
}

void ReadEntries(const TSJsonAt& at, std::vector<TSMmiEntry>& entries)
{
    if (!at.value.is_array())
    {
        at.Fail("expected an array of menu entries");
    }
    for (std::size_t i = 0; i < at.value.size(); ++i)
    {
        TSMmiEntry entry;
        if (at.Child(i).value.is_string())
        {
            Read(at.Child(i), entry.text);
            entries.push_back(std::move(entry));
            continue;
        }
        int repeat = 1;
        TCJsonObject(at.Child(i)).Needed("text", entry.text).Field("page", entry.page).Field("repeat", repeat).Done();
        if (repeat < 0 || repeat > MAX_REPEAT)
        {
            at.Child(i).Child("repeat").Fail("expected an integer from 0 to " + std::to_string(MAX_REPEAT));
        }
        for (int n = 1; n <= repeat; ++n)
        {
            entries.push_back(entry);
            Replace(entries.back().text, u"{n}", ToUnits(std::to_string(n)));
        }
    }
}

/// Reads the menu entries as a member of the page.
struct TSEntriesField
{
    std::vector<TSMmiEntry>& entries;
};
void Read(const TSJsonAt& at, TSEntriesField& field)
{
    field.entries.clear();
    ReadEntries(at, field.entries);
}

EMmiKind KindOf(const TCJsonObject& object)
{
    return object.Has("prompt") ? MMI_KIND_ENQUIRY : object.Has("entries") ? MMI_KIND_MENU : MMI_KIND_TEXT;
}
} // namespace

void Read(const TSJsonAt& at, TSMmiPage& page)
{
    if (std::count(at.path.begin(), at.path.end(), '/') > MAX_DEPTH)
    {
        at.Fail("expected pages that are nested less deeply");
    }
    TCJsonObject object(at);
    TSMmiPage read;
    TSEntriesField entries{read.entries};
    read.kind = KindOf(object);
    object.Field("kind", read.kind)
        .Field("title", read.title)
        .Field("subtitle", read.subtitle)
        .Field("bottom", read.bottom)
        .Field("entries", entries)
        .Field("prompt", read.prompt)
        .Field("blind", read.blind)
        .Field("length", read.length)
        .Field("checksPin", read.checksPin)
        .Field("rightAnswers", read.rightAnswers)
        .Field("closeAfterMs", read.closeAfterMs)
        .Field("redrawEveryMs", read.redrawEveryMs);
    ReadNext(object, "whenRight", read.whenRight);
    ReadNext(object, "whenWrong", read.whenWrong);
    ReadNext(object, "whenLocked", read.whenLocked);
    object.Done();
    if (EnumName(read.kind).empty())
    {
        object.At().Child("kind").Fail("expected a kind of page");
    }
    page = std::move(read);
}
} // namespace CIM::sim
