#include "Fault.h"

#include "commandline/Nearest.h"
#include "json/OperationForm.h"
#include "json/ValueForms.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include <dbus/dbus.h>

namespace CIM::sim
{
namespace
{
using json::TCJsonPath;
using json::TJson;

/// A member of a fault's JSON form.
struct TSMember
{
    const char* name;
    void (*read)(const TJson&, TSFault&, const TCJsonPath&);
    void (*write)(const TSFault&, TJson&);
};

/// Where a value's type has a form, that is the member's.
template <class Field>
constexpr TSMember Member(const char* name, Field)
{
    return {name,
            [](const TJson& value, TSFault& fault, const TCJsonPath& path)
            { json::FromJson(value, Field()(fault), path); },
            [](const TSFault& fault, TJson& value) { value = json::ToJson(Field()(fault)); }};
}

constexpr TSMember MEMBERS[] = {
    Member(
        "operation", [](auto& fault) -> auto& { return fault.operation; }),
    Member(
        "slot", [](auto& fault) -> auto& { return fault.slot; }),
    Member(
        "nth", [](auto& fault) -> auto& { return fault.nth; }),
    Member(
        "times", [](auto& fault) -> auto& { return fault.times; }),
    {"probability",
     [](const TJson& value, TSFault& fault, const TCJsonPath& path)
     {
         if (!value.is_number() || value.get<double>() <= 0 || value.get<double>() > 1)
         {
             throw json::TCJsonError(path, "a number above 0, up to 1, is expected");
         }
         fault.probability = value.get<double>();
     },
     [](const TSFault& fault, TJson& value) { value = fault.probability; }},
    Member(
        "ms", [](auto& fault) -> auto& { return fault.ms; }),
    Member(
        "name", [](auto& fault) -> auto& { return fault.name; }),
    Member(
        "text", [](auto& fault) -> auto& { return fault.text; }),
    Member(
        "shape", [](auto& fault) -> auto& { return fault.shape; }),
    Member(
        "status", [](auto& fault) -> auto& { return fault.status; }),
    Member(
        "length", [](auto& fault) -> auto& { return fault.length; }),
    Member(
        "bytes", [](auto& fault) -> auto& { return fault.bytes; }),
    Member(
        "version", [](auto& fault) -> auto& { return fault.version; }),
    Member(
        "stepMs", [](auto& fault) -> auto& { return fault.stepMs; }),
    Member(
        "count", [](auto& fault) -> auto& { return fault.count; }),
    Member(
        "rate", [](auto& fault) -> auto& { return fault.rate; }),
    Member(
        "signal", [](auto& fault) -> auto& { return fault.signal.type; }),
    Member(
        "profile", [](auto& fault) -> auto& { return fault.signal.profile; }),
    Member(
        "handle", [](auto& fault) -> auto& { return fault.signal.handle; }),
    Member(
        "data", [](auto& fault) -> auto& { return fault.signal.data; }),
    Member(
        "toSubscribers", [](auto& fault) -> auto& { return fault.isToSubscribers; }),
};

/// The signals of a fault that sends them in one go: the daemon answers nobody meanwhile.
constexpr unsigned MOST_AT_ONCE = 10'000;

constexpr std::string_view WHEN = " operation slot nth times probability ";

struct TSKind
{
    EFaultKind kind;
    std::string_view name;
    std::string_view members; ///< besides when it happens
    std::string_view shapes;  ///< of its shape, the first one being the usual one
    std::string_view help;
};

constexpr TSKind KINDS[] = {
    {FAULT_LATE, "late", " ms ", "", "the right reply, ms milliseconds late"},
    {FAULT_NEVER, "never", "", "", "no reply"},
    {FAULT_ERROR, "error", " name text ms ", "", "an error reply with a name and a text"},
    {FAULT_STATUS, "status", " status ms ", "", "a reply with this status; 0: not handled"},
    {FAULT_HELLO, "hello", " ms ", "", "a reply that asks for the hello again"},
    {FAULT_WRONG_TYPES, "wrong-types", " ms ", "", "a reply of other types"},
    {FAULT_NO_ARGUMENTS, "no-arguments", " ms ", "", "an empty reply"},
    {FAULT_SHORT, "short", " ms ", "", "a reply with the status alone"},
    {FAULT_LONG, "long", " ms ", "", "a reply with more arguments than there are"},
    {FAULT_LENGTH, "length", " length ms ", "", "a reply that states this length"},
    {FAULT_CUT, "cut", " bytes ms ", "", "a payload cut to its first bytes"},
    {FAULT_VERSION, "version", " version ms ", "", "a payload of this version"},
    {FAULT_HOSTILE, "hostile", " shape ms ", " deep huge wide overlap ", "a payload made to break readers"},
    {FAULT_CRASH, "crash", " shape ", " exit abort ", "the daemon ends in the middle of a call"},
    {FAULT_RESTART, "restart", " ms stepMs ", "", "the daemon leaves the bus and is back ms milliseconds later"},
    {FAULT_LOSE_NAME, "lose-name", " name ms ", "", "a bus name is lost, and retaken ms milliseconds later (0: never)"},
    {FAULT_STORM, "storm", " count rate signal profile handle data toSubscribers ", "",
     "many signals, numbered in their value"},
    {FAULT_MALFORMED_SIGNAL, "malformed-signal", " shape count signal profile handle data toSubscribers ",
     " empty identifier-type no-handle no-length length-type no-payload payload-type payload-elements length-lies "
     "length-negative short long identifier-text unknown-member ",
     "a signal that breaks the layout"},
    {FAULT_STRANGER, "stranger", " count signal profile handle data ", "",
     "a signal from a connection that is not the daemon's"},
};

bool Contains(std::string_view words, std::string_view word)
{
    return words.find(' ' + std::string(word) + ' ') != std::string_view::npos;
}

TNames Words(std::string_view list)
{
    TNames words;
    for (std::size_t begin = list.find_first_not_of(' '); begin != std::string_view::npos;
         begin = list.find_first_not_of(' ', begin))
    {
        const std::size_t end = std::min(list.find(' ', begin), list.size());
        words.emplace_back(list.substr(begin, end - begin));
        begin = end;
    }
    return words;
}

const TSKind& KindOf(const TJson& fault, const TCJsonPath& path)
{
    if (!fault.is_object() || !fault.contains("kind"))
    {
        throw json::TCJsonError(path, "a fault is an object with a member \"kind\"");
    }
    const TCJsonPath kindPath(path, "kind");
    const std::string name = json::TextFromJson(fault["kind"], kindPath);
    for (const TSKind& kind : KINDS)
    {
        if (kind.name == name)
        {
            return kind;
        }
    }
    throw json::TCJsonError(kindPath, '"' + name + "\" is no kind of fault; " +
                                          ThereAre(NamesOf(KINDS, [](const TSKind& kind) { return kind.name; }), name));
}

const TSKind& KindOf(const TSFault& fault)
{
    return *std::find_if(std::begin(KINDS), std::end(KINDS),
                         [&](const TSKind& kind) { return kind.kind == fault.kind; });
}

/// Whether any operation that is sent is meant and meets a condition.
template <class Condition>
bool CanBeMet(const TSFault& fault, Condition condition)
{
    const auto interfaces = json::Interfaces();
    return std::any_of(interfaces.begin(), interfaces.end(),
                       [&](const json::TCInterfaceForm& interface)
                       {
                           const auto operations = interface.Operations();
                           return std::any_of(operations.begin(), operations.end(),
                                              [&](const json::TCOperationForm& operation) {
                                                  return !operation.IsLocal() &&
                                                         fault.IsAbout(interface.Name(), operation.Key()) &&
                                                         condition(operation);
                                              });
                       });
}

void Complete(TSFault& fault, const TSKind& kind, const TCJsonPath& path)
{
    if (fault.IsReplyFault() && fault.operation.empty())
    {
        throw json::TCJsonError(TCJsonPath(path, "operation"),
                                "a fault of a reply needs an operation, such as ICIGeneral.EnterMenu or *");
    }
    const bool isConditional = fault.slot || fault.nth != 0 || fault.times != 0 || fault.probability < 1;
    if (fault.operation.empty() && isConditional)
    {
        throw json::TCJsonError(TCJsonPath(path, "operation"),
                                "slot, nth, times and probability choose among calls: an operation is needed, such as "
                                "ICIGeneral.EnterMenu or *");
    }
    if (!fault.operation.empty() && !CanBeMet(fault, [](const json::TCOperationForm&) { return true; }))
    {
        throw json::TCJsonError(
            TCJsonPath(path, "operation"),
            '"' + fault.operation +
                "\" is no operation that is sent; ICIGeneral.EnterMenu, EnterMenu, ICIGeneral.* and "
                "* are ways to name them" +
                json::DidYouMeanOperation(fault.operation, /*isSent=*/true));
    }
    const auto hasSlot = [](const json::TCOperationForm& operation)
    {
        const json::TSParameter* const slot = operation.FindParameter("slot");
        return slot != nullptr && protocol::IsInput(slot->word);
    };
    if (fault.slot && !CanBeMet(fault, hasSlot))
    {
        throw json::TCJsonError(TCJsonPath(path, "slot"), "calls of " + fault.operation + " are about no slot");
    }
    const TCJsonPath shapePath(path, "shape");
    if (fault.shape.empty() && !kind.shapes.empty())
    {
        fault.shape = Words(kind.shapes).front();
    }
    if (!kind.shapes.empty() && !Contains(kind.shapes, fault.shape))
    {
        throw json::TCJsonError(shapePath, '"' + fault.shape + "\" is no shape of this fault; " +
                                               ThereAre(Words(kind.shapes), fault.shape));
    }
    const TCJsonPath namePath(path, "name");
    if (fault.kind == FAULT_ERROR)
    {
        fault.name = fault.name.empty() ? "com.kelvora.ciapi.Error.Failed" : fault.name;
        if (!dbus_validate_error_name(fault.name.c_str(), nullptr))
        {
            throw json::TCJsonError(namePath, '"' + fault.name + "\" is no name of a D-Bus error");
        }
    }
    if ((fault.kind == FAULT_MALFORMED_SIGNAL || fault.kind == FAULT_STRANGER) && fault.count > MOST_AT_ONCE)
    {
        throw json::TCJsonError(TCJsonPath(path, "count"),
                                "at most " + std::to_string(MOST_AT_ONCE) + " are sent at once; more is a storm");
    }
    if (fault.kind == FAULT_LOSE_NAME && fault.name.empty())
    {
        throw json::TCJsonError(namePath, "which bus name is lost?");
    }
    const auto interfaces = json::Interfaces();
    const TNames names = NamesOf(
        interfaces, [](const json::TCInterfaceForm& known) -> const std::string& { return known.ConnectionName(); });
    if (fault.kind == FAULT_LOSE_NAME && std::find(names.begin(), names.end(), fault.name) == names.end())
    {
        throw json::TCJsonError(namePath,
                                '"' + fault.name + "\" is no bus name of the daemon; " + ThereAre(names, fault.name));
    }
}
} // namespace

void ReadJson(const TJson& json, TSFault& read, const TCJsonPath& path)
{
    const TSKind& kind = KindOf(json, path);
    TSFault fault;
    fault.kind = kind.kind;
    for (const auto& item : json.items())
    {
        const std::string& name = item.key();
        if (name == "kind")
        {
            continue;
        }
        const TCJsonPath memberPath(path, name);
        const auto member = std::find_if(std::begin(MEMBERS), std::end(MEMBERS),
                                         [&](const TSMember& candidate) { return candidate.name == name; });
        if (member == std::end(MEMBERS) || !(Contains(WHEN, name) || Contains(kind.members, name)))
        {
            const std::string members = std::string(WHEN) + std::string(kind.members);
            throw json::TCJsonError(memberPath, "a fault of the kind \"" + std::string(kind.name) +
                                                    "\" has no such member; " + ThereAre(Words(members), name));
        }
        member->read(item.value(), fault, memberPath);
    }
    Complete(fault, kind, path);
    read = std::move(fault);
}

TJson ToJson(const TSFault& fault)
{
    const TSKind& kind = KindOf(fault);
    TJson json = json::Record({{"kind", kind.name}}).Take();
    for (const TSMember& member : MEMBERS)
    {
        if (Contains(WHEN, member.name) || Contains(kind.members, member.name))
        {
            TJson value;
            member.write(fault, value);
            if (!value.is_null())
            {
                json::Put(json, member.name, std::move(value));
            }
        }
    }
    return json;
}

json::TCDraft DescribeFaults()
{
    json::TCDraft description = json::List();
    for (const TSKind& kind : KINDS)
    {
        description.Append(json::Record({{"kind", kind.name},
                                         {"help", kind.help},
                                         {"members", Words(kind.members)},
                                         {"shapes", Words(kind.shapes)}}));
    }
    return description;
}
} // namespace CIM::sim
