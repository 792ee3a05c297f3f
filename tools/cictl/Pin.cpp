#include "cictl/Output.h"
#include "cictl/Signals.h"
#include "cictl/Terminal.h"
#include "cictl/Verb.h"

#include "json/ToJson.h"

#include <cstdio>

namespace CIM::cictl
{
namespace
{
constexpr TSField PIN_FIELDS[] = {{"slot", "slot"}, {"status", "the CAM says"}, {"triesLeft", "tries left"}};
constexpr unsigned REPLY_MS = 10'000;

std::string ReadPin(TCInputLines& input, const char* prompt)
{
    const TCHiddenInput hidden(IsTerminal());
    if (IsTerminal())
    {
        std::fprintf(stderr, "%s: ", prompt);
    }
    std::optional<std::string> line = input.Take();
    while (!line && !input.IsAtEnd())
    {
        input.Read();
        line = input.Take();
    }
    if (!line || line->empty() || line->find_first_not_of("0123456789") != std::string::npos)
    {
        throw TCFailure(EXIT_USAGE, "a PIN is digits");
    }
    return *line;
}
} // namespace

EExit PinVerb(const TCArguments& arguments)
{
    const std::string action = arguments.Text("action");
    const bool isSet = action == "set";
    if (!isSet && action != "verify")
    {
        throw TCFailure(EXIT_USAGE, "pin can verify or set, not \"" + action + "\"");
    }
    const unsigned char slot = arguments.Slot();
    TCDaemonAccess daemon;
    daemon.Require(*json::FindInterface("ICIGeneral"));

    TCInputLines input;
    std::string pin = ReadPin(input, isSet ? "New PIN" : "PIN");
    if (isSet && IsTerminal())
    {
        std::string again = ReadPin(input, "New PIN, once more");
        const bool isSame = again == pin;
        Wipe(again);
        if (!isSame)
        {
            throw TCFailure(EXIT_USAGE, "the two PINs differ");
        }
    }
    TCSignals signals(daemon, nullptr);
    const ECISignalType reply = isSet ? SIGNAL_CI_PIN_REPLY_TO_CI_APP_REQUEST : SIGNAL_CI_PIN_REPLY_TO_PIN_CMD;
    signals.Subscribe(reply, PROFILE_MAIN, slot);
    TJson bytes = json::BytesToHex({reinterpret_cast<const unsigned char*>(pin.data()), pin.size()});
    Wipe(pin);
    const TJson answer =
        daemon.Call("ICIGeneral", isSet ? "SetCamPin" : "VerifyCamPin", {{"slot", slot}, {"pin", std::move(bytes)}});
    if (!IsYes(answer))
    {
        throw TCFailure(EXIT_REFUSED, "slot " + std::to_string(slot) + " takes no PIN");
    }
    TJson record = {{"slot", slot}};
    bool isRight = false;
    const bool hasCome =
        signals.Wait(REPLY_MS,
                     [&](const TSSignal& signal)
                     {
                         const auto status = static_cast<ECamPinCodeStatus>(signal.Code());
                         isRight = status != CAM_PIN_CODE_STATUS_BAD && status != CAM_PIN_CODE_STATUS_CAM_BUSY;
                         record["status"] = json::ToJson(status);
                         record["triesLeft"] = signal.Number();
                         return signal.type == reply;
                     });
    if (!hasCome)
    {
        throw TCFailure(EXIT_REFUSED, "the CAM has not said whether the PIN is right");
    }
    PrintRecord(PIN_FIELDS, record, arguments.IsJson());
    return isRight ? EXIT_ANSWERED : EXIT_REFUSED;
}
} // namespace CIM::cictl
