#include "Action.h"

#include "json/Word.h"

namespace CIM::sim
{
using json::EKind;

const char* TSParameter::Signature() const
{
    constexpr std::pair<const char*, const char*> NUMBERS[] = {
        {"uint8", "y"}, {"uint16", "q"}, {"uint32", "u"}, {"uint64", "t"},
        {"int16", "n"}, {"int32", "i"},  {"int64", "x"},
    };
    if (type->kind == EKind::NUMBER)
    {
        for (const auto& [name, signature] : NUMBERS)
        {
            if (type->text == name)
            {
                return signature;
            }
        }
    }
    return type->kind == EKind::BOOL ? "b" : type->kind == EKind::BYTES ? "ay" : "s";
}

json::TJson TSParameter::FromWord(const std::string& word) const
{
    return type->kind == EKind::TEXT ? json::TJson(word) : json::ValueFromWord(*type, word, name);
}

std::string TSParameter::Describe() const
{
    std::string text = type->text;
    if (!isNeeded && !initial.is_null() && initial != "")
    {
        text += ", " + json::WordOf(initial) + " when left out";
    }
    return text;
}

std::vector<std::string_view> TSParameter::Words() const
{
    if (type->kind == EKind::BOOL)
    {
        return {"true", "false"};
    }
    std::vector<std::string_view> words;
    if (type->kind == EKind::ENUM)
    {
        for (const auto& enumerator : type->enumerations.front()->enumerators)
        {
            words.push_back(enumerator.name);
        }
    }
    return words;
}
} // namespace CIM::sim
