#include "cictl/Bus.h"
#include "cictl/Doctor.h"
#include "cictl/Host.h"
#include "cictl/QuickCall.h"

#include "json/OperationForm.h"

#include <ciapi/CINames.h>

#include <tvplatform/SystemInfo.h>

#include <fstream>
#include <optional>
#include <pwd.h>
#include <unistd.h>

namespace CIM::cictl
{
namespace
{
using TCClock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr const char* DAEMON = "daemon";
constexpr const char* START_DAEMON = "Start the CI daemon, or try without one: ci-daemon-sim run -- cictl doctor.";
constexpr const char* JOIN_GROUP =
    "Let this user join the group of the CI applications, and start anew (docs/bus-policy.md).";

std::string UserName(unsigned long user)
{
    const passwd* const entry = getpwuid(static_cast<uid_t>(user)); // nobody else asks: there is one thread
    return entry != nullptr ? entry->pw_name : std::to_string(user);
}

std::string ProgramName(unsigned long process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

class TCExamination
{
public:
    explicit TCExamination(milliseconds time) : m_time(time), m_end(TCClock::now() + time) {}

    TFindings Findings(bool& isDaemonThere)
    {
        const char* const variable = secure_getenv("DBUS_SYSTEM_BUS_ADDRESS");
        const std::string address =
            variable != nullptr ? variable : "unix:path=/var/run/dbus/system_bus_socket (the usual one)";
        try
        {
            m_bus.emplace(m_time / 3);
            m_Add({EHealth::OK, "bus", address, "lets user " + UserName(geteuid()) + " in", ""});
        }
        catch (const TCFailure& failure)
        {
            m_Add({EHealth::WRONG, "bus", address, failure.what(),
                   failure.Status() == EXIT_DENIED
                       ? "Let the bus take this user in, or be another one."
                       : "Start the system bus, or let DBUS_SYSTEM_BUS_ADDRESS name one that runs.",
                   failure.Status()});
            return std::move(m_findings);
        }
        try
        {
            m_ExamineReceiverName();
            isDaemonThere = m_ExamineOwners();
            if (isDaemonThere)
            {
                m_ExamineAnswer();
            }
        }
        catch (const TCFailure& failure) // of a question to the bus
        {
            m_Add({EHealth::WRONG, "bus", address, failure.what(), "Start the system bus anew: it does not answer.",
                   failure.Status()});
        }
        return std::move(m_findings);
    }

private:
    void m_Add(TSFinding finding) { m_findings.push_back(std::move(finding)); }

    void m_CheckTime() const
    {
        if (TCClock::now() > m_end)
        {
            throw TCFailure(EXIT_TIMEOUT, "the bus answers slowly");
        }
    }

    void m_ExamineReceiverName()
    {
        m_CheckTime();
        constexpr const char* CHECK = "receiver name";
        constexpr const char* SUBJECT = "com.kelvora.sub.*";
        try
        {
            m_bus->RequireApplicationName();
            m_Add({EHealth::OK, CHECK, SUBJECT, "this user may own it", ""});
        }
        catch (const TCFailure& failure)
        {
            if (failure.Status() != EXIT_DENIED)
            {
                throw;
            }
            m_Add({EHealth::WRONG, CHECK, SUBJECT, failure.what(), JOIN_GROUP, EXIT_DENIED});
        }
    }

    // What the bus knows of a connection, as a number; nothing when it does not tell.
    std::optional<unsigned long> m_Credential(const char* method, const std::string& name)
    {
        m_CheckTime();
        return m_bus->NumberOf(method, name);
    }

    // \return whether anybody owns any name of the daemon
    bool m_ExamineOwners()
    {
        TFindings owners;
        std::size_t missing = 0;
        std::optional<unsigned long> signalUser; // what the library trusts: see reliability.md
        std::vector<std::pair<std::string, unsigned long>> users;
        for (const json::TCInterfaceForm& interface : json::Interfaces())
        {
            m_CheckTime();
            const std::string& name = interface.ConnectionName();
            const std::string owner = m_bus->OwnerOf(name);
            if (owner.empty())
            {
                ++missing;
                owners.push_back({EHealth::WRONG, DAEMON, name, "nobody owns it",
                                  "Wait until the CI daemon has taken all its names, or start it anew.",
                                  EXIT_NO_DAEMON});
                continue;
            }
            const auto process = m_Credential("GetConnectionUnixProcessID", owner);
            const auto user = m_Credential("GetConnectionUnixUser", owner);
            const std::string program = process && HostName().empty() ? ProgramName(*process) : "";
            owners.push_back({EHealth::OK, DAEMON, name,
                              "owned by " + owner + (program.empty() ? "" : ", " + program) +
                                  (process ? ", process " + std::to_string(*process) : "") +
                                  (user ? ", user " + UserName(*user) : ""),
                              ""});
            if (user)
            {
                users.emplace_back(name, *user);
            }
            if (interface.Name() == "ICISignalSubscriber")
            {
                signalUser = user;
            }
        }
        if (missing == owners.size())
        {
            m_Add({EHealth::WRONG, DAEMON, "com.kelvora.ciapi.*",
                   "nobody owns any of its " + std::to_string(missing) + " bus names", START_DAEMON, EXIT_NO_DAEMON});
            return false;
        }
        std::move(owners.begin(), owners.end(), std::back_inserter(m_findings));
        if (signalUser)
        {
            m_ExamineTrust(*signalUser, users);
        }
        return true;
    }

    void m_ExamineTrust(unsigned long signalUser, const std::vector<std::pair<std::string, unsigned long>>& users)
    {
        for (const auto& [name, user] : users)
        {
            if (user != signalUser && user != 0 && user != geteuid())
            {
                m_Add({EHealth::WARNING, "signals", name,
                       "the library drops signals of its owner: user " + UserName(user) + " is not " +
                           UserName(signalUser) + ", who owns " + "its signals' name",
                       "Let one user own all names of the daemon."});
            }
        }
        m_Add({EHealth::OK, "signals", "user " + UserName(signalUser),
               signalUser == geteuid() ? "trusted: the daemon's user, and this one" : "trusted: the daemon's user",
               ""});
    }

    void m_ExamineAnswer()
    {
        m_CheckTime();
        constexpr const char* CHECK = "answer";
        const json::TCInterfaceForm& interface = *json::FindInterface("ICIGeneral");
        const json::TCOperationForm& operation = *interface.Find("GetCiSlotStatus");
        if (m_bus->OwnerOf(interface.ConnectionName()).empty())
        {
            return; // told already
        }
        TCDBusError error;
        const json::TJson answer = QuickCall(*m_bus, operation, {{"selection", 0}}, m_time / 3, error);
        const std::string subject = operation.FullName();
        if (answer.is_null())
        {
            const bool isDenied = dbus_error_has_name(error.Get(), DBUS_ERROR_ACCESS_DENIED);
            const bool isLate = dbus_error_has_name(error.Get(), DBUS_ERROR_NO_REPLY);
            m_Add({EHealth::WRONG, CHECK, subject, isLate ? "the daemon does not answer" : error.Text(),
                   isDenied ? JOIN_GROUP : "Look into the CI daemon's log, or start it anew.",
                   isDenied ? EXIT_DENIED
                   : isLate ? EXIT_TIMEOUT
                            : EXIT_REFUSED});
            return;
        }
        if (!answer.contains("outputs") || !answer["outputs"].contains("statuses"))
        {
            m_Add({EHealth::WRONG, CHECK, subject, "the reply is not readable",
                   "Let daemon and library be of versions that go together.", EXIT_NOT_READABLE});
            return;
        }
        const std::size_t slots = answer["outputs"]["statuses"].size();
        const std::string found = std::to_string(slots) + (slots == 1 ? " slot" : " slots");
        int stated = 0;
        const bool isOdd = HostName().empty() && TryFeatureKeys() == 0 &&
                           system_info_get_custom_int(CI_FMS_NUM_OF_CI.c_str(), &stated) == 0 && stated > 0 &&
                           static_cast<std::size_t>(stated) != slots;
        m_Add({isOdd ? EHealth::WARNING : EHealth::OK, CHECK, subject,
               found + (isOdd ? ", but the feature key says " + std::to_string(stated) : ""),
               isOdd ? "Write the number of slots that the set has into " + CI_FMS_NUM_OF_CI + "." : ""});
    }

    const milliseconds m_time;
    const TCClock::time_point m_end;
    std::optional<TCBus> m_bus;
    TFindings m_findings;
};
} // namespace

TFindings ExamineBus(milliseconds time, bool& isDaemonThere)
{
    isDaemonThere = false;
    return TCExamination(time).Findings(isDaemonThere);
}
} // namespace CIM::cictl
