#include "cictl/Call.h"
#include "cictl/Output.h"

// The verbs that only show: each gathers a record and prints it by its fields.

namespace CIM::cictl
{
namespace
{
constexpr TSField SLOT_FIELDS[] = {
    {"slot", "slot"}, {"status", "CAM"}, {"mode", "mode"}, {"name", "name"}, {"manufacturer", "manufacturer"},
};

constexpr TSField INFO_FIELDS[] = {
    {"slot", "slot"},
    {"status", "CAM"},
    {"mode", "mode"},
    {"applicationType", "application type"},
    {"name", "name"},
    {"manufacturer", "manufacturer"},
    {"caSystems", "CA systems"},
    {"pipelines", "TV pipelines"},
    {"codes", "codes"},
    {"flag", "slot flag"},
    {"value", "slot value"},
};

constexpr TSField CA_FIELDS[] = {{"slot", "slot"}, {"caSystems", "CA systems"}};

constexpr TSField PROFILE_FIELDS[] = {
    {"state", "state"},
    {"slot", "slot"},
    {"name", "name"},
    {"antennaMode", "antenna mode"},
    {"serviceMode", "service mode"},
    {"supportedAntennaModes", "supported antenna modes"},
    {"profileType", "type"},
};

constexpr TSField RECORDING_FIELDS[] = {
    {"file", "file"},
    {"info", "licence"},
    {"infoValue", "licence value"},
    {"thumbnail", "thumbnail"},
    {"retentionExceeded", "retention limit over"},
    {"blocked", "blocked by parental control"},
    {"expiredSections", "expired sections"},
};

// As all verbs name it.
void Rename(TJson& record, const char* from, const char* to)
{
    record[to] = record[from];
    record.erase(from);
}

TJson HexNumbers(const TJson& numbers)
{
    TJson words = TJson::array();
    for (const TJson& number : numbers)
    {
        char word[16];
        std::snprintf(word, sizeof word, "0x%04x", number.get<unsigned>());
        words.push_back(word);
    }
    return words;
}

// Everything about the slots, each under its number as text, as the interfaces give it.
TJson GatherSlots(TCDaemonAccess& daemon)
{
    TJson statuses = daemon.Call("ICIGeneral", "GetCiSlotStatus", {{"selection", 0}});
    if (!IsYes(statuses))
    {
        throw TCFailure(EXIT_REFUSED, "the daemon does not tell its slots");
    }
    const TJson modes = daemon.Call("ICIGeneral", "GetCamModes", TJson::object())["outputs"]["modes"];
    TJson records = TJson::array();
    for (const auto& slot : statuses["outputs"]["statuses"].items())
    {
        TJson record = {{"slot", std::stoi(slot.key())}, {"status", slot.value()}};
        if (modes.contains(slot.key()))
        {
            record["mode"] = modes[slot.key()];
        }
        const TJson info = daemon.Call("ICIGeneral", "GetApplicationInfo", {{"slot", record["slot"]}});
        if (IsYes(info))
        {
            record["applicationType"] = info["outputs"]["applicationType"];
            record["name"] = info["outputs"]["firstText"];
            record["manufacturer"] = info["outputs"]["secondText"];
        }
        records.push_back(std::move(record));
    }
    return records;
}
} // namespace

EExit SlotsVerb(const TCArguments& arguments)
{
    TCDaemonAccess daemon(arguments.Timeout());
    TJson records = GatherSlots(daemon);
    for (TJson& record : records)
    {
        record.erase("applicationType");
    }
    PrintTable(SLOT_FIELDS, records, arguments.IsJson());
    return EXIT_ANSWERED;
}

EExit InfoVerb(const TCArguments& arguments)
{
    const long wanted = arguments.Number("slot", 0, 255, -1);
    TCDaemonAccess daemon(arguments.Timeout());
    TJson records = GatherSlots(daemon);
    const TJson caSystems = daemon.Call("ICIGeneral", "GetCaSystemIds", TJson::object())["outputs"]["caSystemIds"];
    const TJson states = daemon.Call("ICIGeneral", "GetCurrentCiStatus", TJson::object())["outputs"]["status"]["slots"];
    TJson chosen = TJson::array();
    for (TJson& record : records)
    {
        const std::string key = record["slot"].dump();
        if (caSystems.contains(key))
        {
            record["caSystems"] = HexNumbers(caSystems[key]);
        }
        if (states.contains(key))
        {
            const TJson& state = states[key];
            record["pipelines"] = state["handles"];
            record["codes"] = HexNumbers(state["codes"]);
            record["flag"] = state["slotFlag"];
            record["value"] = state["slotValue"];
        }
        if (wanted < 0 || record["slot"] == wanted)
        {
            chosen.push_back(std::move(record));
        }
    }
    if (wanted >= 0 && chosen.empty())
    {
        throw TCFailure(EXIT_REFUSED, "there is no slot " + std::to_string(wanted));
    }
    for (const TJson& record : chosen)
    {
        PrintRecord(INFO_FIELDS, record, arguments.IsJson());
    }
    return EXIT_ANSWERED;
}

EExit CaSystemsVerb(const TCArguments& arguments)
{
    TCDaemonAccess daemon(arguments.Timeout());
    const TJson answer = daemon.Call("ICIGeneral", "GetCaSystemIds", TJson::object());
    if (!IsYes(answer))
    {
        throw TCFailure(EXIT_REFUSED, "the daemon does not tell the CA systems");
    }
    TJson records = TJson::array();
    for (const auto& slot : answer["outputs"]["caSystemIds"].items())
    {
        records.push_back({{"slot", std::stoi(slot.key())}, {"caSystems", HexNumbers(slot.value())}});
    }
    PrintTable(CA_FIELDS, records, arguments.IsJson());
    return EXIT_ANSWERED;
}

EExit ProfilesVerb(const TCArguments& arguments)
{
    TCDaemonAccess daemon(arguments.Timeout());
    TJson records = TJson::array();
    bool isAnswered = false;
    for (const auto& [operation, state] : {std::pair("GetInstalledOperatorProfiles#list", "installed"),
                                           std::pair("GetNotInstalledOperatorProfiles#list", "offered")})
    {
        const TJson answer = daemon.Call("ICIOperatorProfile", operation, TJson::object());
        isAnswered |= IsYes(answer);
        for (TJson record : answer["outputs"]["profiles"])
        {
            record["state"] = state;
            Rename(record, "slotId", "slot");
            Rename(record, "profileName", "name");
            records.push_back(std::move(record));
        }
    }
    PrintTable(PROFILE_FIELDS, records, arguments.IsJson());
    return isAnswered ? EXIT_ANSWERED : EXIT_REFUSED;
}

EExit RecordingVerb(const TCArguments& arguments)
{
    // Each question of copy control, and which output goes into which field.
    struct TSQuestion
    {
        const char* operation;
        std::vector<std::pair<const char*, const char*>> outputs;
    };
    const TSQuestion questions[] = {
        {"GetContentInfo", {{"infoType", "info"}, {"value", "infoValue"}}},
        {"GetCIThumbType", {{"thumbType", "thumbnail"}}},
        {"IsFileExceededRetentionLimit", {{"exceeded", "retentionExceeded"}}},
        {"IsBlockedByParentalControl", {{"blocked", "blocked"}}},
        {"GetExpiredContentSections", {{"sections", "expiredSections"}}},
    };
    TCDaemonAccess daemon(arguments.Timeout());
    const TJson file = json::TextToJson(arguments.Text("file"));
    TJson record = {{"file", file}};
    bool isAnswered = false;
    for (const TSQuestion& question : questions)
    {
        const TJson answer = daemon.Call("IPvrCip", question.operation, {{"file", file}});
        if (IsYes(answer))
        {
            isAnswered = true;
            for (const auto& [output, field] : question.outputs)
            {
                record[field] = answer["outputs"][output];
            }
        }
    }
    if (!isAnswered)
    {
        throw TCFailure(EXIT_REFUSED, arguments.Text("file") + ": copy control knows no such recording");
    }
    PrintRecord(RECORDING_FIELDS, record, arguments.IsJson());
    return EXIT_ANSWERED;
}
} // namespace CIM::cictl
