#include "cictl/Doctor.h"

#include "cictl/Host.h"
#include "cictl/Output.h"
#include "cictl/Verb.h"

#include <dbus/dbus.h>

#include <algorithm>
#include <iterator>

namespace CIM::cictl
{
namespace
{
// Behind its end two more answers may be waited for, a third of it each.
constexpr std::chrono::milliseconds PATIENCE{1'200};

constexpr TSField FINDING_FIELDS[] = {
    {"state", "state"}, {"check", "check"}, {"subject", "subject"},
    {"found", "found"}, {"cure", "cure"},   {"status", "status"},
};

const char* InWords(EHealth health)
{
    switch (health)
    {
    case EHealth::OK:
        return "ok";
    case EHealth::WARNING:
        return "warning";
    default:
        return "wrong";
    }
}

TFindings Versions()
{
    int major = 0;
    int minor = 0;
    int micro = 0;
    dbus_get_version(&major, &minor, &micro);
    return {{EHealth::OK, "version", "libciapi", CIAPI_VERSION, ""},
            {EHealth::OK, "version", "libdbus",
             std::to_string(major) + '.' + std::to_string(minor) + '.' + std::to_string(micro), ""}};
}

void Print(const TSFinding& finding, bool asJson)
{
    if (asJson)
    {
        TJson record = {{"state", InWords(finding.health)},
                        {"check", finding.check},
                        {"subject", finding.subject},
                        {"found", finding.found}};
        if (!finding.cure.empty())
        {
            record["cure"] = finding.cure;
        }
        if (finding.health == EHealth::WRONG)
        {
            record["status"] = finding.status;
        }
        PrintEvent(FINDING_FIELDS, record, true);
        return;
    }
    Out() << InWords(finding.health) << std::string(9 - std::string_view(InWords(finding.health)).size(), ' ')
          << finding.check << ": " << Harmless(finding.subject) << ": " << Harmless(finding.found) << '\n';
    if (!finding.cure.empty())
    {
        Out() << "         -> " << Harmless(finding.cure) << '\n';
    }
}
} // namespace

EExit DoctorVerb(const TCArguments& arguments)
{
    bool isDaemonThere = false;
    TFindings findings = Versions();
    const auto add = [&](TFindings more) { std::move(more.begin(), more.end(), std::back_inserter(findings)); };
    const bool isHere = HostName().empty();
    if (isHere)
    {
        add(ExamineFeatureKeys());
    }
    add(ExamineBus(PATIENCE, isDaemonThere));
    if (isHere)
    {
        add(ExamineMarker(isDaemonThere));
    }
    for (const TSFinding& finding : findings)
    {
        Print(finding, arguments.IsJson());
    }
    const auto wrong = std::find_if(findings.begin(), findings.end(),
                                    [](const TSFinding& finding) { return finding.health == EHealth::WRONG; });
    return wrong == findings.end() ? EXIT_ANSWERED : wrong->status;
}
} // namespace CIM::cictl
