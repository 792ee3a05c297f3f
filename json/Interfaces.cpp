#include "json/OperationForm.h"
#include "json/RowForm.h"

#include "protocol/Interfaces.h"

#include <algorithm>
#include <cctype>

// The one source that knows the rows of all interfaces. One is cheaper to compile than one an interface: they have
// their values' types in common.

namespace CIM::json
{
namespace
{
template <class... Interfaces>
struct TForms
{
    static std::span<const TCInterfaceForm> All()
    {
        static const TCInterfaceForm forms[] = {MakeInterfaceForm<Interfaces>()...};
        return forms;
    }
};

std::string Lower(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    return lower;
}
} // namespace

std::span<const TCInterfaceForm> Interfaces() { return protocol::TInterfaces::As<TForms>::All(); }

const TCInterfaceForm* FindInterface(std::string_view name)
{
    const std::string wanted = Lower(name);
    for (const TCInterfaceForm& form : Interfaces())
    {
        const std::string known = Lower(form.Name());
        if (wanted == known || "ici" + wanted == known || "i" + wanted == known || name == form.ConnectionName())
        {
            return &form;
        }
    }
    return nullptr;
}

const TCOperationForm* FindOperation(std::string_view fullName)
{
    const std::size_t dot = fullName.find('.');
    const TCInterfaceForm* const interface = FindInterface(fullName.substr(0, dot));
    return interface != nullptr && dot != fullName.npos ? interface->Find(fullName.substr(dot + 1)) : nullptr;
}
} // namespace CIM::json
