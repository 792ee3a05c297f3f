#include "json/Word.h"

#include "json/Document.h"

namespace CIM::json
{
TJson ValueFromWord(const TSType& type, const std::string& word, const std::string& name)
{
    const bool isJson =
        word.starts_with('"') || word.starts_with('{') || (word.starts_with('[') && type.kind == EKind::STRUCTURED);
    if (!isJson)
    {
        return word;
    }
    try
    {
        return TCJsonDocument::Parse(name, word).Root();
    }
    catch (const TCFileError& error)
    {
        throw TCJsonError(TCJsonPath(), error.what());
    }
}
} // namespace CIM::json
