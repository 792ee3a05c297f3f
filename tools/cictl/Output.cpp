#include "cictl/Output.h"

#include "cictl/Verb.h"

#include "json/Scalars.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <vector>

namespace CIM::cictl
{
using json::TJson;

namespace
{
// What may change how a terminal shows what follows: the C0 and C1 controls, and what turns writing directions around.
bool IsDangerous(unsigned unit)
{
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x200E || unit == 0x200F ||
           (unit >= 0x2028 && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
}

void CheckKeys(std::span<const TSField> fields, const TJson& record)
{
    for (const auto& member : record.items())
    {
        if (std::none_of(fields.begin(), fields.end(), [&](const TSField& field) { return member.key() == field.key; }))
        {
            throw std::logic_error("no field " + member.key());
        }
    }
}

TJson InOrder(std::span<const TSField> fields, const TJson& record)
{
    CheckKeys(fields, record);
    TJson ordered = TJson::object();
    for (const TSField& field : fields)
    {
        if (record.contains(field.key))
        {
            ordered[field.key] = record[field.key];
        }
    }
    return ordered;
}

std::size_t Width(std::string_view utf8)
{
    return static_cast<std::size_t>(
        std::count_if(utf8.begin(), utf8.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

void PrintPadded(const std::string& text, std::size_t width)
{
    std::cout << text << std::string(width > Width(text) ? width - Width(text) : 0, ' ');
}

// A value under its label: what is made of several parts goes below, further in.
void PrintValue(const std::string& label, const TJson& value, std::size_t width, int depth)
{
    const std::string margin(static_cast<std::size_t>(2 * depth), ' ');
    std::cout << margin;
    const bool isBranch = value.is_structured() && !value.empty() &&
                          std::any_of(value.begin(), value.end(), [](const TJson& v) { return v.is_structured(); });
    if (!isBranch && !(value.is_object() && !value.empty()))
    {
        PrintPadded(label + ":", width + 2);
        std::cout << InWords(value) << '\n';
        return;
    }
    std::cout << label << ":\n";
    std::size_t inner = 0;
    for (const auto& member : value.items())
    {
        inner = std::max(inner, Width(Harmless(member.key())));
    }
    for (const auto& member : value.items())
    {
        PrintValue(Harmless(member.key()), member.value(), inner, depth + 1);
    }
}
} // namespace

std::string Harmless(std::string_view text)
{
    const std::vector<unsigned short> units = json::UnitsFromUtf8(text);
    std::string safe;
    safe.reserve(text.size());
    for (std::size_t i = 0; i < units.size(); ++i)
    {
        if (IsDangerous(units[i]))
        {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, units[i] < 0x100 ? "\\x%02x" : "\\u%04x", units[i]);
            safe += escaped;
            continue;
        }
        const bool isPair = units[i] >= 0xD800 && units[i] < 0xDC00; // made from UTF-8, so that the other half follows
        safe += json::Utf8FromUnits({units.data() + i, isPair ? 2u : 1u}).value_or("\xEF\xBF\xBD");
        i += isPair ? 1 : 0;
    }
    return safe;
}

std::string InWords(const TJson& value)
{
    if (value.is_string())
    {
        return Harmless(value.get_ref<const std::string&>());
    }
    if (value.is_boolean())
    {
        return value.get<bool>() ? "true" : "false";
    }
    if (value.is_null())
    {
        return "-";
    }
    if (value.is_array())
    {
        std::string words;
        for (const TJson& element : value)
        {
            words += (words.empty() ? "" : ", ") + InWords(element);
        }
        return words.empty() ? "none" : words;
    }
    if (value.is_object())
    {
        std::string words;
        for (const auto& member : value.items())
        {
            words += (words.empty() ? "{" : ", ") + Harmless(member.key()) + ": " + InWords(member.value());
        }
        return words.empty() ? "none" : words + "}";
    }
    return value.dump();
}

void PrintJson(const TJson& value) { std::cout << value.dump(-1, ' ', true, TJson::error_handler_t::replace) << '\n'; }

void PrintRecord(std::span<const TSField> fields, const TJson& record, bool asJson)
{
    const TJson ordered = InOrder(fields, record);
    if (asJson)
    {
        PrintJson(ordered);
        return;
    }
    std::size_t width = 0;
    for (const TSField& field : fields)
    {
        width = ordered.contains(field.key) ? std::max(width, Width(field.label)) : width;
    }
    for (const TSField& field : fields)
    {
        if (ordered.contains(field.key))
        {
            PrintValue(field.label, ordered[field.key], width, 0);
        }
    }
}

void PrintTable(std::span<const TSField> fields, const TJson& records, bool asJson)
{
    TJson list = TJson::array();
    for (const TJson& record : records)
    {
        list.push_back(InOrder(fields, record));
    }
    if (asJson)
    {
        PrintJson(list);
        return;
    }
    std::vector<std::vector<std::string>> lines(1);
    std::vector<std::size_t> widths;
    for (const TSField& field : fields)
    {
        lines[0].emplace_back(field.label);
    }
    for (const TJson& record : list)
    {
        lines.emplace_back();
        for (const TSField& field : fields)
        {
            lines.back().push_back(record.contains(field.key) ? InWords(record[field.key]) : "-");
        }
    }
    for (std::size_t column = 0; column < fields.size(); ++column)
    {
        widths.push_back(0);
        for (const auto& line : lines)
        {
            widths.back() = std::max(widths.back(), Width(line[column]));
        }
    }
    for (const auto& line : lines)
    {
        for (std::size_t column = 0; column + 1 < line.size(); ++column)
        {
            PrintPadded(line[column], widths[column] + 2);
        }
        std::cout << line.back() << '\n';
    }
}

void PrintEvent(std::span<const TSField> fields, const TJson& record, bool asJson)
{
    const TJson ordered = InOrder(fields, record);
    if (asJson)
    {
        PrintJson(ordered);
    }
    else
    {
        const char* separator = "";
        for (const TSField& field : fields)
        {
            if (ordered.contains(field.key))
            {
                std::cout << separator << field.label << (*field.label == '\0' ? "" : "=")
                          << InWords(ordered[field.key]);
                separator = " ";
            }
        }
        std::cout << '\n';
    }
    std::cout.flush();
    if (!std::cout)
    {
        throw TCFailure(EXIT_REFUSED, "cannot write to standard output"); // nobody is there for the next one either
    }
}
} // namespace CIM::cictl
