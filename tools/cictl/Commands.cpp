#include "cictl/Call.h"
#include "cictl/Output.h"

#include "commandline/Nearest.h"

#include <algorithm>
#include <cctype>
#include <iostream>

// The verbs whose words stand for operations: the CAM's player and the service commands.

namespace CIM::cictl
{
namespace
{
struct TSAction
{
    const char* name;
    const char* operation;
};
constexpr TSAction PLAYER_ACTIONS[] = {
    {"verify", "VerifyLocation"},  {"play", "PlayRequest"},          {"speed", "SetPlayerSpeed"},
    {"seek", "SetPlayerPosition"}, {"monitor", "MonitorPlayerInfo"}, {"stop", "StopPlayer"},
};

// What deletes for good asks for a word more than the others.
constexpr std::string_view DELETING[] = {
    "ResetCertificateDataInEeprom", "ResetCertificateDataInSecureStorage", "FactoryReset",
    "RemoveAllOperatorProfiles",    "ClearCIServiceProtectionDatabase",
};

constexpr TSField COMMAND_FIELDS[] = {{"command", "command"}, {"values", "values"}};
} // namespace

std::string Dashed(std::string_view name)
{
    const auto isUpper = [&](std::size_t i) { return i < name.size() && std::isupper(name[i]); };
    std::string dashed;
    for (std::size_t i = 0; i < name.size(); ++i)
    {
        const bool beginsWord = isUpper(i) && (!isUpper(i - 1) || (i + 1 < name.size() && !isUpper(i + 1)));
        if (i > 0 && beginsWord)
        {
            dashed += '-';
        }
        dashed += static_cast<char>(std::tolower(name[i]));
    }
    return dashed;
}

std::vector<std::string> InputNames(const json::TCOperationForm& operation)
{
    std::vector<std::string> names;
    for (const json::TSParameter& parameter : operation.Parameters())
    {
        if (protocol::IsInput(parameter.word))
        {
            names.emplace_back(parameter.name);
        }
    }
    return names;
}

std::vector<std::pair<std::string, std::string>> PlayerActions()
{
    std::vector<std::pair<std::string, std::string>> actions;
    for (const TSAction& action : PLAYER_ACTIONS)
    {
        actions.emplace_back(action.name, action.operation);
    }
    return actions;
}

EExit PlayerVerb(const TCArguments& arguments)
{
    const json::TCInterfaceForm& interface = *json::FindInterface("ICICAMPlayer");
    const std::string action = arguments.Text("action");
    const auto* const row = std::find_if(std::begin(PLAYER_ACTIONS), std::end(PLAYER_ACTIONS),
                                         [&](const TSAction& candidate) { return action == candidate.name; });
    if (row == std::end(PLAYER_ACTIONS))
    {
        throw TCFailure(EXIT_USAGE, "player does not know \"" + action + "\" (see cictl player --help)");
    }
    const json::TCOperationForm& operation = *interface.Find(row->operation);
    std::vector<std::string> words = arguments.Many("value");
    if (action == "seek" && (words.size() == 2 || words.size() == 3))
    {
        const std::string mode = words.size() == 3 ? words[2] : "absolute";
        if (mode != "absolute" && mode != "relative")
        {
            throw TCFailure(EXIT_USAGE, "a position is absolute or relative, not \"" + mode + "\"");
        }
        words = {words[0], TJson({{"seekMode", mode == "relative" ? 1 : 0}, {"position", words[1]}}).dump()};
    }
    const TJson values = ArgumentsInOrder(operation, words);
    operation.Check(values);
    TCDaemonAccess daemon(arguments.Timeout());
    return CallAndPrint(daemon, operation, values, arguments.IsJson());
}

EExit DebugVerb(const TCArguments& arguments)
{
    const json::TCInterfaceForm& interface = *json::FindInterface("ICIDebug");
    const std::string command = arguments.Text("command");
    TJson commands = TJson::array();
    for (const json::TCOperationForm& operation : interface.Operations())
    {
        const std::string dashed = Dashed(operation.Name());
        commands.push_back({{"command", dashed}, {"values", InputNames(operation)}});
        if (command != dashed && command != operation.Name())
        {
            continue;
        }
        const TJson values = ArgumentsInOrder(operation, arguments.Many("value"));
        operation.Check(values);
        const bool deletes =
            std::find(std::begin(DELETING), std::end(DELETING), operation.Name()) != std::end(DELETING);
        if (deletes && !arguments.IsSet("yes"))
        {
            throw TCFailure(EXIT_USAGE, dashed + " deletes data for good: give --yes to go on");
        }
        TCDaemonAccess daemon(arguments.Timeout());
        return CallAndPrint(daemon, operation, values, arguments.IsJson());
    }
    if (!command.empty())
    {
        throw TCFailure(EXIT_USAGE, "there is no service command \"" + command + "\" (cictl debug lists them)" +
                                        DidYouMean(command, NamesOf(commands,
                                                                    [](const TJson& known) -> const std::string&
                                                                    { return *json::TextOf(known["command"]); })));
    }
    PrintTable(COMMAND_FIELDS, commands, arguments.IsJson());
    return EXIT_ANSWERED;
}
} // namespace CIM::cictl
