#include "Input.h"

#include "json/Document.h"
#include "json/OperationForm.h"
#include "json/Word.h"

#include <vector>

// Arguments and answers of any operation as JSON, from a file or from the words of a command line; and any payload as
// JSON. Property: what is refused has a text; what is taken makes a payload that reads without complaint, and as what is
// written as the same payload again.

namespace CIM::json
{
namespace
{
using fuzz::Require;

const std::vector<const TCOperationForm*>& Operations()
{
    static const std::vector<const TCOperationForm*> operations = []
    {
        std::vector<const TCOperationForm*> all;
        for (const TCInterfaceForm& interface : Interfaces())
        {
            for (const TCOperationForm& operation : interface.Operations())
            {
                all.push_back(&operation);
            }
        }
        return all;
    }();
    return operations;
}

/// \return null when the text is no JSON
TJson Parsed(std::string_view text)
{
    try
    {
        return TCJsonDocument::Parse("input", std::string(text)).Root();
    }
    catch (const TCFileError& error)
    {
        Require(std::string_view(error.what()).starts_with("input:"));
        return nullptr;
    }
}

/// A line for each parameter, as a command line has them.
TJson FromWords(const TCOperationForm& operation, fuzz::TCInput& input)
{
    TJson arguments = TJson::object();
    for (const TSParameter& parameter : operation.Parameters())
    {
        arguments[parameter.name] = ValueFromWord(*parameter.type, std::string(input.Line()), parameter.name);
    }
    return arguments;
}

using TRead = TSDecoded (TCOperationForm::*)(std::string_view) const;
using TWrite = std::string (TCOperationForm::*)(const TJson&) const;

void WriteAndRead(const TCOperationForm& operation, const TJson& given, TWrite write, TRead read)
{
    const std::string payload = (operation.*write)(given);
    const TSDecoded decoded = (operation.*read)(payload);
    Require(decoded.error.empty());
    Require((operation.*write)(decoded.json) == payload);
    Require(MethodOf(payload) == operation.Id());
    Require(!Dump(decoded.json).empty());
}

/// Bytes of anybody: whatever can be read is shown, and the rest has a complaint.
void ReadPayload(const TCOperationForm& operation, std::string_view payload, TRead read)
{
    const TSDecoded decoded = (operation.*read)(payload);
    Require(!Dump(decoded.json).empty());
    Require(decoded.json.is_object());
    Require(MethodOf(payload).has_value() || payload.empty() || !decoded.error.empty());
}
} // namespace
} // namespace CIM::json

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace CIM::json;
    CIM::fuzz::TCInput input(data, size);
    const TCOperationForm& operation = *Operations()[input.Below(Operations().size())];
    const std::size_t kind = input.Below(5);
    try
    {
        switch (kind)
        {
        case 0:
            WriteAndRead(operation, Parsed(input.Rest()), &TCOperationForm::RequestFromJson,
                         &TCOperationForm::RequestToJson);
            break;
        case 1:
            WriteAndRead(operation, Parsed(input.Rest()), &TCOperationForm::ReplyFromJson,
                         &TCOperationForm::ReplyToJson);
            break;
        case 2:
            WriteAndRead(operation, FromWords(operation, input), &TCOperationForm::RequestFromJson,
                         &TCOperationForm::RequestToJson);
            break;
        case 3:
            ReadPayload(operation, input.Rest(), &TCOperationForm::RequestToJson);
            break;
        default:
            ReadPayload(operation, input.Rest(), &TCOperationForm::ReplyToJson);
        }
    }
    catch (const TCJsonError& error)
    {
        CIM::fuzz::Require(kind < 3 && *error.what() != '\0');
    }
    return 0;
}
