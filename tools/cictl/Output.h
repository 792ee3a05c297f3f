#pragma once

#include "cictl/Exit.h"
#include "json/Harmless.h"
#include "json/Json.h"

#include <ostream>
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

using json::Harmless;

/// A value in one line of text.
std::string InWords(const json::TJson& value);

/// Where everything goes that is printed, but for what is told about it on standard error.
std::ostream& Out();

// JSON is one object a line, always, and its first member is "version": 1. A list is its records, a line each.

/// Prints a record: in text a line a field, in JSON one object. Fields that the record lacks are left out.
/// A key without a field is a programming error, so that text and JSON cannot tell different things.
void PrintRecord(std::span<const TSField> fields, const json::TJson& record, bool asJson);
/// Prints a list of records: in text a line each under a heading, in JSON an object each.
void PrintTable(std::span<const TSField> fields, const json::TJson& records, bool asJson);
/// Prints one record of a stream at once: in text one line "label=value ...", in JSON one object.
void PrintEvent(std::span<const TSField> fields, const json::TJson& record, bool asJson);
/// One object, in a line of ASCII characters only.
void PrintJson(const json::TJson& object);
/// What went wrong: on standard error for people, and with JSON also as an object, {"error": {...}}, among the output.
void PrintFailure(EExit status, const std::string& message, bool asJson);

/// Whether what goes to a descriptor may have colours: a terminal that knows them, whose user has not set NO_COLOR.
bool IsColoured(int descriptor);
} // namespace CIM::cictl
