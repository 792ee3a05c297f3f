#include "cictl/Output.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace CIM::cictl
{
using json::TJson;

namespace
{
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

void PrintPadded(const std::string& text, std::size_t width)
{
    Out() << text << std::string(width > json::CharactersOf(text) ? width - json::CharactersOf(text) : 0, ' ');
}

// A value under its label: what is made of several parts goes below, further in.
void PrintValue(const std::string& label, const TJson& value, std::size_t width, int depth)
{
    const std::string margin(static_cast<std::size_t>(2 * depth), ' ');
    Out() << margin;
    const bool isBranch = value.is_structured() && !value.empty() &&
                          std::any_of(value.begin(), value.end(), [](const TJson& v) { return v.is_structured(); });
    if (!isBranch && !(value.is_object() && !value.empty()))
    {
        PrintPadded(label + ":", width + 2);
        Out() << InWords(value) << '\n';
        return;
    }
    Out() << label << ":\n";
    std::size_t inner = 0;
    for (const auto& member : value.items())
    {
        inner = std::max(inner, json::CharactersOf(Harmless(member.key())));
    }
    for (const auto& member : value.items())
    {
        PrintValue(Harmless(member.key()), member.value(), inner, depth + 1);
    }
}
} // namespace

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

std::ostream& Out() { return std::cout; }

bool IsColoured(int descriptor)
{
    const char* const refusal = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    return (refusal == nullptr || *refusal == '\0') && terminal != nullptr && std::string_view(terminal) != "dumb" &&
           isatty(descriptor) == 1;
}

void PrintJson(const TJson& object)
{
    constexpr int VERSION = 1; // another one only when a member goes or changes its meaning
    TJson whole = {{"version", VERSION}};
    whole.update(object);
    Out() << whole.dump(-1, ' ', true, TJson::error_handler_t::replace) << '\n';
}

void PrintFailure(EExit status, const std::string& message, bool asJson)
{
    if (asJson)
    {
        PrintJson({{"error", {{"status", status}, {"name", ExitOf(status).name}, {"message", message}}}});
    }
    Out().flush();
    const bool isColoured = IsColoured(STDERR_FILENO);
    std::fprintf(stderr, "%scictl:%s %s\n", isColoured ? "\x1b[1;31m" : "", isColoured ? "\x1b[0m" : "",
                 Harmless(message).c_str());
}

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
        width = ordered.contains(field.key) ? std::max(width, json::CharactersOf(field.label)) : width;
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
        for (const TJson& record : list)
        {
            PrintJson(record);
        }
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
            widths.back() = std::max(widths.back(), json::CharactersOf(line[column]));
        }
    }
    const bool isColoured = IsColoured(STDOUT_FILENO);
    for (const auto& line : lines)
    {
        const bool isHeading = isColoured && &line == &lines.front();
        Out() << (isHeading ? "\x1b[1m" : "");
        for (std::size_t column = 0; column + 1 < line.size(); ++column)
        {
            PrintPadded(line[column], widths[column] + 2);
        }
        Out() << line.back() << (isHeading ? "\x1b[0m" : "") << '\n';
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
                Out() << separator << field.label << (*field.label == '\0' ? "" : "=") << InWords(ordered[field.key]);
                separator = " ";
            }
        }
        Out() << '\n';
    }
    Out().flush();
    if (!Out())
    {
        throw TCFailure(EXIT_REFUSED, "cannot write to standard output"); // nobody is there for the next one either
    }
}
} // namespace CIM::cictl
