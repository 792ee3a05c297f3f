#include "json/OperationForm.h"

#include "commandline/Nearest.h"
#include "json/Payload.h"

#include <ciapi/CICAMPlayerDataType.h>

#include <tvplatform/MarshallingHelper.h>
#include <tvplatform/MessageBuffer.h>
#include <tvplatform/Tree.h>

#include <functional>
#include <set>
#include <stdexcept>

namespace CIM::json
{
using protocol::EWord;
using protocol::TIPushedValue;

namespace
{
const char* WordText(EWord word)
{
    switch (word)
    {
    case EWord::OUT:
    case EWord::OUT_MEMBERS:
        return "out";
    case EWord::IN_OUT:
        return "in-out";
    case EWord::NOT_SENT:
        return "not sent";
    case EWord::ONE_WAY:
        return "one-way";
    default:
        return "in";
    }
}

bool IsGiven(EWord word) { return protocol::IsInput(word) || !protocol::IsSent(word); }

std::string Bytes(TCMarshallingHelper& frame, short id)
{
    TCTreeBranchList tree(id);
    TCMessageBuffer buffer;
    if (!frame.ClassToTree(tree) || !tree.StoreInBuffer(buffer))
    {
        throw TCJsonError(TCJsonPath(), "the values do not fit into a message");
    }
    const std::size_t size = buffer.GetUnreadSize();
    return size == 0 ? std::string() : std::string(buffer.GetAsCStr(0), size);
}

} // namespace

/// The values of one call.
class TCOperationForm::TCValues
{
public:
    explicit TCValues(const TCOperationForm& operation)
        : m_operation(operation), m_result(operation.m_code->newResult())
    {
        for (const auto newValue : operation.m_code->newValues)
        {
            m_parameters.push_back(newValue());
        }
    }
    ~TCValues()
    {
        for (std::size_t i = 0; i < m_parameters.size(); ++i)
        {
            if (const TSParameter& parameter = m_operation.m_parameters[i]; parameter.IsSecret())
            {
                parameter.form->wipe(m_parameters[i]->Address());
            }
        }
    }
    TCValues(const TCValues&) = delete;
    TCValues& operator=(const TCValues&) = delete;
    TJson Result() { return m_operation.m_result->toJson(m_result->Address()); }
    TJson Parameter(std::size_t index)
    {
        return m_operation.m_parameters[index].form->toJson(m_parameters[index]->Address());
    }
    void SetResult(const TJson& json, const TCJsonPath& path)
    {
        m_operation.m_result->fromJson(json, m_result->Address(), path);
    }
    void SetParameter(std::size_t index, const TJson& json, const TCJsonPath& path)
    {
        m_operation.m_parameters[index].FromJson(json, m_parameters[index]->Address(), path);
    }

    /// Writes what is sent or answered, the result first.
    std::string Write(TCMarshallingHelper& frame)
    {
        m_ForEach(&TIPushedValue::Store);
        m_Push(frame);
        return Bytes(frame, m_operation.Id());
    }
    /// \return false when the tree does not fit
    bool Read(TCMarshallingHelper& frame, TCTreeBranchList& tree)
    {
        m_Push(frame);
        const bool fits = frame.TreeToClass(tree);
        m_ForEach(&TIPushedValue::Load);
        return fits;
    }
    void Call(void* object)
    {
        std::vector<void*> addresses;
        for (const auto& parameter : m_parameters)
        {
            addresses.push_back(parameter->Address());
        }
        m_operation.m_code->call(object, m_result->Address(), addresses.data());
    }

private:
    void m_Push(TCMarshallingHelper& frame)
    {
        m_ForEach([&](TIPushedValue& value) { value.Push(frame); });
    }
    template <class Action>
    void m_ForEach(Action action)
    {
        std::invoke(action, *m_result);
        for (const auto& parameter : m_parameters)
        {
            std::invoke(action, *parameter);
        }
    }

    const TCOperationForm& m_operation;
    std::unique_ptr<TIPushedValue> m_result;
    std::vector<std::unique_ptr<TIPushedValue>> m_parameters;
};

TCOperationForm::TCOperationForm(const char* interfaceName, const protocol::SRowCode& code, const TSValueForm& result,
                                 std::span<const TSValueForm* const> parameters)
    : m_interfaceName(interfaceName), m_key(code.name), m_name(code.name), m_code(&code), m_result(&result)
{
    unsigned position = 1; // behind the result
    for (std::size_t i = 0; i < parameters.size(); ++i)
    {
        const EWord word = code.words[i];
        const bool isPair = word == EWord::IN_MEMBERS || word == EWord::OUT_MEMBERS;
        const unsigned nodes = !protocol::IsSent(word) ? 0 : isPair ? 2 : 1;
        m_parameters.push_back({code.parameterNames[i], word, &parameters[i]->type(), position, nodes, parameters[i]});
        if (m_parameters.back().IsSecret() && parameters[i]->wipe == nullptr)
        {
            throw std::logic_error(FullName() + ": nobody can wipe a secret of this type");
        }
        position += nodes;
    }
}

const TSParameter* TCOperationForm::FindParameter(std::string_view name) const
{
    for (const TSParameter& parameter : m_parameters)
    {
        if (name == parameter.name)
        {
            return &parameter;
        }
    }
    return nullptr;
}

bool TCOperationForm::IsRefusal(const TJson& result) const
{
    const bool isPlayerHandle = ResultType().text == "uint16";
    return isPlayerHandle ? result == TSCICAMPlayerHandle().identifier : json::IsRefusal(result);
}

bool IsRefusal(const TJson& result)
{
    return result == false || (result.is_number_integer() && result.get<std::int64_t>() <= 0);
}

TJson TCOperationForm::Describe() const
{
    TJson parameters = TJson::array();
    for (const TSParameter& parameter : m_parameters)
    {
        const TSType& type = *parameter.type;
        TJson described = {{"name", parameter.name}, {"direction", WordText(parameter.word)}, {"type", type.text}};
        if (parameter.IsSecret())
        {
            described["secret"] = true;
        }
        for (const TSEnumeration* enumeration : type.enumerations)
        {
            TJson& names = described["enumerations"][std::string(enumeration->type)];
            for (const auto& [value, name] : enumeration->enumerators)
            {
                names[std::string(name)] = value;
            }
        }
        parameters.push_back(std::move(described));
    }
    TJson described = {{"interface", m_interfaceName}, {"operation", FullName()}, {"id", Id()}};
    if (IsLocal())
    {
        described["local"] = true;
    }
    described["parameters"] = std::move(parameters);
    described["result"] = ResultType().text;
    return described;
}

TSDecoded TCOperationForm::RequestToJson(std::string_view payload) const
{
    TCPayload request(payload, *this);
    TCValues values(*this);
    TCMarshallingHelperStub frame;
    const bool fits = values.Read(frame, request.Tree());
    TJson arguments = TJson::object();
    std::set<unsigned> known;
    bool isComplete = true;
    for (std::size_t i = 0; i < m_parameters.size(); ++i)
    {
        const TSParameter& parameter = m_parameters[i];
        if (!protocol::IsInput(parameter.word))
        {
            continue;
        }
        known.insert(parameter.position);
        known.insert(parameter.position + parameter.nodeCount - 1);
        if (request.Has(parameter))
        {
            arguments[parameter.name] = values.Parameter(i);
        }
        else if (request.Tree().IsValid())
        {
            isComplete = false;
            request.Complain(std::string(parameter.name) + " is missing");
        }
    }
    request.ComplainAboutStrangers(known);
    if (!fits && isComplete && request.Tree().IsValid())
    {
        request.Complain("an argument is of another kind");
    }
    return {std::move(arguments), request.Error()};
}

TSDecoded TCOperationForm::ReplyToJson(std::string_view payload) const
{
    TJson decoded = TJson::object();
    if (payload.empty())
    {
        return {std::move(decoded), {}}; // handled, and nothing written
    }
    TCPayload reply(payload, *this);
    TCValues values(*this);
    TCMarshallingHelperProxy frame;
    const bool fits = values.Read(frame, reply.Tree());
    std::set<unsigned> known{0};
    if (reply.Tree().FindNode(0))
    {
        decoded["result"] = values.Result();
    }
    TJson outputs = TJson::object();
    for (std::size_t i = 0; i < m_parameters.size(); ++i)
    {
        const TSParameter& parameter = m_parameters[i];
        if (!protocol::IsOutput(parameter.word))
        {
            continue;
        }
        known.insert(parameter.position);
        known.insert(parameter.position + parameter.nodeCount - 1);
        if (reply.Has(parameter))
        {
            outputs[parameter.name] = values.Parameter(i);
        }
    }
    decoded["outputs"] = std::move(outputs);
    reply.ComplainAboutStrangers(known);
    if (!fits && reply.Tree().IsValid())
    {
        reply.Complain("an argument is of another kind");
    }
    return {std::move(decoded), reply.Error()};
}

void TCOperationForm::m_Take(const TJson& arguments, TCValues& values) const
{
    if (!arguments.is_object())
    {
        throw TCJsonError(TCJsonPath("arguments"), std::string("an object is needed, not ") + KindOf(arguments));
    }
    for (const auto& argument : arguments.items())
    {
        const TSParameter* const parameter = FindParameter(argument.key());
        if (!parameter)
        {
            throw TCJsonError(TCJsonPath(argument.key()),
                              FullName() + " has no such argument" + DidYouMean(argument.key(), Inputs()));
        }
        if (!IsGiven(parameter->word))
        {
            throw TCJsonError(TCJsonPath(argument.key()), "this is an output of " + FullName());
        }
    }
    for (std::size_t i = 0; i < m_parameters.size(); ++i)
    {
        const TSParameter& parameter = m_parameters[i];
        if (const auto given = arguments.find(parameter.name); given != arguments.end())
        {
            values.SetParameter(i, *given, TCJsonPath(parameter.name));
        }
        else if (protocol::IsInput(parameter.word))
        {
            throw TCJsonError(TCJsonPath(parameter.name),
                              "this argument of " + FullName() + " is missing (" + parameter.type->text + ")");
        }
    }
}

void TCOperationForm::Check(const TJson& arguments) const
{
    TCValues values(*this);
    m_Take(arguments, values);
}

std::string TCOperationForm::RequestFromJson(const TJson& arguments) const
{
    TCValues values(*this);
    m_Take(arguments, values);
    TCMarshallingHelperProxy frame;
    return values.Write(frame);
}

std::string TCOperationForm::ReplyFromJson(const TJson& reply) const
{
    TCValues values(*this);
    const auto result = reply.find("result");
    if (result != reply.end())
    {
        values.SetResult(*result, TCJsonPath("result"));
    }
    else if (ResultType().kind == EKind::BOOL)
    {
        values.SetResult(true, TCJsonPath("result"));
    }
    else if (ResultType().text == "int32")
    {
        values.SetResult(1, TCJsonPath("result"));
    }
    if (const auto outputs = reply.find("outputs"); outputs != reply.end())
    {
        const TCJsonPath path("outputs");
        if (!outputs->is_object())
        {
            throw TCJsonError(path, std::string("an object is needed, not ") + KindOf(*outputs));
        }
        for (const auto& output : outputs->items())
        {
            const TCJsonPath place(path, output.key());
            const TSParameter* const parameter = FindParameter(output.key());
            if (!parameter || !protocol::IsOutput(parameter->word))
            {
                TNames outputs;
                for (const TSParameter& known : m_parameters)
                {
                    if (protocol::IsOutput(known.word))
                    {
                        outputs.emplace_back(known.name);
                    }
                }
                throw TCJsonError(place, FullName() + " has no such output" + DidYouMean(output.key(), outputs));
            }
            values.SetParameter(static_cast<std::size_t>(parameter - m_parameters.data()), output.value(), place);
        }
    }
    TCMarshallingHelperStub frame;
    return values.Write(frame);
}

TJson TCOperationForm::Invoke(void* object, const TJson& arguments) const
{
    TCValues values(*this);
    m_Take(arguments, values);
    values.Call(object);
    TJson outputs = TJson::object();
    for (std::size_t i = 0; i < m_parameters.size(); ++i)
    {
        if (protocol::IsOutput(m_parameters[i].word))
        {
            outputs[m_parameters[i].name] = values.Parameter(i);
        }
    }
    return {{"result", values.Result()}, {"outputs", std::move(outputs)}};
}

std::optional<short> MethodOf(std::string_view payload)
{
    TCMessageBuffer buffer;
    buffer.PushBorrowed(payload.size(), payload.data());
    const TCTreeBranchList tree(&buffer);
    return tree.IsValid() ? std::optional(static_cast<short>(tree.GetTag())) : std::nullopt;
}

} // namespace CIM::json
