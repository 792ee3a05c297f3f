#include "cictl/Call.h"

#include "cictl/Output.h"
#include "cictl/SecretWords.h"
#include "cictl/Signals.h"
#include "json/Word.h"

#include <algorithm>
#include <cstdio>

namespace CIM::cictl
{
namespace
{
constexpr TSField ANSWER_FIELDS[] = {
    {"operation", "operation"},
    {"result", "result"},
    {"outputs", "outputs"},
};

constexpr TSField STATUS_FIELDS[] = {{"status", "status"}, {"name", "name"}, {"meaning", "meaning"}};
constexpr TSField SIGNAL_FIELDS[] = {{"type", "type"}, {"number", "number"}};

// An operation by "INTERFACE.NAME"; several when the name alone does not tell.
std::vector<const json::TCOperationForm*> FindOperations(const std::string& text)
{
    const std::size_t dot = text.rfind('.');
    const json::TCInterfaceForm* const interface =
        dot == text.npos ? nullptr : json::FindInterface(std::string_view(text).substr(0, dot));
    if (!interface)
    {
        throw TCFailure(EXIT_USAGE, "\"" + text + "\" is no INTERFACE.OPERATION (see cictl list)" +
                                        json::DidYouMeanOperation(text, /*isSent=*/false));
    }
    std::vector<const json::TCOperationForm*> found = interface->FindAll(std::string_view(text).substr(dot + 1));
    if (found.empty())
    {
        throw TCFailure(EXIT_USAGE, interface->Name() + " has no operation " + text.substr(dot + 1) +
                                        " (see cictl list " + interface->Name() + ")" +
                                        json::DidYouMeanOperation(text, /*isSent=*/false));
    }
    return found;
}

// Whether the given names are just the inputs of an operation.
bool Fits(const json::TCOperationForm& operation, const std::map<std::string, std::string>& given)
{
    std::size_t inputs = 0;
    for (const json::TSParameter& parameter : operation.Parameters())
    {
        if (protocol::IsInput(parameter.word))
        {
            ++inputs;
            if (given.count(parameter.name) == 0)
            {
                return false;
            }
        }
    }
    return inputs == given.size();
}

const json::TCOperationForm& Choose(const std::vector<const json::TCOperationForm*>& candidates,
                                    const std::map<std::string, std::string>& given)
{
    std::vector<const json::TCOperationForm*> fitting;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(fitting),
                 [&](const auto* candidate) { return candidates.size() == 1 || Fits(*candidate, given); });
    if (fitting.size() == 1)
    {
        return *fitting.front();
    }
    std::string names;
    for (const auto* candidate : candidates)
    {
        names += (names.empty() ? "" : " or ") + candidate->FullName();
    }
    throw TCFailure(EXIT_USAGE, "which is meant: " + names + "?");
}

void PrintName(const std::string& name, bool asJson)
{
    if (asJson)
    {
        return PrintJson({{"operation", name}});
    }
    Out() << name << '\n';
}

bool HasOneWay(const json::TCOperationForm& operation)
{
    const json::TSParameter* const flag = operation.FindParameter("oneWay");
    return flag && flag->word == protocol::EWord::ONE_WAY;
}

// What the word of an input stands for.
TJson ValueOf(const json::TSParameter& parameter, const std::string& word, TCSecretInput& secrets)
{
    const json::TCSecret real = WordBehind(parameter.name, word);
    return parameter.IsSecret() ? secrets.Value(parameter, real)
                                : json::ValueFromWord(*parameter.type, std::string(real.Text()), parameter.name);
}
// A PIN's digits that were given as bytes are not refused as words: 1234 is the two bytes 0x12 and 0x34.
void HintAtCharacters(const json::TCOperationForm& operation, const std::map<std::string, std::string>& given)
{
    for (const auto& [name, word] : given)
    {
        const json::TSParameter* const parameter = operation.FindParameter(name);
        if (!parameter || !parameter->IsSecret() || parameter->type->kind != json::EKind::BYTES || IsPointer(word))
        {
            continue;
        }
        const json::TCSecret real = WordBehind(name, word);
        bool isMeant = false; // "31323334" are characters
        for (std::size_t i = 0; i < real.Text().size(); i += 2)
        {
            isMeant |= real.Text()[i] != '3';
        }
        if (isMeant && real.Text().find_first_not_of("0123456789") == std::string_view::npos)
        {
            std::fprintf(stderr, "cictl: %s was given as bytes; %s=- and %s=@FILE take characters, such as digits\n",
                         name.c_str(), name.c_str(), name.c_str());
        }
    }
}
} // namespace

EExit CallAndPrint(TCDaemonAccess& daemon, const json::TCOperationForm& operation, const TJson& arguments, bool asJson)
{
    TJson answer = daemon.Call(operation, arguments);
    const bool isYes = !operation.IsRefusal(answer["result"]);
    TJson record = {{"operation", operation.FullName()}, {"result", std::move(answer["result"])}};
    if (!answer["outputs"].empty())
    {
        record["outputs"] = std::move(answer["outputs"]);
    }
    PrintRecord(ANSWER_FIELDS, record, asJson);
    return isYes ? EXIT_ANSWERED : EXIT_REFUSED;
}

TJson ArgumentsInOrder(const json::TCOperationForm& operation, std::span<const std::string> words)
{
    TCSecretInput secrets;
    TJson arguments = TJson::object();
    std::string inputs;
    std::size_t count = 0;
    for (const json::TSParameter& parameter : operation.Parameters())
    {
        if (protocol::IsInput(parameter.word))
        {
            inputs += std::string(" ") + parameter.name;
            if (count < words.size())
            {
                arguments[parameter.name] = ValueOf(parameter, words[count], secrets);
            }
            ++count;
        }
    }
    if (count != words.size())
    {
        throw TCFailure(EXIT_USAGE, std::string(operation.Name()) + " takes " +
                                        (inputs.empty() ? "no values" : "these values:" + inputs));
    }
    return arguments;
}

EExit CallVerb(const TCArguments& arguments)
{
    std::map<std::string, std::string> given;
    int number = 0;
    for (const std::string& argument : arguments.Many("argument"))
    {
        ++number;
        const std::size_t sign = argument.find('=');
        if (sign == argument.npos || sign == 0)
        {
            // Without showing it: a PIN may have been meant.
            throw TCFailure(EXIT_USAGE,
                            "an argument is given as NAME=VALUE; number " + std::to_string(number) + " has no NAME=");
        }
        if (!given.emplace(argument.substr(0, sign), argument.substr(sign + 1)).second)
        {
            throw TCFailure(EXIT_USAGE, argument.substr(0, sign) + " is given twice");
        }
    }
    const json::TCOperationForm& operation = Choose(FindOperations(arguments.Text("operation")), given);
    TCSecretInput secrets;
    TJson values = TJson::object();
    const json::TCWipeAtEnd wipe(values);
    for (const auto& [name, word] : given)
    {
        const json::TSParameter* const parameter = operation.FindParameter(name);
        values[name] = parameter ? ValueOf(*parameter, word, secrets) : TJson(word);
    }
    if (arguments.IsSet("one-way"))
    {
        if (!HasOneWay(operation))
        {
            throw TCFailure(EXIT_USAGE, operation.FullName() + " has no one-way form");
        }
        values["oneWay"] = true;
    }
    operation.Check(values); // wrong arguments are told even where there is no daemon
    TCDaemonAccess daemon(arguments.Timeout());
    const EExit exit = CallAndPrint(daemon, operation, values, arguments.IsJson());
    if (exit != EXIT_ANSWERED)
    {
        HintAtCharacters(operation, given);
    }
    return exit;
}

EExit ListVerb(const TCArguments& arguments)
{
    if (arguments.IsSet("statuses"))
    {
        TJson records = TJson::array();
        for (const TSExit& exit : Exits())
        {
            records.push_back({{"status", exit.status}, {"name", exit.name}, {"meaning", exit.help}});
        }
        PrintTable(STATUS_FIELDS, records, arguments.IsJson());
        return EXIT_ANSWERED;
    }
    if (arguments.IsSet("signals"))
    {
        TJson records = TJson::array();
        for (const auto& [type, number] : NamedSignalTypes())
        {
            records.push_back({{"type", type}, {"number", number}});
        }
        PrintTable(SIGNAL_FIELDS, records, arguments.IsJson());
        return EXIT_ANSWERED;
    }
    std::vector<const json::TCOperationForm*> operations;
    const std::string wanted = arguments.Text("interface");
    const json::TCInterfaceForm* const only = json::FindInterface(wanted);
    if (!wanted.empty() && !only)
    {
        operations = FindOperations(wanted);
    }
    for (const json::TCInterfaceForm& interface : json::Interfaces())
    {
        for (const json::TCOperationForm& operation : interface.Operations())
        {
            if (&interface == only || wanted.empty())
            {
                operations.push_back(&operation);
            }
        }
    }
    for (const json::TCOperationForm* operation : operations)
    {
        if (arguments.IsSet("names"))
        {
            PrintName(operation->FullName(), arguments.IsJson());
        }
        else if (arguments.IsJson())
        {
            PrintJson(operation->Describe());
        }
        else
        {
            const TJson described = operation->Describe();
            Out() << operation->FullName() << "  (id " << operation->Id() << ") -> " << InWords(described["result"])
                  << (operation->IsLocal() ? ", answered by the library itself" : "") << '\n';
            for (const TJson& parameter : described["parameters"])
            {
                Out() << "    " << InWords(parameter["direction"]) << "  " << InWords(parameter["name"]) << ": "
                      << InWords(parameter["type"]) << (parameter.contains("secret") ? ", secret" : "") << '\n';
                if (operations.size() == 1 && parameter.contains("enumerations"))
                {
                    for (const auto& enumeration : parameter["enumerations"].items())
                    {
                        Out() << "        " << enumeration.key() << ": " << InWords(enumeration.value()) << '\n';
                    }
                }
            }
        }
    }
    return EXIT_ANSWERED;
}
} // namespace CIM::cictl
