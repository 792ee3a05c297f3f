#include "FileAnswer.h"

#include "Crypto.h"

namespace CIM::sim
{
TSFileAnswer AnswerFileRequest(const std::map<std::string, TSFileDefinition>& files, int requestType,
                               const TBytes& request)
{
    const auto file = files.find(std::string(request.begin(), request.end()));
    const bool isFound = file != files.end();
    switch (requestType)
    {
    case APP_REQUEST_FILE:
        return {isFound, true, isFound ? file->second.Bytes() : TBytes()};
    case APP_REQUEST_DATA:
        return {true, true, request};
    case APP_REQUEST_FILEHASH:
        return {isFound, true, isFound ? Sha256(file->second.Bytes()) : TBytes()};
    case APP_REQUEST_REQ_TYPES:
        return {true, true, {APP_REQUEST_FILE, APP_REQUEST_DATA, APP_REQUEST_FILEHASH, APP_REQUEST_REQ_TYPES}};
    default:
        return {};
    }
}
} // namespace CIM::sim
