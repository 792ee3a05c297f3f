#include "Condition.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
using json::TCJsonError;
using json::TCJsonPath;
using json::TJson;

const TSConditionRow* FindRow(std::string_view name)
{
    const auto rows = ConditionRows();
    const auto found =
        std::find_if(rows.begin(), rows.end(), [&](const TSConditionRow& row) { return row.name == name; });
    return found != rows.end() ? &*found : nullptr;
}

TNames Names()
{
    TNames names = NamesOf(ConditionRows(), [](const TSConditionRow& row) { return row.name; });
    names.insert(names.end(), {"after", "at", "any"});
    return names;
}

std::string Join(const std::vector<std::string>& parts, const char* word)
{
    std::string text;
    for (const std::string& part : parts)
    {
        text += (text.empty() ? "" : word) + part;
    }
    return text;
}

/// One of several, none of which has to do with time alone.
TSWhen ReadBranch(const TJson& json, TSConditionReader& reader, const TCJsonPath& path)
{
    TSWhen branch = ReadWhen(json, reader, path);
    if (branch.IsTimeOnly() || branch.afterMs || branch.atMs)
    {
        throw TCJsonError(path, "conditions are needed here; \"after\" and \"at\" stand beside \"any\"");
    }
    return branch;
}
} // namespace

std::optional<std::size_t> TSConditionReader::Event(const std::string& label, const char* member) const
{
    if (label.empty())
    {
        return std::nullopt;
    }
    const auto found = labels.find(label);
    if (found == labels.end())
    {
        Refuse(member,
               "no event before this one has the name \"" + label + "\"" +
                   DidYouMean(label,
                              NamesOf(labels, [](const auto& entry) -> const std::string& { return entry.first; })));
    }
    return found->second;
}

void TSConditionReader::Refuse(const char* member, const std::string& why) const
{
    throw TCJsonError(TCJsonPath(*path, member), why);
}

std::span<const TSConditionRow> ConditionRows()
{
    static const std::vector<TSConditionRow> rows = []
    {
        std::vector<TSConditionRow> all = ModelConditionRows();
        std::ranges::move(HistoryConditionRows(), std::back_inserter(all));
        return all;
    }();
    return rows;
}

bool TSWhen::Holds(const TSScene& scene) const
{
    // Each is asked, also behind one that does not hold: some count.
    bool holds = true;
    for (const TSCondition& condition : conditions)
    {
        holds = condition.holds(scene) && holds;
    }
    bool isAny = any.empty();
    for (const TSWhen& branch : any)
    {
        isAny = branch.Holds(scene) || isAny;
    }
    return holds && isAny;
}

std::string TSWhen::Words() const
{
    std::vector<std::string> parts;
    for (const TSCondition& condition : conditions)
    {
        parts.push_back(condition.words);
    }
    std::vector<std::string> branches;
    for (const TSWhen& branch : any)
    {
        branches.push_back(branch.Words());
    }
    if (!branches.empty())
    {
        parts.push_back((branches.size() > 1 ? "either " : "") + Join(branches, " or "));
    }
    if (afterMs)
    {
        parts.push_back(std::to_string(*afterMs) + " ms");
    }
    if (atMs)
    {
        parts.push_back("until " + std::to_string(*atMs) + " ms have passed in all");
    }
    return Join(parts, " and ");
}

void TSWhen::ForEach(const std::function<void(const TSCondition& condition)>& visit) const
{
    std::for_each(conditions.begin(), conditions.end(), visit);
    for (const TSWhen& branch : any)
    {
        branch.ForEach(visit);
    }
}

TSWhen ReadWhen(const TJson& json, TSConditionReader& reader, const TCJsonPath& path)
{
    TSWhen when;
    for (const auto& [name, value] : json::MembersOf(json, path))
    {
        const TCJsonPath place(path, name);
        if (name == "after" || name == "at")
        {
            (name == "at" ? when.atMs : when.afterMs) = MsFromJson(value, place);
        }
        else if (name == "any")
        {
            const auto& branches = json::ElementsOf(value, place);
            for (std::size_t i = 0; i < branches.size(); ++i)
            {
                when.any.push_back(ReadBranch(branches[i], reader, TCJsonPath(place, i)));
            }
        }
        else if (const TSConditionRow* const row = FindRow(name))
        {
            reader.path = &place;
            when.conditions.push_back(row->make(reader, value, place));
        }
        else
        {
            throw TCJsonError(place, "there is no such condition; " + ThereAre(Names(), name));
        }
    }
    return when;
}
} // namespace CIM::sim
