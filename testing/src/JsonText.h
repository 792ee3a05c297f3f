#pragma once

#include "json/Document.h"

#include <stdexcept>
#include <string>

namespace CIM::test
{
/// Reads a JSON object that somebody has written. \throws std::invalid_argument
inline json::TJson ParseObject(const std::string& text)
try
{
    json::TJson object = json::TCJsonDocument::Parse("JSON", text).Root();
    if (!object.is_object())
    {
        throw std::invalid_argument("a JSON object is expected, not " + text);
    }
    return object;
}
catch (const json::TCFileError& error)
{
    throw std::invalid_argument(std::string("a JSON object is expected: ") + error.what());
}
} // namespace CIM::test
