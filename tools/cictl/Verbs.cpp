#include "cictl/Verb.h"

#include "commandline/Duration.h"

#include <charconv>
#include <cmath>

namespace CIM::cictl
{
namespace
{
constexpr TSArgument JSON = {"json", EArgument::FLAG, "print JSON, one object a line; also what went wrong"};
constexpr TSArgument TIMEOUT = {"timeout", EArgument::OPTION,
                                "seconds to wait for an answer of the daemon or the CAM, such as 0.5"};
constexpr TSArgument SLOT = {"slot", EArgument::NEEDED, "slot number, from 0"};
} // namespace

std::span<const TSVerb> Verbs()
{
    static const std::vector<TSVerb> verbs = {
        {"slots", "the slots and their CAMs", {TIMEOUT, JSON}, SlotsVerb},
        {"info",
         "everything about a slot, or about all",
         {{"slot", EArgument::OPTIONAL, "slot number, from 0"}, TIMEOUT, JSON},
         InfoVerb},
        {"menu", "walk through a CAM's menu", {SLOT, TIMEOUT}, MenuVerb},
        {"pin",
         "have a CAM verify a PIN, or set a new one; the PIN is read from the terminal or standard input",
         {SLOT,
          {"action", EArgument::NEEDED, "verify or set"},
          {"source", EArgument::OPTIONAL, "@FILE: the PIN is the file's first line; -, or nothing: it is asked for"},
          TIMEOUT,
          JSON},
         PinVerb},
        {"ca-systems", "the CA systems that the CAMs descramble", {TIMEOUT, JSON}, CaSystemsVerb},
        {"profiles", "the operator profiles, offered and installed", {TIMEOUT, JSON}, ProfilesVerb},
        {"player",
         "have a CAM play: verify LOCATION, play LOCATION, speed HANDLE HUNDREDTHS, "
         "seek HANDLE POSITION [absolute|relative], monitor HANDLE VALUE, stop",
         {{"action", EArgument::NEEDED, "what to do"}, {"value", EArgument::MANY, "its values"}, TIMEOUT, JSON},
         PlayerVerb},
        {"recording",
         "what copy control says about a recording",
         {{"file", EArgument::NEEDED, "path of the recording"}, TIMEOUT, JSON},
         RecordingVerb},
        {"debug",
         "a service command of the daemon, such as print-status; without one, the list of them",
         {{"command", EArgument::OPTIONAL, "an operation of ICIDebug, such as get-slots-count"},
          {"value", EArgument::MANY, "its inputs, in order"},
          {"yes", EArgument::FLAG, "go on with a command that deletes data for good"},
          TIMEOUT,
          JSON},
         DebugVerb},
        {"watch",
         "print the daemon's signals as they come, in words",
         {{"type", EArgument::MANY, "signal types, by name (SIGNAL_CI_ may be left out) or number; all when none"},
          {"profile", EArgument::OPTION,
           "only those raised for a TV pipeline of this profile, by name or number; 0 when only --handle is given"},
          {"handle", EArgument::OPTIONS,
           "only those raised for this handle number, or slot; may be repeated; 0 when only --profile is given. "
           "Without both: those of all pipelines and slots"},
          {"raw", EArgument::FLAG, "also the eight bytes of data"},
          {"count", EArgument::OPTION, "end after that many signals"},
          {"timeout", EArgument::OPTION, "end after that many seconds; with --count, the exit status is then 6"},
          JSON},
         WatchVerb},
        {"wait",
         "wait until a condition holds",
         {{"condition", EArgument::MANY,
           "What is waited for, joined by and, or and parentheses. daemon: all its bus names are there. ready, init, "
           "empty: a CAM is ready, one has told its name and is not ready yet, a slot has neither. menu, list, text, "
           "enquiry: such a page of a CAM is open; dialogue: any of them. Each may name a slot: slot1.menu. "
           "signal=TYPE[,FIELD=VALUE...]: a signal has come; the fields are profile and handle, for which it is "
           "raised, and slot, code, id and value, which it carries"},
          {"timeout", EArgument::OPTION, "give up after that many seconds, with the exit status 6"},
          JSON},
         WaitVerb},
        {"run",
         "run verbs from a file, a line each; the first that fails ends it, with its exit status. Words are quoted as "
         "in "
         "a shell, # begins a comment. expect TEXT: the output of the verb before contains it. expect --json "
         "MEMBER=VALUE...: a line of it has these members. expect-status N: what the verb behind ends with",
         {{"file", EArgument::NEEDED, "the file; - for standard input"}},
         RunVerb},
        {"shell",
         "read verbs from the terminal: with a history, completion, and the daemon's signals as they come; not from a "
         "terminal, the same as run -",
         {},
         ShellVerb},
        {"doctor",
         "look at everything that CI needs on this set; say what is wrong and how to cure it, and end with the exit "
         "status of what is wrong first",
         {JSON},
         DoctorVerb},
        {"trace",
         "print every call, reply and signal on the bus, by name, and record them; needs the bus's permission to "
         "monitor. With a file: read a recording",
         {{"file", EArgument::OPTIONAL,
           "a recording: of --record, busctl capture or dbus-monitor --pcap; - reads standard input"},
          {"record", EArgument::OPTION,
           "also write the messages to this file, which Wireshark opens, too (pcapng); all of the CI daemon's, "
           "whatever is shown. PINs and typed answers are overwritten"},
          {"ring", EArgument::OPTION,
           "record the latest messages only, so many bytes such as 64M, in the file and in FILE.previous"},
          {"with-secrets", EArgument::FLAG, "record PINs and typed answers, too"},
          {"quiet", EArgument::FLAG, "record, and show nothing"},
          {"operation", EArgument::OPTIONS, "only calls of it and their replies; may be repeated, as the next one"},
          {"signal", EArgument::OPTIONS, "only signals of this type"},
          {"program", EArgument::OPTIONS,
           "only calls of the application that states this program, or has this unique bus name, their replies, and "
           "the "
           "signals that it may hear"},
          {"slot", EArgument::OPTION, "only what is about this slot"},
          {"errors", EArgument::FLAG, "only what went wrong: errors, refusals, what cannot be read"},
          {"slower-than", EArgument::OPTION, "only replies that took longer, such as 50ms"},
          {"from", EArgument::OPTION, "only from this time on, such as 2026-01-31T20:15:04"},
          {"to", EArgument::OPTION, "only until this time"},
          {"summary", EArgument::FLAG, "at the end a table, an operation a line, instead of the messages"},
          {"chart", EArgument::FLAG,
           "at the end a sequence diagram in Mermaid's language, for a bug report, instead of the messages"},
          {"count", EArgument::OPTION, "end after that many messages"},
          {"timeout", EArgument::OPTION, "end after that many seconds; with --count, the exit status is then 6"},
          {"show-secrets", EArgument::FLAG, "print PINs and typed answers, too"},
          {"raw", EArgument::FLAG, "also the eight bytes of signals"},
          JSON},
         TraceVerb},
        {"mark",
         "put a mark among the traffic, for whoever traces or records it",
         {{"text", EArgument::MANY, "what it says"}},
         MarkVerb},
        {"decode",
         "print the payload of a request or reply by name, secrets left out",
         {{"interface", EArgument::NEEDED, "such as ICIGeneral"},
          {"payload", EArgument::NEEDED, "hexadecimal digits; - reads them from standard input"},
          {"reply", EArgument::FLAG, "it is a reply's payload"},
          {"show-secrets", EArgument::FLAG, "print PINs and typed answers, too"},
          JSON},
         DecodeVerb},
        {"list",
         "the interfaces and their operations, with parameters and enumerations",
         {{"interface", EArgument::OPTIONAL, "such as ICIGeneral, or ICIGeneral.EnterMenu"},
          {"names", EArgument::FLAG, "only the operations' names"},
          {"statuses", EArgument::FLAG, "what cictl exits with, and what that means"},
          {"signals", EArgument::FLAG, "the types of the daemon's signals"},
          JSON},
         ListVerb},
        {"call",
         "call any operation. Values: numbers, names of enumerators, true, texts as they are, bytes as "
         "hexadecimal digits, a pipeline as PROFILE:HANDLE, JSON for everything else. Where several operations "
         "have one name, the arguments tell which is meant, or its whole name does (see list)",
         {{"operation", EArgument::NEEDED, "INTERFACE.OPERATION, such as ICIGeneral.GetMmiText"},
          {"argument", EArgument::MANY,
           "NAME=VALUE for each input. Secrets (see list), such as a PIN or an answer to a CAM, do not belong on a "
           "command line: every user of the machine can read it, and the shell's history keeps it. NAME=- asks for "
           "the characters without showing them, or reads a line of standard input; NAME=@FILE takes the first line "
           "of a file; there, bytes that are no characters begin with 0x. A secret that is given all the same is taken "
           "off the command line at once, but not out of the history. @@TEXT is a secret that begins with '@', -- is "
           "\"-\""},
          {"one-way", EArgument::FLAG, "do not wait for the daemon, where the operation allows that"},
          TIMEOUT,
          JSON},
         CallVerb},
    };
    return verbs;
}

bool TCArguments::Has(const std::string& name) const
{
    const auto found = values.find(name);
    return found != values.end() && !found->second.empty();
}

bool TCArguments::IsSet(const std::string& flag) const
{
    const auto found = flags.find(flag);
    return found != flags.end() && found->second;
}

std::string TCArguments::Text(const std::string& name, const std::string& otherwise) const
{
    return Has(name) ? values.at(name).front() : otherwise;
}

long TCArguments::Number(const std::string& name, long least, long greatest) const
{
    const std::string text = Text(name);
    long value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < least || value > greatest)
    {
        throw TCFailure(EXIT_USAGE, name + ": a number from " + std::to_string(least) + " to " +
                                        std::to_string(greatest) + " is needed, not \"" + text + "\"");
    }
    return value;
}

std::optional<std::chrono::milliseconds> TCArguments::Seconds(const std::string& name) const
{
    if (!Has(name))
    {
        return std::nullopt;
    }
    const std::string text = Text(name);
    const auto patience = PatienceFrom(text);
    if (!patience)
    {
        throw TCFailure(EXIT_USAGE, name + ": " + PATIENCE_WORDS + " are needed, not \"" + text + "\"");
    }
    return patience;
}

long TCArguments::Number(const std::string& name, long least, long greatest, long otherwise) const
{
    return Has(name) ? Number(name, least, greatest) : otherwise;
}

std::vector<std::string> TCArguments::Many(const std::string& name) const
{
    const auto found = values.find(name);
    return found == values.end() ? std::vector<std::string>() : found->second;
}
} // namespace CIM::cictl
