#include "StoryParts.h"

#include "json/Signals.h"

#include <algorithm>
#include <tuple>

namespace CIM::sim
{
using json::TJson;

namespace
{
/// Whether a call ends something that was begun.
bool IsEnding(const TSRecordedCall& call)
{
    const std::string_view name = call.operation != nullptr ? call.operation->Name() : "";
    const auto begins = [&](const char* prefix) { return name.starts_with(prefix); };
    return begins("Close") || begins("Stop") || begins("Unregister") || begins("Disable");
}
} // namespace

bool IsActing(const TSRecordedCall& call)
{
    const std::string_view name = call.operation->Name();
    const auto begins = [&](const char* prefix) { return name.starts_with(prefix); };
    return !begins("Get") && !begins("Is") && !begins("CipTest") && !call.isSubscription;
}

bool IsMmi(const std::string& operation)
{
    return operation.starts_with("ICIGeneral.") &&
           (operation.find("Mmi") != operation.npos || operation.ends_with(".EnterMenu"));
}

TJson Telling(const TSRecordedCall& call, const TSSpoken& spoken)
{
    constexpr std::size_t LONGEST = 200;
    TJson telling = json::NewObject();
    for (const auto& item : spoken.arguments.items())
    {
        const json::TSParameter* const parameter = call.operation->FindParameter(item.key());
        const bool isTold = parameter != nullptr && !parameter->IsSecret() && parameter->nodeCount != 0 &&
                            item.key() != "flag" && json::Dump(item.value()).size() <= LONGEST;
        if (isTold)
        {
            telling[item.key()] = item.value();
        }
    }
    return telling;
}

TJson Pattern(const TSRecordedCall& call, const TSSpoken& spoken)
{
    TJson pattern = {{"operation", OperationOf(call)}};
    TJson arguments = Telling(call, spoken);
    if (!arguments.empty())
    {
        pattern["arguments"] = std::move(arguments);
    }
    return pattern;
}

TSRecording WithoutFarewell(TSRecording recording)
{
    const std::size_t leave = LeaveOf(recording);
    const auto isCall = [](const TSRecordedEvent& event) { return event.kind == TSRecordedEvent::CALL; };
    const auto left = std::find_if(recording.events.begin(), recording.events.end(),
                                   [&](const TSRecordedEvent& event) { return isCall(event) && event.call == leave; });
    if (left == recording.events.end())
    {
        return recording;
    }
    constexpr std::int64_t FAREWELL = 100 * NS_PER_MS;
    const std::int64_t begin = left->at - FAREWELL;
    auto end = left;
    for (auto event = left; event != recording.events.begin() && (event - 1)->at > begin; --event)
    {
        const TSRecordedEvent& before = *(event - 1);
        if (isCall(before) && !IsEnding(recording.calls[before.call]))
        {
            break;
        }
        end = isCall(before) ? event - 1 : end;
    }
    recording.events.erase(end, recording.events.end());
    return recording;
}

TJson DeedFor(const TSSignal& signal)
{
    const TSSignalFields fields = UnpackSignalData(signal.data);
    const TJson told = json::SignalDataToJson(signal);
    const auto with = [&](const char* control, TJson arguments)
    {
        arguments["slot"] = fields.slot;
        return TJson({{control, std::move(arguments)}});
    };
    if (fields.slot == NO_SLOT)
    {
        return {};
    }
    switch (signal.type)
    {
    case SIGNAL_CI_CA_REPLY:
        return with("entitlement", {{"reply", fields.code}});
    case SIGNAL_CI_CA_SYSTEMS_CHANGE:
        return with(fields.value == 0 ? "card-out" : "card-in", json::NewObject());
    case SIGNAL_CI_CHECK_PARENTAL_RATING_HANDLERS:
        return with("ask-pin", {{"rating", fields.value},
                                {"profile", json::EnumToJson(json::Enumeration<EProfile>(), signal.profile)},
                                {"handle", signal.handle}});
    case SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE:
        return fields.code == CAM_UPGRADE_STATUS_REPLY_REQUESTED
                   ? with("start-upgrade", {{"mode", told["meaning"]["mode"]}})
                   : TJson();
    case SIGNAL_CI_OPERATOR_PROFILE_STATUS_CHANGE:
        return fields.code == CAM_OP_STATUS_NEW_OP_INSERTED ? with("offer-profile", json::NewObject())
                                                            : with("profile-status", {{"status", told["code"]}});
    case SIGNAL_CI_FILE_RETRIEVAL_MESSAGE:
        return fields.code == CI_FILE_RETRIEVAL_NEW_FILE
                   ? TJson()
                   : with(fields.code == CI_FILE_RETRIEVAL_NEW_FILE_SYSTEM ? "offer-file-system" : "drop-file-system",
                          json::NewObject());
    default:
        return {};
    }
}

TJson RaisedDeed(const TSSignal& signal)
{
    const TSSignalFields fields = UnpackSignalData(signal.data);
    TJson raised = {{"type", json::SignalName(signal.type)}};
    if (signal.profile != PROFILE_MAIN)
    {
        raised["profile"] = json::EnumToJson(json::Enumeration<EProfile>(), signal.profile);
    }
    if (signal.handle != 0)
    {
        raised["handle"] = signal.handle;
    }
    const TJson told = json::SignalDataToJson(signal);
    const std::tuple<const char*, bool, TJson> members[] = {{"slot", fields.slot != NO_SLOT, fields.slot},
                                                            {"code", fields.code != 0, told["code"]},
                                                            {"id", fields.id != 0, fields.id},
                                                            {"value", fields.value != 0, fields.value}};
    for (const auto& [name, isThere, value] : members)
    {
        if (isThere)
        {
            raised[name] = value;
        }
    }

    return {{"signal", raised}};
}
} // namespace CIM::sim
