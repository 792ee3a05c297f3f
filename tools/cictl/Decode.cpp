#include "cictl/Output.h"
#include "cictl/Verb.h"

#include "json/OperationForm.h"

#include <algorithm>
#include <cctype>
#include <iostream>

namespace CIM::cictl
{
EExit DecodeVerb(const TCArguments& arguments)
{
    static constexpr TSField fields[] = {{"operation", "operation"},
                                         {"arguments", "arguments"},
                                         {"result", "result"},
                                         {"outputs", "outputs"},
                                         {"error", "error"}};
    const json::TCInterfaceForm* const interface = json::FindInterface(arguments.Text("interface"));
    if (!interface)
    {
        throw TCFailure(EXIT_USAGE, "there is no interface " + arguments.Text("interface") + " (see cictl list)" +
                                        json::DidYouMeanOperation(arguments.Text("interface"), /*isSent=*/false));
    }
    std::string text = arguments.Text("payload");
    if (text == "-")
    {
        text.assign(std::istreambuf_iterator<char>(std::cin), {});
    }
    std::erase_if(text, [](unsigned char c) { return std::isspace(c) != 0; });
    const std::vector<unsigned char> bytes = json::BytesFromJson(text, json::TCJsonPath("payload"));
    const std::string payload(bytes.begin(), bytes.end());
    const std::optional<short> id = json::MethodOf(payload);
    if (!id)
    {
        throw TCFailure(EXIT_REFUSED, "the payload is not an argument tree");
    }
    const json::TCOperationForm* const operation = interface->Find(*id);
    if (!operation)
    {
        throw TCFailure(EXIT_REFUSED, interface->Name() + " has no method " + std::to_string(*id));
    }
    json::TSDecoded decoded =
        arguments.IsSet("reply") ? operation->ReplyToJson(payload) : operation->RequestToJson(payload);
    TJson record = {{"operation", operation->FullName()}};
    if (arguments.IsSet("reply"))
    {
        record.update(decoded.json);
    }
    else
    {
        if (!arguments.IsSet("show-secrets"))
        {
            operation->HideSecrets(decoded.json);
        }
        record["arguments"] = std::move(decoded.json);
    }
    if (!decoded.error.empty())
    {
        record["error"] = decoded.error;
    }
    PrintRecord(fields, record, arguments.IsJson());
    return decoded.error.empty() ? EXIT_ANSWERED : EXIT_REFUSED;
}
} // namespace CIM::cictl
