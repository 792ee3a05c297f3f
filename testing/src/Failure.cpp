#include <ciapi-testing/Failure.h>

#include <nlohmann/json.hpp>

#include <stdexcept>

namespace CIM::test
{
namespace
{
using TJson = nlohmann::json;

std::string With(const std::string& fault, const char* member, unsigned value)
{
    TJson json = TJson::parse(fault);
    json[member] = value;
    return json.dump();
}
} // namespace

TFailure TFailure::Late(unsigned milliseconds)
{
    return TFailure(TJson{{"kind", "late"}, {"ms", milliseconds}}.dump());
}

TFailure TFailure::Never() { return TFailure(TJson{{"kind", "never"}}.dump()); }

TFailure TFailure::Error(const std::string& name, const std::string& text)
{
    return TFailure(TJson{{"kind", "error"}, {"name", name}, {"text", text}}.dump());
}

TFailure TFailure::Status(unsigned char status)
{
    return TFailure(TJson{{"kind", "status"}, {"status", status}}.dump());
}

TFailure TFailure::Crash() { return TFailure(TJson{{"kind", "crash"}}.dump()); }

TFailure TFailure::FromJson(const std::string& fault)
{
    const TJson json = TJson::parse(fault, nullptr, false, true);
    if (!json.is_object())
    {
        throw std::invalid_argument("a failure is a JSON object such as {\"kind\": \"never\"}, not " + fault);
    }
    return TFailure(json.dump());
}

TFailure TFailure::Nth(unsigned number) const { return TFailure(With(m_json, "nth", number)); }

TFailure TFailure::Times(unsigned count) const { return TFailure(With(m_json, "times", count)); }
} // namespace CIM::test
