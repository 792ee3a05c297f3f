#pragma once

#include "json/Forms.h"

#include "protocol/RowCode.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The operations of all interfaces without their types: what the tables say, and calls as JSON. Compiled once; nothing
// here knows the bus.

namespace CIM::json
{
/// What the values of one type have in common.
struct TSValueForm
{
    const TSType& (*type)();
    TJson (*toJson)(const void* value);
    void (*fromJson)(const TJson& json, void* value, const TCJsonPath& path);
    /// Reads a value and gives it as toJson does.
    TJson (*asWritten)(const TJson& json, const TCJsonPath& path);
    void (*wipe)(void* value); ///< overwrites what a value held; null for types that hold no secrets
};

struct TSParameter
{
    const char* name;
    protocol::EWord word;
    const TSType* type;
    unsigned position;  ///< of its node in the argument tree; of the first one of two
    unsigned nodeCount; ///< 0 when it is not sent
    const TSValueForm* form;

    bool IsSecret() const { return word == protocol::EWord::SECRET_IN; }
    // Like those of the form; but what is wrong with a secret is told without showing it. \throws TCJsonError
    void FromJson(const TJson& json, void* value, const TCJsonPath& path) const;
    TJson AsWritten(const TJson& json, const TCJsonPath& path) const;
};

/// A payload as JSON, and what is wrong with it.
struct TSDecoded
{
    TJson json;
    std::string error; ///< empty when nothing is wrong; otherwise json holds what could be read
};

/// One operation of an interface. Thread-safe.
class TCOperationForm
{
public:
    /// Refers to all that it is given.
    TCOperationForm(const char* interfaceName, const protocol::SRowCode& code, const TSValueForm& result,
                    std::span<const TSValueForm* const> parameters);

    const std::string& InterfaceName() const { return m_interfaceName; }
    const char* Name() const { return m_name; }
    /// Names the operation within its interface: its name, followed by '#' and a word where several operations have
    /// that name: the last input that the others do not have, such as "StartSampleDecryption#records", or else what
    /// its output is, "GetInstalledOperatorProfiles#map" and "#list".
    const std::string& Key() const { return m_key; }
    /// Interface and key, "ICIGeneral.EnterMenu".
    std::string FullName() const { return m_interfaceName + "." + m_key; }
    short Id() const { return m_code->id; }
    /// Answered by the library itself, never sent.
    bool IsLocal() const { return m_code->isLocal; }
    const TSType& ResultType() const { return m_result->type(); }
    std::span<const TSParameter> Parameters() const { return m_parameters; }
    const TSParameter* FindParameter(std::string_view name) const;
    /// The names of its inputs.
    std::vector<std::string_view> Inputs() const;
    /// Whether one of its inputs is a secret.
    bool HasSecrets() const;
    /// Puts "***" in the place of the secrets among arguments by name. For whatever shows calls to people.
    void HideSecrets(TJson& arguments) const;

    /// Whether a result of its refuses what was asked for: also an invalid player handle.
    bool IsRefusal(const TJson& result) const;

    /// Everything that the table says.
    TJson Describe() const;

    /// A request's payload as {"<input>": value, ...}. The bytes may be anybody's.
    TSDecoded RequestToJson(std::string_view payload) const;
    /// A reply's payload as {"result": value, "outputs": {"<output>": value, ...}}. What the reply lacks is left out.
    TSDecoded ReplyToJson(std::string_view payload) const;
    /// The payload of a request. Every input must be given. \throws TCJsonError
    std::string RequestFromJson(const TJson& arguments) const;
    /// The payload of a reply, from what ReplyToJson gives. What is not given is 0 or empty, the result success.
    /// \throws TCJsonError
    std::string ReplyFromJson(const TJson& reply) const;

    /// Calls the operation.
    /// \param[in] object     points to the interface of the operation, such as the facade's instance
    /// \param[in] arguments  {"<input>": value, ...}; each must be given but "oneWay" and what is not sent
    /// \return {"result": value, "outputs": {...}}
    /// \throws TCJsonError before the call, when the arguments are wrong
    TJson Invoke(void* object, const TJson& arguments) const;
    /// Like Invoke, but does not call: finds what is wrong with arguments. \throws TCJsonError
    void Check(const TJson& arguments) const;

private:
    friend class TCInterfaceForm;
    class TCValues;

    void m_Take(const TJson& arguments, TCValues& values) const;
    std::string m_ShapeWord() const;
    std::string m_DistinctWord(const TCOperationForm& other) const;

    std::string m_interfaceName;
    std::string m_key;
    const char* m_name;
    const protocol::SRowCode* m_code;
    const TSValueForm* m_result;
    std::vector<TSParameter> m_parameters;
};

/// One interface with its operations in slot order. Thread-safe.
class TCInterfaceForm
{
public:
    TCInterfaceForm(std::string name, std::string connectionName, std::vector<TCOperationForm> operations);
    TCInterfaceForm(const TCInterfaceForm&) = delete;
    TCInterfaceForm& operator=(const TCInterfaceForm&) = delete;

    const std::string& Name() const { return m_name; }
    /// Bus name and D-Bus interface.
    const std::string& ConnectionName() const { return m_connectionName; }
    std::span<const TCOperationForm> Operations() const { return m_operations; }
    const TCOperationForm* Find(short methodId) const;
    const TCOperationForm* Find(std::string_view key) const;
    /// All operations of a name, usually one.
    std::vector<const TCOperationForm*> FindAll(std::string_view name) const;

private:
    std::string m_name;
    std::string m_connectionName;
    std::vector<TCOperationForm> m_operations;
};

/// All interfaces, in the order of protocol::TInterfaces. Thread-safe.
std::span<const TCInterfaceForm> Interfaces();
/// An interface by its name ("ICIGeneral", also without its prefix and in any case: "general") or by its bus name.
/// \return null when there is none
const TCInterfaceForm* FindInterface(std::string_view name);
/// The one operation of a full name, "ICIGeneral.EnterMenu"; with its key.
/// \return null when there is none
const TCOperationForm* FindOperation(std::string_view fullName);
/// What to add to an error about a text that names no operation: "; did you mean ICIGeneral.EnterMenu?", or nothing.
/// \param[in] isSent  one that is never sent is not meant
std::string DidYouMeanOperation(std::string_view wrong, bool isSent);
/// Whether a result refuses what was asked for: false, 0 and -1, whatever the operation is but for those that give handles.
bool IsRefusal(const TJson& result);
/// The method identifier that a payload is tagged with. \return nothing when it is not an argument tree
std::optional<short> MethodOf(std::string_view payload);

/// Whether the payload of a request may hold a secret outside the arguments that are known as such, so that neither its
/// bytes nor what they could mean may be shown: it is that of an operation with secrets but not called as one, or
/// nobody knows which of the interface's operations it is, or which interface's.
/// \param[in] interface, operation  what was called; null when unknown
bool MayHideSecrets(const TCInterfaceForm* interface, const TCOperationForm* operation, std::string_view payload);
} // namespace CIM::json
