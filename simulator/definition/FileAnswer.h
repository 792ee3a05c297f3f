#pragma once

#include "Definition.h"

namespace CIM::sim
{
/// What a CAM answers to a file request, both over application MMI and from an auxiliary file system.
struct TSFileAnswer
{
    bool isFound = false;
    bool isServed = false; ///< the request type is one that CAMs serve
    TBytes bytes;
};

/// Files are found by their exact name among the definition's; nothing is ever read from a disk, so that a name such as
/// "../x" is a name like any other.
TSFileAnswer AnswerFileRequest(const std::map<std::string, TSFileDefinition>& files, int requestType,
                               const TBytes& request);
} // namespace CIM::sim
