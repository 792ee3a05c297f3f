#pragma once

#include "cictl/Exit.h"
#include "json/Json.h"

#include <chrono>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace CIM::cictl
{
using json::TJson;

/// What an argument of a verb is.
enum class EArgument
{
    NEEDED,   ///< by position
    OPTIONAL, ///< by position
    MANY,     ///< the rest of the line, also none
    FLAG,     ///< --name
    OPTION,   ///< --name VALUE
    OPTIONS,  ///< --name VALUE, any number of times
};

struct TSArgument
{
    const char* name; ///< without dashes
    EArgument kind;
    const char* help;
};

/// The arguments of one run of a verb.
class TCArguments
{
public:
    std::map<std::string, std::vector<std::string>> values;
    std::map<std::string, bool> flags;

    bool Has(const std::string& name) const;
    bool IsSet(const std::string& flag) const;
    bool IsJson() const { return IsSet("json"); }
    /// The value of an argument. \param[in] otherwise  when it was not given
    std::string Text(const std::string& name, const std::string& otherwise = {}) const;
    /// An integer within limits. \throws TCFailure
    long Number(const std::string& name, long least, long greatest) const;
    long Number(const std::string& name, long least, long greatest, long otherwise) const;
    /// A time in seconds, fractions allowed; nothing when it was not given. \throws TCFailure
    std::optional<std::chrono::milliseconds> Seconds(const std::string& name) const;
    /// How long an answer is waited for, when --timeout says so.
    std::optional<std::chrono::milliseconds> Timeout() const { return Seconds("timeout"); }
    unsigned char Slot() const { return static_cast<unsigned char>(Number("slot", 0, 255)); }
    std::vector<std::string> Many(const std::string& name) const;
};

/// A verb: cictl's help, parser and completion come from its row.
struct TSVerb
{
    const char* name;
    const char* help;
    std::vector<TSArgument> arguments;
    EExit (*handler)(const TCArguments& arguments);
};

/// All verbs.
std::span<const TSVerb> Verbs();

// The handlers, one source for each group.
EExit ListVerb(const TCArguments& arguments);
EExit CallVerb(const TCArguments& arguments);
EExit RunVerb(const TCArguments& arguments);
EExit ShellVerb(const TCArguments& arguments);
EExit DoctorVerb(const TCArguments& arguments);
EExit WatchVerb(const TCArguments& arguments);
EExit WaitVerb(const TCArguments& arguments);
EExit TraceVerb(const TCArguments& arguments);
EExit MarkVerb(const TCArguments& arguments);
EExit DecodeVerb(const TCArguments& arguments);
EExit SlotsVerb(const TCArguments& arguments);
EExit InfoVerb(const TCArguments& arguments);
EExit CaSystemsVerb(const TCArguments& arguments);
EExit ProfilesVerb(const TCArguments& arguments);
EExit RecordingVerb(const TCArguments& arguments);
EExit PlayerVerb(const TCArguments& arguments);
EExit DebugVerb(const TCArguments& arguments);
EExit MenuVerb(const TCArguments& arguments);
EExit PinVerb(const TCArguments& arguments);
} // namespace CIM::cictl
