#include "cictl/Candidates.h"

#include "cictl/Call.h"
#include "cictl/Output.h"
#include "cictl/QuickCall.h"
#include "cictl/Verb.h"

#include "json/ToJson.h"

#include <ciapi/CISignalDataType.h>

#include <algorithm>
#include <cctype>
#include <chrono>

namespace CIM::cictl
{
namespace
{
constexpr std::chrono::milliseconds PATIENCE{100}; // somebody is typing

// The slots that the daemon tells, each with the status of its CAM. \param[in] suffix  what a slot's number goes on with
TCandidates Slots(const std::string& prefix = {}, const std::string& suffix = {})
{
    TCandidates slots;
    try
    {
        TCBus bus(PATIENCE);
        const json::TCInterfaceForm& general = *json::FindInterface("ICIGeneral");
        if (bus.OwnerOf(general.ConnectionName()).empty()) // or the bus might start one
        {
            return slots;
        }
        TCDBusError error;
        const TJson answer = QuickCall(bus, *general.Find("GetCiSlotStatus"), {{"selection", 0}}, PATIENCE, error);
        if (answer.is_object() && answer.contains("outputs"))
        {
            for (const auto& slot : answer["outputs"]["statuses"].items())
            {
                slots.push_back({prefix + slot.key() + suffix, InWords(slot.value())});
            }
        }
    }
    catch (const std::exception&)
    {
    }
    return slots;
}

std::string Inputs(const json::TCOperationForm& operation)
{
    std::string names;
    for (const std::string& name : InputNames(operation))
    {
        names += (names.empty() ? "" : " ") + name;
    }
    return names;
}

TCandidates Enumerators(const json::TSEnumeration& enumeration, const std::string& prefix = {})
{
    TCandidates names;
    for (const auto& enumerator : enumeration.enumerators)
    {
        names.push_back({prefix + std::string(enumerator.name), std::to_string(enumerator.value)});
    }
    return names;
}

// Signal types: as they are called, and without what all their names begin with once somebody leaves it out.
TCandidates SignalTypes(const std::string& typed, const std::string& prefix = {})
{
    constexpr std::string_view COMMON = "SIGNAL_CI_";
    const bool isWhole = COMMON.starts_with(typed) || typed.starts_with(COMMON);
    const std::size_t left = isWhole ? 0 : typed.starts_with("CI_") ? COMMON.find("CI_") : COMMON.size();
    TCandidates names;
    for (const auto& type : json::Enumeration<ECISignalType>().enumerators)
    {
        const bool isBound = type.value == SIGNAL_CI_TYPE_BEGIN || type.value == SIGNAL_CI_TYPE_END;
        std::string name(type.name);
        if (name.starts_with(COMMON))
        {
            name.erase(0, left);
        }
        if (!isBound)
        {
            names.push_back({prefix + name, std::to_string(type.value)});
        }
    }
    return names;
}

// Interfaces, by their names or, for whoever types small letters, without their prefix.
TCandidates InterfaceNames(const std::string& typed, const char* suffix)
{
    TCandidates names;
    const bool isShort = !typed.empty() && std::islower(static_cast<unsigned char>(typed.front())) != 0;
    for (const json::TCInterfaceForm& interface : json::Interfaces())
    {
        std::string name = interface.Name();
        if (isShort)
        {
            name.erase(0, name.starts_with("ICI") ? 3 : 1);
            std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
        }
        names.push_back({name + suffix, std::to_string(interface.Operations().size()) + " operations"});
    }
    return names;
}

TCandidates Operations(const std::string& typed)
{
    const std::size_t dot = typed.rfind('.');
    const json::TCInterfaceForm* const interface =
        dot == typed.npos ? nullptr : json::FindInterface(std::string_view(typed).substr(0, dot));
    if (!interface)
    {
        return InterfaceNames(typed, ".");
    }
    TCandidates names;
    for (const json::TCOperationForm& operation : interface->Operations())
    {
        names.push_back({typed.substr(0, dot + 1) + operation.Key(), Inputs(operation)});
    }
    return names;
}

std::vector<const json::TCOperationForm*> OperationsMeant(const std::string& word)
{
    const std::size_t dot = word.rfind('.');
    const json::TCInterfaceForm* const interface =
        dot == word.npos ? nullptr : json::FindInterface(std::string_view(word).substr(0, dot));
    return interface ? interface->FindAll(std::string_view(word).substr(dot + 1))
                     : std::vector<const json::TCOperationForm*>();
}

TCandidates SecretSources(const std::string& typed, const std::string& prefix)
{
    if (typed.starts_with('@'))
    {
        return FileCandidates(typed.substr(1), prefix + "@");
    }
    return {{prefix + "-", "asks for it, or reads a line of standard input"},
            {prefix + "@", "the first line of a file"}};
}

TCandidates Values(const json::TSParameter& parameter, const std::string& typed, const std::string& prefix)
{
    if (parameter.IsSecret())
    {
        return SecretSources(typed, prefix);
    }
    if (std::string_view(parameter.name) == "slot")
    {
        return Slots(prefix);
    }
    switch (parameter.type->kind)
    {
    case json::EKind::ENUM:
        return Enumerators(*parameter.type->enumerations.front(), prefix);
    case json::EKind::BOOL:
        return {{prefix + "true", ""}, {prefix + "false", ""}};
    default:
        return {};
    }
}

// NAME=VALUE for the inputs that are not given yet.
TCandidates CallArguments(const TSPlace& place)
{
    TCandidates found;
    const std::size_t sign = place.typed.find('=');
    for (const json::TCOperationForm* operation : OperationsMeant(place.words.front()))
    {
        for (const json::TSParameter& parameter : operation->Parameters())
        {
            const std::string name = std::string(parameter.name) + "=";
            const bool isGiven = std::any_of(place.words.begin() + 1, place.words.end(),
                                             [&](const std::string& word) { return word.starts_with(name); });
            const bool isKnown = std::any_of(found.begin(), found.end(),
                                             [&](const TSCandidate& candidate) { return candidate.word == name; });
            if (!protocol::IsInput(parameter.word) || isGiven || isKnown)
            {
                continue;
            }
            if (sign == place.typed.npos)
            {
                found.push_back({name, parameter.type->text + (parameter.IsSecret() ? ", secret" : "")});
            }
            else if (place.typed.starts_with(name))
            {
                return Values(parameter, place.typed.substr(name.size()), name);
            }
        }
    }
    return found;
}

TCandidates PlayerWords(const TSPlace& place)
{
    TCandidates found;
    if (place.words.empty())
    {
        for (const auto& [action, operation] : PlayerActions())
        {
            found.push_back({action, operation});
        }
    }
    else if (place.words.size() == 3 && place.words.front() == "seek")
    {
        found = {{"absolute", ""}, {"relative", ""}};
    }
    return found;
}

TCandidates DebugWords(const TSPlace& place)
{
    TCandidates found;
    for (const json::TCOperationForm& operation : json::FindInterface("ICIDebug")->Operations())
    {
        const std::string name = Dashed(operation.Name());
        if (place.words.empty())
        {
            found.push_back({name, Inputs(operation)});
        }
        else if (place.words.front() == name || place.words.front() == operation.Name())
        {
            std::size_t number = 0;
            for (const json::TSParameter& parameter : operation.Parameters())
            {
                if (protocol::IsInput(parameter.word) && ++number == place.words.size())
                {
                    return Values(parameter, place.typed, "");
                }
            }
        }
    }
    return found;
}

TCandidates Conditions(const TSPlace& place)
{
    // What is typed may begin with parentheses.
    const std::string open = place.typed.substr(0, place.typed.find_first_not_of('('));
    const std::string word = place.typed.substr(open.size());
    constexpr std::string_view SIGNAL = "signal=";
    if (word.starts_with(SIGNAL))
    {
        return SignalTypes(word.substr(SIGNAL.size()), open + std::string(SIGNAL));
    }
    constexpr std::pair<const char*, const char*> STATES[] = {
        {"ready", "the CAM is ready"}, {"init", "the CAM has told its name"},
        {"empty", "there is no CAM"},  {"menu", "a menu is open"},
        {"list", "a list is open"},    {"text", "a text is open"},
        {"enquiry", "the CAM asks"},   {"dialogue", "any of these is open"},
    };
    TCandidates found = {{open + "daemon", "the daemon is there"}, {open + std::string(SIGNAL), "a signal has come"}};
    TCandidates slots = Slots(open + "slot", ".");
    const std::size_t dot = word.find('.');
    for (const auto& [state, help] : STATES)
    {
        found.push_back({open + state, help});
        if (dot != word.npos)
        {
            found.push_back({open + word.substr(0, dot + 1) + state, help});
        }
    }
    std::move(slots.begin(), slots.end(), std::back_inserter(found));
    if (!place.words.empty())
    {
        found.insert(found.end(), {{"and", "both"}, {"or", "one of them"}});
    }
    return found;
}

TCandidates PinWords(const TSPlace& place)
{
    switch (place.words.size())
    {
    case 0:
        return Slots();
    case 1:
        return {{"verify", "have the CAM say whether a PIN is right"}, {"set", "have the CAM take a new PIN"}};
    case 2:
        return SecretSources(place.typed, "");
    default:
        return {};
    }
}

TCandidates Profiles(const TSPlace&) { return Enumerators(json::Enumeration<EProfile>()); }

struct TSRow
{
    std::string_view verb;
    std::string_view option;
    std::size_t words; ///< how many places it has; any number of them when 0
    TCandidates (*find)(const TSPlace& place);
};

constexpr TSRow ROWS[] = {
    {"info", "", 1, [](const TSPlace&) { return Slots(); }},
    {"menu", "", 1, [](const TSPlace&) { return Slots(); }},
    {"pin", "", 3, PinWords},
    {"player", "", 0, PlayerWords},
    {"recording", "", 1, [](const TSPlace& place) { return FileCandidates(place.typed); }},
    {"debug", "", 0, DebugWords},
    {"watch", "", 0, [](const TSPlace& place) { return SignalTypes(place.typed); }},
    {"watch", "profile", 1, Profiles},
    {"watch", "handle", 1, [](const TSPlace&) { return Slots(); }},
    {"wait", "", 0, Conditions},
    {"decode", "", 1, [](const TSPlace& place) { return InterfaceNames(place.typed, ""); }},
    {"list", "", 1, [](const TSPlace& place) { return Operations(place.typed); }},
    {"call", "", 0,
     [](const TSPlace& place) { return place.words.empty() ? Operations(place.typed) : CallArguments(place); }},
    {"run", "", 1, [](const TSPlace& place) { return FileCandidates(place.typed); }},
};
} // namespace

TCandidates VerbCandidates(const TSPlace& place)
{
    for (const TSRow& row : ROWS)
    {
        if (row.verb == place.command && row.option == place.option &&
            (row.words == 0 || !place.option.empty() || place.words.size() < row.words))
        {
            return row.find(place);
        }
    }
    return {};
}
} // namespace CIM::cictl
