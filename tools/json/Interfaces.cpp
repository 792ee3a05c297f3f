#include "json/Interfaces.h"

#include "json/OperationForm.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace CIM::json
{
namespace
{
std::string Lower(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    return lower;
}
} // namespace

std::span<const TInterfaceForm* const> Interfaces()
{
    static const std::array<const TInterfaceForm*, 9> interfaces = {
        &GeneralForm(),         &AppMMIForm(), &AuxiliaryFileSystemForm(), &CICAMPlayerForm(),      &DebugForm(),
        &OperatorProfileForm(), &PvrCipForm(), &SampleDecryptionForm(),    &SignalSubscriberForm(),
    };
    return interfaces;
}

const TInterfaceForm* FindInterface(std::string_view name)
{
    const std::string wanted = Lower(name);
    for (const TInterfaceForm* form : Interfaces())
    {
        const std::string known = Lower(form->Name());
        if (wanted == known || "ici" + wanted == known || "i" + wanted == known || name == form->ConnectionName())
        {
            return form;
        }
    }
    return nullptr;
}
} // namespace CIM::json
