#include "cictl/Output.h"
#include "cictl/SecretWords.h"
#include "cictl/Signals.h"
#include "cictl/Verb.h"

#include "json/ToJson.h"

#include <cstdio>

namespace CIM::cictl
{
namespace
{
constexpr TSField PIN_FIELDS[] = {{"slot", "slot"}, {"status", "the CAM says"}, {"triesLeft", "tries left"}};
constexpr unsigned REPLY_MS = 10'000;

json::TCSecret CheckedPin(json::TCSecret pin)
{
    if (pin.Text().find_first_not_of("0123456789") != std::string_view::npos)
    {
        throw TCFailure(EXIT_USAGE, "a PIN is digits");
    }
    return pin;
}

// Where a PIN is to come from: - for standard input, or a file.
std::string SourceOf(const TCArguments& arguments)
{
    std::string source = arguments.Text("source", "-");
    if (source != "-" && !source.starts_with('@'))
    {
        throw TCFailure(EXIT_USAGE, "a PIN is not given on the command line, where others can read it: "
                                    "- (or nothing) reads it from standard input, @FILE from a file");
    }
    return source;
}

json::TCSecret ReadPin(const std::string& source, bool isSet)
{
    if (source != "-")
    {
        return CheckedPin(FirstLineOf(source.substr(1)));
    }
    TCSecretInput input;
    json::TCSecret pin = CheckedPin(input.Line(isSet ? "New PIN" : "PIN"));
    if (isSet && IsTerminal() && CheckedPin(input.Line("New PIN, once more")).Text() != pin.Text())
    {
        throw TCFailure(EXIT_USAGE, "the two PINs differ");
    }
    return pin;
}
} // namespace

EExit PinVerb(const TCArguments& arguments)
{
    const std::string action = arguments.Text("action");
    const bool isSet = action == "set";
    if (!isSet && action != "verify")
    {
        throw TCFailure(EXIT_USAGE, "pin can verify or set, and nothing else"); // what was given may be a PIN
    }
    const unsigned char slot = arguments.Slot();
    const std::string source = SourceOf(arguments);
    TCDaemonAccess daemon(arguments.Timeout());
    daemon.Require(*json::FindInterface("ICIGeneral"));

    const json::TCSecret pin = ReadPin(source, isSet);
    TCSignals signals(daemon, nullptr);
    const ECISignalType reply = isSet ? SIGNAL_CI_PIN_REPLY_TO_CI_APP_REQUEST : SIGNAL_CI_PIN_REPLY_TO_PIN_CMD;
    signals.Subscribe(reply, PROFILE_MAIN, slot);
    TJson values = {{"slot", slot}, {"pin", {{"text", pin.Text()}}}};
    const json::TCWipeAtEnd wipe(values);
    const TJson answer = daemon.Call("ICIGeneral", isSet ? "SetCamPin" : "VerifyCamPin", values);
    if (!IsYes(answer))
    {
        throw TCFailure(EXIT_REFUSED, "slot " + std::to_string(slot) + " takes no PIN");
    }
    TJson record = {{"slot", slot}};
    bool isRight = false;
    const bool hasCome =
        signals.Wait(arguments.Timeout() ? static_cast<unsigned>(arguments.Timeout()->count()) : REPLY_MS,
                     [&](const TSSignal& signal)
                     {
                         const auto status =
                             static_cast<ECamPinCodeStatus>(protocol::UnpackSignalData(signal.data).code);
                         isRight = status != CAM_PIN_CODE_STATUS_BAD && status != CAM_PIN_CODE_STATUS_CAM_BUSY;
                         record["status"] = json::ToJson(status);
                         record["triesLeft"] = protocol::UnpackSignalData(signal.data).id;
                         return signal.type == reply;
                     });
    if (signals.IsInterrupted())
    {
        return signals.Unless(EXIT_ANSWERED);
    }
    if (!hasCome)
    {
        throw TCFailure(EXIT_TIMEOUT, "the CAM has not said whether the PIN is right");
    }
    PrintRecord(PIN_FIELDS, record, arguments.IsJson());
    return isRight ? EXIT_ANSWERED : EXIT_REFUSED;
}
} // namespace CIM::cictl
