#include "Tables.h"

#include "simulator/control/Controls.h"
#include "simulator/daemon/Verbs.h"
#include "simulator/definition/Definition.h"
#include "simulator/faults/Fault.h"
#include "json/OperationForm.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
using json::TJson;

const char* WordOf(json::EKind kind)
{
    switch (kind)
    {
    case json::EKind::NUMBER:
        return "number";
    case json::EKind::BOOL:
        return "bool";
    case json::EKind::ENUM:
        return "enum";
    case json::EKind::TEXT:
        return "text";
    case json::EKind::BYTES:
        return "bytes";
    case json::EKind::STRUCTURED:
        return "json";
    }
    return "json";
}

TJson FormOf(const TSParameter& parameter)
{
    return {{"name", parameter.name},       {"help", parameter.help},       {"kind", WordOf(parameter.type->kind)},
            {"type", parameter.type->text}, {"needed", parameter.isNeeded}, {"initial", parameter.initial},
            {"words", parameter.Words()}};
}

TJson FormOf(const json::TSParameter& parameter)
{
    TJson words = TJson::array();
    if (parameter.type->kind == json::EKind::ENUM)
    {
        for (const auto& enumerator : parameter.type->enumerations.front()->enumerators)
        {
            words.push_back(enumerator.name);
        }
    }
    return {{"name", parameter.name},
            {"help", parameter.IsSecret() ? "a secret: it is shown nowhere" : ""},
            {"kind", WordOf(parameter.type->kind)},
            {"type", parameter.type->text},
            {"needed", true},
            {"initial", nullptr},
            {"words", std::move(words)},
            {"secret", parameter.IsSecret()}};
}

TJson VerbForms()
{
    TJson list = TJson::array();
    for (const TSVerb& verb : Verbs())
    {
        TJson parameters = TJson::array();
        for (const TSParameter& parameter : verb.parameters)
        {
            parameters.push_back(FormOf(parameter));
        }
        list.push_back({{"name", verb.name}, {"help", verb.help}, {"parameters", std::move(parameters)}});
    }
    return list;
}

TJson OperationForms()
{
    TJson list = TJson::array();
    for (const json::TCInterfaceForm& interface : json::Interfaces())
    {
        for (const json::TCOperationForm& operation : interface.Operations())
        {
            TJson parameters = TJson::array();
            for (const json::TSParameter& parameter : operation.Parameters())
            {
                const bool isOptional = parameter.word == protocol::EWord::ONE_WAY || parameter.nodeCount == 0;
                if (protocol::IsInput(parameter.word) && !isOptional)
                {
                    parameters.push_back(FormOf(parameter));
                }
            }
            list.push_back({{"name", operation.FullName()}, {"help", ""}, {"parameters", std::move(parameters)}});
        }
    }
    return list;
}
} // namespace

std::string FormTables()
{
    const TJson tables = {
        {"verbs", VerbForms()}, {"faults", DescribeFaults().Take()}, {"operations", OperationForms()}};
    return json::Dump(tables);
}
} // namespace CIM::sim
