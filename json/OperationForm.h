#pragma once

#include "json/Forms.h"

#include "protocol/Operation.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class TCMarshallingHelper;

// The operations of all interfaces without their types: what the tables say, and calls as JSON. Compiled once; nothing
// here knows the bus.

namespace CIM::json
{
/// A value of a call: its result or one of its parameters.
class TIValue
{
public:
    virtual ~TIValue() = default;
    /// The object itself.
    virtual void* Address() = 0;
    virtual TJson ToJson() const = 0;
    virtual void FromJson(const TJson& json, const TCJsonPath& path) = 0;
    /// Pushes it, unless it is never sent.
    virtual void Push(TCMarshallingHelper& frame) = 0;
    /// Brings what a frame has read into the value; what was put into the value into what a frame will write.
    virtual void Load() = 0;
    virtual void Store() = 0;
};

/// What the values in one place have in common.
struct TSValueForm
{
    protocol::EWord word;
    const TSType& (*type)();
    std::unique_ptr<TIValue> (*newValue)();
};

struct TSParameter
{
    const char* name;
    protocol::EWord word;
    const TSType* type;
    unsigned position;  ///< of its node in the argument tree; of the first one of two
    unsigned nodeCount; ///< 0 when it is not sent
    std::unique_ptr<TIValue> (*newValue)();
};

/// A payload as JSON, and what is wrong with it.
struct TSDecoded
{
    TJson json;
    std::string error; ///< empty when nothing is wrong; otherwise json holds what could be read
};

/// Puts "***" in the place of what nobody but the daemon may see of a call: PINs, and what a viewer types into a CAM's
/// enquiry. For whatever shows calls to people.
/// \param[in]     operation  as "ICIGeneral.VerifyCamPin"
/// \param[in,out] arguments  the call's arguments by name
void HideSecrets(const std::string& operation, TJson& arguments);

/// What a row says of its operation, without its types.
struct TSRowForm
{
    const char* interfaceName;
    const char* name;
    short id;
    bool isLocal;
    const TSValueForm& result;
    std::span<const TSValueForm> parameters;
    const char* const* parameterNames;
    /// Calls the operation of an object that implements the interface; addresses of the result and of each parameter.
    void (*call)(void* object, void* result, void* const* parameters);
};

/// One operation of an interface. Thread-safe.
class TCOperationForm
{
public:
    explicit TCOperationForm(const TSRowForm& row);

    const std::string& InterfaceName() const { return m_interfaceName; }
    const char* Name() const { return m_name; }
    /// Names the operation within its interface: its name, followed by '#' and a word where several operations have
    /// that name: the last input that the others do not have, such as "StartSampleDecryption#records", or else what
    /// its output is, "GetInstalledOperatorProfiles#map" and "#list".
    const std::string& Key() const { return m_key; }
    /// Interface and key, "ICIGeneral.EnterMenu".
    std::string FullName() const { return m_interfaceName + "." + m_key; }
    short Id() const { return m_id; }
    /// Answered by the library itself, never sent.
    bool IsLocal() const { return m_isLocal; }
    const TSType& ResultType() const { return m_result.type(); }
    std::span<const TSParameter> Parameters() const { return m_parameters; }
    const TSParameter* FindParameter(std::string_view name) const;

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
    short m_id;
    bool m_isLocal;
    TSValueForm m_result;
    std::vector<TSParameter> m_parameters;
    void (*m_call)(void* object, void* result, void* const* parameters);
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
/// The method identifier that a payload is tagged with. \return nothing when it is not an argument tree
std::optional<short> MethodOf(std::string_view payload);
} // namespace CIM::json
