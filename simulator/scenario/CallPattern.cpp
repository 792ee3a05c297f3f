#include "CallPattern.h"

#include "protocol/InterfaceList.h"
#include "simulator/daemon/Journal.h"
#include "json/OperationForm.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
/// Whether what is wanted is there: of an object its members, everything else as it is.
bool Contains(const json::TJson& value, const json::TJson& wanted)
{
    if (!wanted.is_object() || !value.is_object())
    {
        return json::IsSame(value, wanted);
    }
    return std::all_of(wanted.items().begin(), wanted.items().end(),
                       [&](const auto& item)
                       { return value.contains(item.key()) && Contains(value.at(item.key()), item.value()); });
}

std::string ParameterNames(const json::TCOperationForm& form)
{
    std::string names;
    for (const json::TSParameter& parameter : form.Parameters())
    {
        names += (names.empty() ? "" : ", ") + std::string(parameter.name);
    }
    return names.empty() ? "none" : names;
}

/// What an argument looks like in a call that is made: a value may be written in several ways. What names some members
/// of a record only stays as it is.
/// \throws json::TCJsonError when no call can have it: it would only show as a call that never comes
json::TJson AsMade(const json::TSParameter& parameter, const json::TJson& value, const json::TCJsonPath& path)
{
    if (!protocol::IsInput(parameter.word) || parameter.nodeCount == 0)
    {
        throw json::TCJsonError(path, "the application does not send this parameter");
    }
    if (value.is_object() && parameter.type->kind == json::EKind::STRUCTURED)
    {
        return value;
    }
    return parameter.AsWritten(value, path);
}
} // namespace

std::string TSMadeCall::Text() const
{
    json::TJson shown(arguments);
    if (form != nullptr)
    {
        form->HideSecrets(shown);
    }
    if (isSubscription)
    {
        shown.erase("processId");
    }
    return operation + " " + json::Dump(shown);
}

TSMadeCall ToMadeCall(const TSJournalEntry& entry)
{
    TSMadeCall made;
    made.operation = entry.interface + "." + entry.OperationName();
    made.isSubscription = entry.interface == protocol::NameOf<ICISignalSubscriber>();
    if (entry.operation != nullptr)
    {
        made.form = entry.operation;
        made.operation = entry.operation->FullName();
        if (!json::MayHideSecrets(json::FindInterface(entry.interface), entry.operation, entry.request))
        {
            made.arguments = entry.operation->RequestToJson(entry.request).json;
        }
    }
    return made;
}

json::TJson ToShownStep(const json::TJson& step)
{
    json::TJson shown(step);
    for (json::TJson& action : shown)
    {
        const bool hasArguments = action.is_object() && action.contains("operation") &&
                                  action["operation"].is_string() && action.contains("arguments") &&
                                  action["arguments"].is_object();
        if (!hasArguments)
        {
            continue;
        }
        const std::string operation = action["operation"];
        const std::size_t dot = operation.find('.');
        if (const json::TCInterfaceForm* const interface = json::FindInterface(operation.substr(0, dot)))
        {
            for (const json::TCOperationForm* const form : interface->FindAll(operation.substr(dot + 1)))
            {
                form->HideSecrets(action["arguments"]);
            }
        }
    }
    return shown;
}

TCCallPattern::TCCallPattern(const std::string& operation, const json::TJson& arguments, const json::TCJsonPath& path)
    : m_operation(operation), m_arguments(arguments.is_null() ? json::TJson::object() : arguments)
{
    const json::TCJsonPath operationPath(path, "operation");
    const std::size_t dot = operation.find('.');
    const json::TCInterfaceForm* const interface = json::FindInterface(operation.substr(0, dot));
    if (interface == nullptr)
    {
        std::string names;
        for (const json::TCInterfaceForm& known : json::Interfaces())
        {
            names += (names.empty() ? "" : ", ") + known.Name();
        }
        throw json::TCJsonError(operationPath, "there is no such interface; there are " + names);
    }
    const std::string key = operation.substr(dot + 1);
    if (const json::TCOperationForm* const form = interface->Find(std::string_view(key)); form != nullptr)
    {
        m_forms = {form};
    }
    else
    {
        m_forms = interface->FindAll(key);
    }
    if (m_forms.empty())
    {
        throw json::TCJsonError(operationPath, interface->Name() + " has no operation \"" + key + "\"");
    }
    if (m_forms.front()->IsLocal())
    {
        throw json::TCJsonError(operationPath, operation + " is answered by the library itself, never sent");
    }
    for (auto& item : m_arguments.items())
    {
        const json::TCJsonPath argumentsPath(path, "arguments");
        const json::TCJsonPath place(argumentsPath, item.key());
        const json::TSParameter* parameter = nullptr;
        for (const json::TCOperationForm* const form : m_forms)
        {
            parameter = parameter != nullptr ? parameter : form->FindParameter(item.key());
        }
        if (parameter == nullptr)
        {
            throw json::TCJsonError(place, operation + " has no such parameter; there are " +
                                               ParameterNames(*m_forms.front()));
        }
        item.value() = AsMade(*parameter, item.value(), place);
    }
}

bool TCCallPattern::Matches(const TSMadeCall& call) const
{
    return IsOf(call) && Contains(call.arguments, m_arguments);
}

bool TCCallPattern::IsOf(const TSMadeCall& call) const
{
    return std::any_of(m_forms.begin(), m_forms.end(),
                       [&](const json::TCOperationForm* form) { return form->FullName() == call.operation; });
}
} // namespace CIM::sim
