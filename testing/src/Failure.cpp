#include <ciapi-testing/Failure.h>

#include "JsonText.h"

namespace CIM::test
{
namespace
{
using TJson = json::TJson;

std::string With(const std::string& fault, const char* member, unsigned value)
{
    TJson json = TJson::parse(fault);
    json[member] = value;
    return json.dump();
}
} // namespace

TCFailure TCFailure::Late(unsigned milliseconds)
{
    return TCFailure(TJson{{"kind", "late"}, {"ms", milliseconds}}.dump());
}

TCFailure TCFailure::Never() { return TCFailure(TJson{{"kind", "never"}}.dump()); }

TCFailure TCFailure::Error(const std::string& name, const std::string& text)
{
    return TCFailure(TJson{{"kind", "error"}, {"name", name}, {"text", text}}.dump());
}

TCFailure TCFailure::Status(unsigned char status)
{
    return TCFailure(TJson{{"kind", "status"}, {"status", status}}.dump());
}

TCFailure TCFailure::Crash() { return TCFailure(TJson{{"kind", "crash"}}.dump()); }

TCFailure TCFailure::FromJson(const std::string& fault) { return TCFailure(ParseObject(fault).dump()); }

TCFailure TCFailure::Nth(unsigned number) const { return TCFailure(With(m_json, "nth", number)); }

TCFailure TCFailure::Times(unsigned count) const { return TCFailure(With(m_json, "times", count)); }
} // namespace CIM::test
