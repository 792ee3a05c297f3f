#include "json/Json.h"

namespace CIM::json
{
std::string TCJsonPath::Text() const
{
    std::string text = m_outer ? m_outer->Text() : std::string();
    if (m_isIndex)
    {
        return text + "[" + std::to_string(m_index) + "]";
    }
    if (!text.empty() && !m_name.empty())
    {
        text += '.';
    }
    return text.append(m_name);
}

TCJsonError::TCJsonError(const TCJsonPath& path, const std::string& message)
    : std::runtime_error(path.Text().empty() ? message : path.Text() + ": " + message)
{
}

const char* KindOf(const TJson& json)
{
    switch (json.type())
    {
    case TJson::value_t::null:
        return "null";
    case TJson::value_t::object:
        return "an object";
    case TJson::value_t::array:
        return "a list";
    case TJson::value_t::string:
        return "a text";
    case TJson::value_t::boolean:
        return "a truth value";
    case TJson::value_t::number_float:
        return "a fraction";
    default:
        return "a number";
    }
}
} // namespace CIM::json
