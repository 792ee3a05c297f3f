#pragma once

#include <tvplatform/MessageBuffer.h>
#include <tvplatform/Tree.h>

#include <cstring>
#include <memory>
#include <string>

/// A tree's byte form.
inline std::string Stored(TCTreeBranchList& tree)
{
    TCMessageBuffer buffer;
    if (!tree.StoreInBuffer(buffer))
    {
        return "not stored";
    }
    const char* bytes = buffer.GetAsCStr(0);
    return std::string(bytes, buffer.GetUnreadSize());
}

/// Some bytes in a block of exactly their size, so that the address sanitizer sees every step past them, and the tree
/// that they hold.
struct TSParsed
{
    explicit TSParsed(const std::string& source) : bytes(new char[source.size()])
    {
        std::memcpy(bytes.get(), source.data(), source.size());
        buffer.PushBorrowed(source.size(), bytes.get());
        tree = std::make_unique<TCTreeBranchList>(&buffer);
    }

    std::unique_ptr<char[]> bytes;
    TCMessageBuffer buffer;
    std::unique_ptr<TCTreeBranchList> tree;
};
