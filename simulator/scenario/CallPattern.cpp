#include "CallPattern.h"

#include "commandline/Nearest.h"
#include "protocol/InterfaceList.h"
#include "simulator/daemon/Journal.h"
#include "json/Harmless.h"
#include "json/OperationForm.h"

#include <algorithm>
#include <optional>

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

/// Of a value as it is made, the members that are meant.
json::TJson PartOf(const json::TJson& made, const json::TJson& meant)
{
    if (!made.is_object() || !meant.is_object())
    {
        return made;
    }
    json::TJson part = json::NewObject();
    for (const auto& item : meant.items())
    {
        const auto found = made.find(item.key());
        if (found == made.end())
        {
            return made; // the key of a map, written in another way
        }
        part[item.key()] = PartOf(*found, item.value());
    }
    return part;
}

/// Of a text, however it is written.
std::size_t CharactersOf(const json::TJson& text)
{
    const std::string* const utf8 = json::TextOf(text);
    return utf8 != nullptr ? json::CharactersOf(*utf8) : text.size();
}

bool IsSent(const json::TSParameter* parameter)
{
    return parameter != nullptr && protocol::IsInput(parameter->word) && parameter->nodeCount != 0;
}

/// What the arguments look like in a call that is made: a value may be written in several ways.
/// \param[in] known  the inputs of all operations of the name
/// \throws json::TCJsonError when no call can have them: they would only show as a call that never comes
json::TJson AsMade(const json::TCOperationForm& form, const TNames& known, const json::TJson& arguments,
                   const json::TCJsonPath& path)
{
    json::TJson made = json::NewObject();
    for (const auto& item : arguments.items())
    {
        const json::TCJsonPath place(path, item.key());
        const json::TSParameter* const parameter = form.FindParameter(item.key());
        if (parameter == nullptr)
        {
            const bool isOthers = std::find(known.begin(), known.end(), item.key()) != known.end();
            throw json::TCJsonError(place, form.FullName() + " has no such parameter; " +
                                               (isOthers ? "another operation of that name has it, but not the rest"
                                                         : ThereAre(known, item.key())));
        }
        if (!IsSent(parameter))
        {
            throw json::TCJsonError(place, "the application does not send this parameter");
        }
        made[item.key()] = PartOf(parameter->AsWritten(item.value(), place), item.value());
    }
    return made;
}

/// The operations that are sent under a name.
/// \throws json::TCJsonError when there is none
std::vector<const json::TCOperationForm*> FindSent(const std::string& operation, const json::TCJsonPath& path)
{
    const std::size_t dot = operation.find('.');
    const json::TCInterfaceForm* const interface = json::FindInterface(operation.substr(0, dot));
    if (interface == nullptr)
    {
        TNames names;
        for (const json::TCInterfaceForm& known : json::Interfaces())
        {
            names.emplace_back(known.Name());
        }
        throw json::TCJsonError(path, "there is no such interface; " + ThereAre(names, {}) +
                                          json::DidYouMeanOperation(operation, /*isSent=*/true));
    }
    const std::string key = dot == operation.npos ? "" : operation.substr(dot + 1);
    if (key.empty())
    {
        throw json::TCJsonError(path, "an operation is named as INTERFACE.NAME, such as ICIGeneral.EnterMenu");
    }
    std::vector<const json::TCOperationForm*> forms = interface->FindAll(key);
    if (forms.empty())
    {
        throw json::TCJsonError(path, interface->Name() + " has no operation \"" + key + "\"" +
                                          json::DidYouMeanOperation(operation, /*isSent=*/true));
    }
    std::erase_if(forms, [](const json::TCOperationForm* form) { return form->IsLocal(); });
    if (forms.empty())
    {
        throw json::TCJsonError(path, operation + " is answered by the library itself, never sent");
    }
    return forms;
}
} // namespace

namespace
{
/// Whether it answers a CAM's dialogue, and the CAM does not take it.
bool IsRefusedAnswer(const TSJournalEntry& entry)
{
    if (entry.operation->FullName().find(".AnswerMmi") == std::string::npos || entry.reply.empty())
    {
        return false;
    }
    const json::TJson reply = entry.operation->ReplyToJson(entry.reply).json;
    return reply.is_object() && reply.contains("result") && reply.at("result") == 0;
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
        made.isRefused = IsRefusedAnswer(entry);
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
    : m_operation(operation)
{
    const json::TCJsonPath argumentsPath(path, "arguments");
    if (!arguments.is_null())
    {
        json::MembersOf(arguments, argumentsPath);
    }
    const auto knows = [&](const json::TCOperationForm* form)
    {
        const auto items = arguments.items();
        return std::all_of(items.begin(), items.end(),
                           [&](const auto& item) { return IsSent(form->FindParameter(item.key())); });
    };
    std::vector<const json::TCOperationForm*> forms = FindSent(operation, json::TCJsonPath(path, "operation"));
    std::stable_partition(forms.begin(), forms.end(), knows); // whose errors say most
    TNames known;
    for (const json::TCOperationForm* const form : forms)
    {
        for (const std::string_view input : form->Inputs())
        {
            if (std::find(known.begin(), known.end(), input) == known.end())
            {
                known.push_back(input);
            }
        }
    }
    std::optional<json::TCJsonError> problem;
    for (const json::TCOperationForm* const form : forms)
    {
        try
        {
            m_meant.push_back({form, AsMade(*form, known, arguments, argumentsPath)});
        }
        catch (const json::TCJsonError& error)
        {
            problem = problem ? problem : error;
        }
    }
    if (m_meant.empty())
    {
        throw json::TCJsonError(*problem);
    }
}

void TCCallPattern::MustBeShorter(const json::TJson& lengths, const json::TCJsonPath& path)
{
    for (const auto& [name, length] : json::MembersOf(lengths, path))
    {
        const json::TCJsonPath place(path, name);
        const bool isText = std::any_of(m_meant.begin(), m_meant.end(),
                                        [&, argument = std::string(name)](const TSMeant& meant)
                                        {
                                            const json::TSParameter* const parameter =
                                                meant.form->FindParameter(argument);
                                            return IsSent(parameter) && parameter->type->kind == json::EKind::TEXT;
                                        });
        if (!isText)
        {
            throw json::TCJsonError(place, m_operation + " sends no text of that name");
        }
        m_shorter[name] = json::UnsignedFromJson(length, UINT16_MAX, place);
    }
}

bool TCCallPattern::Matches(const TSMadeCall& call) const
{
    const bool areShort = std::all_of(m_shorter.begin(), m_shorter.end(),
                                      [&](const auto& entry) {
                                          return call.arguments.contains(entry.first) &&
                                                 CharactersOf(call.arguments.at(entry.first)) < entry.second;
                                      });
    return areShort && std::any_of(m_meant.begin(), m_meant.end(),
                                   [&](const TSMeant& meant) {
                                       return meant.form->FullName() == call.operation &&
                                              Contains(call.arguments, meant.arguments);
                                   });
}

bool TCCallPattern::IsOf(const TSMadeCall& call) const
{
    return std::any_of(m_meant.begin(), m_meant.end(),
                       [&](const TSMeant& meant) { return meant.form->FullName() == call.operation; });
}
} // namespace CIM::sim
