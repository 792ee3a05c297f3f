#include "json/Json.h"

#include <algorithm>

namespace CIM::json
{
TCJsonPlace::TCJsonPlace(const TCJsonPath& path)
{
    std::size_t length = 0;
    const TCJsonPath* step = &path;
    for (; step->m_outer != nullptr; step = step->m_outer)
    {
        ++length;
    }
    m_name = step->m_name;
    m_steps.resize(length);
    for (step = &path; step->m_outer != nullptr; step = step->m_outer)
    {
        m_steps[--length] = step->m_isIndex ? TStep(step->m_index) : TStep(std::string(step->m_name));
    }
}

std::string TCJsonPlace::Words() const
{
    std::string text = m_name;
    for (const TStep& step : m_steps)
    {
        if (const auto* const index = std::get_if<std::size_t>(&step))
        {
            text += '[' + std::to_string(*index) + ']';
        }
        else
        {
            text += (text.empty() ? "" : ".") + std::get<std::string>(step);
        }
    }
    return text;
}

std::string TCJsonPlace::Pointer() const
{
    std::string pointer;
    for (const TStep& step : m_steps)
    {
        pointer += '/';
        if (const auto* const index = std::get_if<std::size_t>(&step))
        {
            pointer += std::to_string(*index);
            continue;
        }
        for (const char c : std::get<std::string>(step))
        {
            pointer += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
        }
    }
    return pointer;
}

namespace
{
std::string TextOf(const TCJsonPlace& place, const std::string& message)
{
    const std::string words = place.Words();
    return words.empty() ? message : words + ": " + message;
}
} // namespace

TCJsonError::TCJsonError(const TCJsonPath& path, std::string message)
    : std::runtime_error(TextOf(TCJsonPlace(path), message)), m_place(path), m_message(std::move(message))
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

std::string Dump(const TJson& json, int indent)
{
    return json.dump(indent, ' ', false, TJson::error_handler_t::replace);
}

bool IsSame(const TJson& left, const TJson& right)
{
    if (left.is_array() && right.is_array())
    {
        return std::equal(left.begin(), left.end(), right.begin(), right.end(), IsSame);
    }
    if (!left.is_object() || !right.is_object())
    {
        return left == right;
    }
    return left.size() == right.size() && std::all_of(left.items().begin(), left.items().end(),
                                                      [&](const auto& item)
                                                      {
                                                          const auto found = right.find(item.key());
                                                          return found != right.end() && IsSame(item.value(), *found);
                                                      });
}
} // namespace CIM::json
