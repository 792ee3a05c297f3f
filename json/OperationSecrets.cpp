#include "json/OperationForm.h"

#include "json/Secret.h"

#include <algorithm>

// Secret arguments: told apart, hidden, and not shown when they are wrong.

namespace CIM::json
{
namespace
{
/// What is wrong with a secret, for people. Bytes are told where they are wrong, which shows none of them.
template <class Function>
auto WithoutShowing(const TSParameter& parameter, const TJson& json, const TCJsonPath& path, Function function)
{
    try
    {
        return function();
    }
    catch (const TCJsonError&)
    {
        if (!parameter.IsSecret() || (parameter.type->kind == EKind::BYTES && json.is_string()))
        {
            throw;
        }
    }
    throw TCJsonError(path, "a value of the type " + parameter.type->text +
                                " is needed, and this is none (it is not shown: it is a secret)");
}
} // namespace

void TSParameter::FromJson(const TJson& json, void* value, const TCJsonPath& path) const
{
    WithoutShowing(*this, json, path, [&] { form->fromJson(json, value, path); });
}

TJson TSParameter::AsWritten(const TJson& json, const TCJsonPath& path) const
{
    return WithoutShowing(*this, json, path, [&] { return form->asWritten(json, path); });
}

bool TCOperationForm::HasSecrets() const
{
    return std::any_of(m_parameters.begin(), m_parameters.end(),
                       [](const TSParameter& parameter) { return parameter.IsSecret(); });
}

void TCOperationForm::HideSecrets(TJson& arguments) const
{
    for (const TSParameter& parameter : m_parameters)
    {
        if (const auto found = arguments.find(parameter.name); parameter.IsSecret() && found != arguments.end())
        {
            Wipe(*found);
            *found = "***";
        }
    }
}

bool MayHideSecrets(const TCInterfaceForm* interface, const TCOperationForm* operation, std::string_view payload)
{
    if (interface == nullptr)
    {
        return true;
    }
    const auto operations = interface->Operations();
    const bool hasSecrets = std::any_of(operations.begin(), operations.end(),
                                        [](const TCOperationForm& form) { return form.HasSecrets(); });
    if (operation == nullptr || !hasSecrets)
    {
        return hasSecrets;
    }
    const std::optional<short> tag = MethodOf(payload);
    const TCOperationForm* const meant = tag ? interface->Find(*tag) : nullptr;
    return meant != nullptr && meant != operation && meant->HasSecrets();
}
} // namespace CIM::json
