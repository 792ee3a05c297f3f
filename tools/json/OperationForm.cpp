#include "json/OperationForm.h"

#include <tvplatform/MarshallingHelper.h>
#include <tvplatform/MessageBuffer.h>
#include <tvplatform/Tree.h>

#include <set>

namespace CIM::json
{
using protocol::EWord;

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

bool HasNodes(TCTreeBranchList& tree, const TSParameter& parameter)
{
    for (unsigned i = 0; i < parameter.nodeCount; ++i)
    {
        if (!tree.FindNode(parameter.position + i))
        {
            return false;
        }
    }
    return true;
}

std::string Bytes(TCMarshallingHelper& frame, short id)
{
    TCTreeBranchList tree(id);
    TCMessageBuffer buffer;
    if (!frame.ClassToTree(tree) || !tree.StoreInBuffer(buffer))
    {
        throw TJsonError(TJsonPath(), "the values do not fit into a message");
    }
    const std::size_t size = buffer.GetUnreadSize();
    return size == 0 ? std::string() : std::string(buffer.GetAsCStr(0), size);
}

/// A payload, taken apart.
class TPayload
{
public:
    TPayload(std::string_view bytes, const TOperationForm& operation) : m_tree(Fill(bytes))
    {
        const auto id = static_cast<unsigned short>(operation.Id());
        if (!m_tree.IsValid())
        {
            Complain("the payload of " + std::to_string(bytes.size()) + " bytes is not an argument tree");
        }
        else if (m_tree.GetTag() != id)
        {
            Complain("the argument tree is that of method " + std::to_string(m_tree.GetTag()));
        }
    }
    TCTreeBranchList& Tree() { return m_tree; }
    void Complain(const std::string& what) { m_error += (m_error.empty() ? "" : "; ") + what; }
    void ComplainAboutStrangers(const std::set<unsigned>& known)
    {
        for (const TCTreeNode* node = m_tree.GetFirstNode(); node; node = node->GetNextNode())
        {
            if (known.count(node->GetTag()) == 0)
            {
                Complain("no argument is expected at position " + std::to_string(node->GetTag()));
            }
        }
    }
    const std::string& Error() const { return m_error; }

private:
    const TCMessageBuffer* Fill(std::string_view bytes)
    {
        m_buffer.PushBorrowed(bytes.size(), bytes.data());
        return &m_buffer;
    }
    TCMessageBuffer m_buffer;
    TCTreeBranchList m_tree;
    std::string m_error;
};
} // namespace

TOperationForm::TOperationForm(std::string interfaceName, const char* name, short id, bool isLocal,
                               const TITypeForm& resultType)
    : m_interfaceName(std::move(interfaceName)), m_key(name), m_name(name), m_id(id), m_isLocal(isLocal),
      m_resultType(&resultType)
{
}

void TOperationForm::t_AddParameter(const char* name, EWord word, const TITypeForm& type)
{
    const bool isPair = word == EWord::IN_MEMBERS || word == EWord::OUT_MEMBERS;
    const unsigned nodes = !protocol::IsSent(word) ? 0 : isPair ? 2 : 1;
    m_parameters.push_back({name, word, &type, m_nodeCount, nodes});
    m_nodeCount += nodes;
}

const TSParameter* TOperationForm::FindParameter(std::string_view name) const
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

TJson TOperationForm::Describe() const
{
    TJson parameters = TJson::array();
    for (const TSParameter& parameter : m_parameters)
    {
        const TSType& type = parameter.type->Type();
        TJson described = {{"name", parameter.name}, {"direction", WordText(parameter.word)}, {"type", type.text}};
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
    TJson described = {{"interface", m_interfaceName}, {"operation", m_key}, {"id", m_id}};
    if (m_isLocal)
    {
        described["local"] = true;
    }
    described["parameters"] = std::move(parameters);
    described["result"] = m_resultType->Type().text;
    return described;
}

TSDecoded TOperationForm::RequestToJson(std::string_view payload) const
{
    TPayload request(payload, *this);
    const std::unique_ptr<TIValues> values = m_NewValues();
    TCMarshallingHelperStub frame;
    values->Push(frame);
    const bool fits = frame.TreeToClass(request.Tree());
    values->Load();
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
        if (HasNodes(request.Tree(), parameter))
        {
            arguments[parameter.name] = parameter.type->To(values->Parameter(i));
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

TSDecoded TOperationForm::ReplyToJson(std::string_view payload) const
{
    TJson decoded = TJson::object();
    if (payload.empty())
    {
        return {std::move(decoded), {}}; // handled, and nothing written
    }
    TPayload reply(payload, *this);
    const std::unique_ptr<TIValues> values = m_NewValues();
    TCMarshallingHelperProxy frame;
    values->Push(frame);
    const bool fits = frame.TreeToClass(reply.Tree());
    values->Load();
    std::set<unsigned> known{0};
    if (reply.Tree().FindNode(0))
    {
        decoded["result"] = m_resultType->To(values->Result());
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
        if (HasNodes(reply.Tree(), parameter))
        {
            outputs[parameter.name] = parameter.type->To(values->Parameter(i));
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

void TOperationForm::m_Take(const TJson& arguments, TIValues& values) const
{
    if (!arguments.is_object())
    {
        throw TJsonError(TJsonPath("arguments"), std::string("an object is needed, not ") + KindOf(arguments));
    }
    for (const auto& argument : arguments.items())
    {
        const TSParameter* const parameter = FindParameter(argument.key());
        if (!parameter)
        {
            throw TJsonError(TJsonPath(argument.key()), FullName() + " has no such argument");
        }
        if (!IsGiven(parameter->word))
        {
            throw TJsonError(TJsonPath(argument.key()), "this is an output of " + FullName());
        }
    }
    for (std::size_t i = 0; i < m_parameters.size(); ++i)
    {
        const TSParameter& parameter = m_parameters[i];
        if (const auto given = arguments.find(parameter.name); given != arguments.end())
        {
            parameter.type->From(*given, values.Parameter(i), TJsonPath(parameter.name));
        }
        else if (protocol::IsInput(parameter.word))
        {
            throw TJsonError(TJsonPath(parameter.name),
                             "this argument of " + FullName() + " is missing (" + parameter.type->Type().text + ")");
        }
    }
}

void TOperationForm::Check(const TJson& arguments) const { m_Take(arguments, *m_NewValues()); }

std::string TOperationForm::RequestFromJson(const TJson& arguments) const
{
    const std::unique_ptr<TIValues> values = m_NewValues();
    m_Take(arguments, *values);
    values->Store();
    TCMarshallingHelperProxy frame;
    values->Push(frame);
    return Bytes(frame, m_id);
}

std::string TOperationForm::ReplyFromJson(const TJson& reply) const
{
    const std::unique_ptr<TIValues> values = m_NewValues();
    const auto result = reply.find("result");
    if (result != reply.end())
    {
        m_resultType->From(*result, values->Result(), TJsonPath("result"));
    }
    else if (m_resultType->Type().kind == EKind::BOOL)
    {
        m_resultType->From(true, values->Result(), TJsonPath("result"));
    }
    else if (m_resultType->Type().text == "int32")
    {
        m_resultType->From(1, values->Result(), TJsonPath("result"));
    }
    if (const auto outputs = reply.find("outputs"); outputs != reply.end())
    {
        const TJsonPath path("outputs");
        if (!outputs->is_object())
        {
            throw TJsonError(path, std::string("an object is needed, not ") + KindOf(*outputs));
        }
        for (const auto& output : outputs->items())
        {
            const TJsonPath place(path, output.key());
            const TSParameter* const parameter = FindParameter(output.key());
            if (!parameter || !protocol::IsOutput(parameter->word))
            {
                throw TJsonError(place, FullName() + " has no such output");
            }
            parameter->type->From(output.value(), values->Parameter(parameter - m_parameters.data()), place);
        }
    }
    values->Store();
    TCMarshallingHelperStub frame;
    values->Push(frame);
    return Bytes(frame, m_id);
}

TJson TOperationForm::m_Results(TIValues& values) const
{
    TJson outputs = TJson::object();
    for (std::size_t i = 0; i < m_parameters.size(); ++i)
    {
        if (protocol::IsOutput(m_parameters[i].word))
        {
            outputs[m_parameters[i].name] = m_parameters[i].type->To(values.Parameter(i));
        }
    }
    return {{"result", m_resultType->To(values.Result())}, {"outputs", std::move(outputs)}};
}

TJson TOperationForm::Invoke(void* object, const TJson& arguments) const
{
    const std::unique_ptr<TIValues> values = m_NewValues();
    m_Take(arguments, *values);
    values->Call(object);
    return m_Results(*values);
}

std::string TOperationForm::m_DistinctWord(const TOperationForm& other) const
{
    std::string word;
    for (const TSParameter& parameter : m_parameters)
    {
        if (protocol::IsInput(parameter.word) && !other.FindParameter(parameter.name))
        {
            word = parameter.name;
        }
    }
    return word;
}

std::string TOperationForm::m_ShapeWord() const
{
    const std::string& text = m_parameters.empty() ? m_resultType->Type().text : m_parameters.back().type->Type().text;
    return text.substr(0, text.find(' '));
}

std::optional<short> MethodOf(std::string_view payload)
{
    TCMessageBuffer buffer;
    buffer.PushBorrowed(payload.size(), payload.data());
    const TCTreeBranchList tree(&buffer);
    return tree.IsValid() ? std::optional(static_cast<short>(tree.GetTag())) : std::nullopt;
}

TInterfaceForm::TInterfaceForm(std::string name, std::string connectionName, void* (*instance)(),
                               std::vector<std::unique_ptr<TOperationForm>> operations)
    : m_name(std::move(name)), m_connectionName(std::move(connectionName)), m_instance(instance),
      m_operations(std::move(operations))
{
    for (const auto& operation : m_operations)
    {
        for (const auto& other : m_operations)
        {
            if (operation != other && std::string_view(operation->m_name) == other->m_name)
            {
                const std::string word = operation->m_DistinctWord(*other);
                operation->m_key = operation->m_name + ("#" + (word.empty() ? operation->m_ShapeWord() : word));
            }
        }
    }
}

const TOperationForm* TInterfaceForm::Find(short methodId) const
{
    for (const auto& operation : m_operations)
    {
        if (operation->Id() == methodId)
        {
            return operation.get();
        }
    }
    return nullptr;
}

const TOperationForm* TInterfaceForm::Find(std::string_view key) const
{
    for (const auto& operation : m_operations)
    {
        if (operation->Key() == key)
        {
            return operation.get();
        }
    }
    return nullptr;
}

std::vector<const TOperationForm*> TInterfaceForm::FindAll(std::string_view name) const
{
    std::vector<const TOperationForm*> found;
    for (const auto& operation : m_operations)
    {
        if (operation->Key() == name || operation->Name() == name)
        {
            found.push_back(operation.get());
        }
    }
    return found;
}

void HideSecrets(const std::string& operation, TJson& arguments)
{
    struct TSSecret
    {
        std::string_view operation;
        const char* argument;
    };
    constexpr TSSecret SECRETS[] = {
        {"ICIGeneral.VerifyCamPin", "pin"}, {"ICIGeneral.SetCamPin", "pin"}, {"ICIGeneral.AnswerMmiEnquiry", "answer"}};
    for (const TSSecret& secret : SECRETS)
    {
        if (operation == secret.operation && arguments.contains(secret.argument))
        {
            arguments[secret.argument] = "***";
        }
    }
}
} // namespace CIM::json
