#include "json/OperationForm.h"

#include "commandline/Nearest.h"

#include <algorithm>

// The operations of an interface, and how those of one name are told apart.

namespace CIM::json
{
std::string TCOperationForm::m_DistinctWord(const TCOperationForm& other) const
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

std::string TCOperationForm::m_ShapeWord() const
{
    const std::string& text = m_parameters.empty() ? ResultType().text : m_parameters.back().type->text;
    return text.substr(0, text.find(' '));
}

std::vector<std::string_view> TCOperationForm::Inputs() const
{
    std::vector<std::string_view> names;
    for (const TSParameter& parameter : m_parameters)
    {
        if (protocol::IsInput(parameter.word))
        {
            names.emplace_back(parameter.name);
        }
    }
    return names;
}

TCInterfaceForm::TCInterfaceForm(std::string name, std::string connectionName, std::vector<TCOperationForm> operations)
    : m_name(std::move(name)), m_connectionName(std::move(connectionName)), m_operations(std::move(operations))
{
    for (TCOperationForm& operation : m_operations)
    {
        for (const TCOperationForm& other : m_operations)
        {
            if (&operation != &other && std::string_view(operation.m_name) == other.m_name)
            {
                const std::string word = operation.m_DistinctWord(other);
                operation.m_key = operation.m_name + ("#" + (word.empty() ? operation.m_ShapeWord() : word));
            }
        }
    }
}

const TCOperationForm* TCInterfaceForm::Find(short methodId) const
{
    for (const TCOperationForm& operation : m_operations)
    {
        if (operation.Id() == methodId)
        {
            return &operation;
        }
    }
    return nullptr;
}

const TCOperationForm* TCInterfaceForm::Find(std::string_view key) const
{
    for (const TCOperationForm& operation : m_operations)
    {
        if (operation.Key() == key)
        {
            return &operation;
        }
    }
    return nullptr;
}

std::vector<const TCOperationForm*> TCInterfaceForm::FindAll(std::string_view name) const
{
    std::vector<const TCOperationForm*> found;
    for (const TCOperationForm& operation : m_operations)
    {
        if (operation.Key() == name || operation.Name() == name)
        {
            found.push_back(&operation);
        }
    }
    return found;
}

std::string DidYouMeanOperation(std::string_view wrong, bool isSent)
{
    constexpr std::string_view ALL = ".*"; // of an interface, for faults
    const bool hasInterface = wrong.find('.') != wrong.npos;
    std::vector<std::string> names; // as they are compared
    std::vector<std::string> whole; // as they are suggested
    const auto add = [&](std::string name, std::string suggested)
    {
        names.push_back(std::move(name));
        whole.push_back(std::move(suggested));
    };
    for (const TCInterfaceForm& interface : Interfaces())
    {
        if (!hasInterface || wrong.ends_with(ALL))
        {
            const std::string name = interface.Name() + std::string(hasInterface ? ALL : "");
            add(name, name);
        }
        for (const TCOperationForm& operation : interface.Operations())
        {
            if (!operation.IsLocal() || !isSent)
            {
                const std::string prefix = interface.Name() + ".";
                add((hasInterface ? prefix : "") + operation.Name(), prefix + operation.Name());
                add((hasInterface ? prefix : "") + operation.Key(), operation.FullName());
            }
        }
    }
    const std::string_view nearest = Nearest(wrong, {names.begin(), names.end()});
    const auto found = std::find(names.begin(), names.end(), nearest);
    return nearest.empty() ? std::string() : "; did you mean " + whole[found - names.begin()] + "?";
}
} // namespace CIM::json
