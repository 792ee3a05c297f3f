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

const TJson::array_t& ElementsOf(const TJson& json, const TCJsonPath& path)
{
    if (!json.is_array())
    {
        throw TCJsonError(path, std::string("a list is needed, not ") + KindOf(json));
    }
    return json.get_ref<const TJson::array_t&>();
}

const TJson::object_t& MembersOf(const TJson& json, const TCJsonPath& path)
{
    if (!json.is_object())
    {
        throw TCJsonError(path, std::string("an object is needed, not ") + KindOf(json));
    }
    return json.get_ref<const TJson::object_t&>();
}

const TJson* FindMember(const TJson& json, std::string_view name, const TCJsonPath& path)
{
    const TJson::object_t& members = MembersOf(json, path);
    const auto found =
        std::find_if(members.begin(), members.end(), [&](const auto& member) { return member.first == name; });
    return found != members.end() ? &found->second : nullptr;
}

const std::string* TextOf(const TJson& json) { return json.get_ptr<const std::string*>(); }

std::string WordOf(const TJson& json)
{
    const std::string* const text = TextOf(json);
    return text != nullptr ? *text : Dump(json);
}

TJson NewObject() { return TJson::object(); }

TJson NewList() { return TJson::array(); }

void Put(TJson& object, std::string_view name, TJson value) { object[std::string(name)] = std::move(value); }

void Append(TJson& list, TJson value) { list.push_back(std::move(value)); }

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
