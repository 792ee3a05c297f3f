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
using json::TCJsonError;
using json::TCJsonObject;
using json::TCJsonPath;
using json::TJson;

namespace
{
constexpr int MAX_REPEAT = 255;

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

/// Reads the menu entries as a member of the page.
struct TSEntriesField
{
    std::vector<TSMmiEntry>& entries;
};
void ReadJson(const TJson& json, TSEntriesField& field, const TCJsonPath& path)
{
    if (!json.is_array())
    {
        throw TCJsonError(path, std::string("a list of menu entries is needed, not ") + json::KindOf(json));
    }
    field.entries.clear();
    for (std::size_t i = 0; i < json.size(); ++i)
    {
        const TCJsonPath place(path, i);
        TSMmiEntry entry;
        if (json[i].is_string())
        {
            json::FromJson(json[i], entry.text, place);
            field.entries.push_back(std::move(entry));
            continue;
        }
        int repeat = 1;
        TCJsonObject(json[i], place)
            .Needed("text", entry.text)
            .Field("page", entry.page)
            .Field("repeat", repeat)
            .Done();
        if (repeat < 0 || repeat > MAX_REPEAT)
        {
            throw TCJsonError(TCJsonPath(place, "repeat"),
                              std::to_string(repeat) + " is not within 0 to " + std::to_string(MAX_REPEAT));
        }
        for (int n = 1; n <= repeat; ++n)
        {
            field.entries.push_back(entry);
            Replace(field.entries.back().text, u"{n}", ToUnits(std::to_string(n)));
        }
    }
}

EMmiKind KindOf(const TCJsonObject& object)
{
    return object.Has("prompt") ? MMI_KIND_ENQUIRY : object.Has("entries") ? MMI_KIND_MENU : MMI_KIND_TEXT;
}
} // namespace

void ReadJson(const TJson& json, TSMmiPage& page, const TCJsonPath& path)
{
    TCJsonObject object(json, path);
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
        throw TCJsonError(TCJsonPath(path, "kind"), "there is no such kind of page");
    }
    page = std::move(read);
}
} // namespace CIM::sim
