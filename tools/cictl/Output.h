#pragma once

#include "json/Json.h"

#include <span>
#include <string>
#include <string_view>

namespace CIM::cictl
{
/// One field of what is printed: its key in JSON and its label in text.
struct TSField
{
    const char* key;
    const char* label;
};

/// Makes a text that came from elsewhere safe for a terminal: control characters become "\x1b" and the like, and bytes
/// that are not UTF-8 the replacement character.
std::string Harmless(std::string_view text);

/// A value in one line of text.
std::string InWords(const json::TJson& value);

/// Prints a record: in text a line a field, in JSON one object in one line. Fields that the record lacks are left out.
/// A key without a field is a programming error, so that text and JSON cannot tell different things.
void PrintRecord(std::span<const TSField> fields, const json::TJson& record, bool asJson);
/// Prints a list of records: in text a line each under a heading, in JSON one list.
void PrintTable(std::span<const TSField> fields, const json::TJson& records, bool asJson);
/// Prints one record of a stream at once: in text one line "label=value ...", in JSON one object.
void PrintEvent(std::span<const TSField> fields, const json::TJson& record, bool asJson);
/// One line of JSON, of ASCII characters only.
void PrintJson(const json::TJson& value);
} // namespace CIM::cictl
