#include "json/Secret.h"

#include "json/Json.h"

#include <cstring>

namespace CIM::json
{
namespace
{
template <class Container>
void Overwrite(Container& held) noexcept
{
    // Behind its end may stand what was longer before. To grow up to the room that there is allocates nothing.
    held.resize(held.capacity());
    if (held.empty())
    {
        return;
    }
    explicit_bzero(held.data(), held.size() * sizeof *held.data());
    held.clear();
}
} // namespace

void Wipe(std::string& text) noexcept { Overwrite(text); }
void Wipe(std::vector<unsigned char>& bytes) noexcept { Overwrite(bytes); }
void Wipe(std::vector<unsigned short>& units) noexcept { Overwrite(units); }
void Wipe(std::u16string& units) noexcept { Overwrite(units); }

void Wipe(TJson& json) noexcept
{
    if (auto* const text = json.get_ptr<std::string*>())
    {
        Overwrite(*text);
    }
    else if (json.is_structured())
    {
        for (TJson& element : json)
        {
            Wipe(element);
        }
    }
    else
    {
        json = nullptr;
    }
}
} // namespace CIM::json
