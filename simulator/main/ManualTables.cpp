#include "ManualTables.h"

#include "simulator/control/Controls.h"
#include "simulator/daemon/Verbs.h"
#include "simulator/faults/Fault.h"
#include "simulator/scenario/Condition.h"

namespace CIM::sim
{
namespace
{
// Longer lists, such as that of all signals, belong elsewhere.
constexpr std::size_t FEW_WORDS = 10;

TManualTable Described(const std::vector<TSParameter>& parameters)
{
    TManualTable table;
    for (const TSParameter& parameter : parameters)
    {
        std::string text = std::string(parameter.help) + "; " + parameter.Describe();
        const std::vector<std::string_view> words = parameter.Words();
        if (!words.empty() && words.size() <= FEW_WORDS && words.front() != "true")
        {
            std::string_view sign = ": ";
            for (const std::string_view word : words)
            {
                text.append(sign).append(word);
                sign = ", ";
            }
        }
        table.push_back({parameter.name, "", std::move(text)});
    }
    return table;
}

/// Whatever is done by a name and takes parameters.
template <class Row>
TManualTable Actions(const Row& rows)
{
    TManualTable table;
    for (const auto& row : rows)
    {
        table.push_back({row.name, "", row.help, Described(row.parameters)});
    }
    return table;
}

TManualTable ControlTable()
{
    TManualTable table;
    for (const TSVerb& verb : Verbs())
    {
        const std::string usage = verb.Usage();
        const std::string values = usage.substr(std::min(usage.find(' '), usage.size() - 1) + 1);
        table.push_back({verb.name, values, verb.help, Described(verb.parameters)});
    }
    return table;
}

TManualTable FaultTable()
{
    const auto words = [](const json::TJson& list)
    {
        std::string text;
        for (const json::TJson& word : list)
        {
            text += (text.empty() ? "" : ", ") + word.get<std::string>();
        }
        return text;
    };
    TManualTable table;
    for (const json::TJson& kind : DescribeFaults().Take())
    {
        TSManualRow row{kind.at("kind").get<std::string>(), "", kind.at("help").get<std::string>()};
        row.text += kind.at("members").empty() ? "" : "; members: " + words(kind.at("members"));
        row.text += kind.at("shapes").empty() ? "" : "; shapes: " + words(kind.at("shapes"));
        table.push_back(std::move(row));
    }
    return table;
}
} // namespace

std::map<std::string, std::function<TManualTable()>> ManualTables()
{
    return {{"controls", ControlTable},
            {"deeds", [] { return Actions(Controls()); }},
            {"conditions", [] { return Actions(ConditionRows()); }},
            {"faults", FaultTable}};
}
} // namespace CIM::sim
