#pragma once

#include "json/Forms.h"

#include <string>

namespace CIM::json
{
/// What a word of a command line means as a value: JSON when it begins like a record, a list or a text in quotes, and
/// otherwise a text, as which numbers, flags, enumerators and bytes are read, too.
/// \param[in] name  what an error calls the word
/// \throws TCJsonError when it begins like JSON and is none
TJson ValueFromWord(const TSType& type, const std::string& word, const std::string& name);
} // namespace CIM::json
