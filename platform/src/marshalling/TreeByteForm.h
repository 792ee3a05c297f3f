#pragma once

#include <tvplatform/Tree.h>

#include <cstddef>
#include <cstdint>

// The byte form of a tree; docs/protocol.md describes it.

inline constexpr std::uint8_t TREE_FORM_VERSION = 1;
inline constexpr std::size_t TREE_FORM_PREFIX = 4; ///< the version and three zero bytes

/// What stands before each node's content, in host byte order.
struct TSTreeNodeHeader
{
    std::uint8_t type;
    std::uint8_t zero;
    std::uint16_t tag;
    std::uint32_t size; ///< of the content: a leaf's bytes, or a branch's children with their headers
};
static_assert(sizeof(TSTreeNodeHeader) == 8, "a node's header travels as it lies in memory");

/// Turns bytes into nodes.
class TCTreeReader
{
public:
    /// Reads the tree at the front of some bytes into an empty root; the leaves refer to the bytes.
    /// \param[out] taken  the bytes of the tree; untouched when false is returned
    /// \return false, leaving the root empty, when there is no well-formed tree
    static bool Read(TCTreeBranchList& root, const char* bytes, std::size_t size, std::size_t& taken);
};

/// Turns nodes into bytes.
class TCTreeWriter
{
public:
    /// Brings the sizes of all branches up to date.
    /// \return the bytes of a node with its header; 0 when the tree is too deep or too large
    static std::uint64_t Measure(TCTreeNode& node, unsigned depth);
    /// Writes a measured node to where its bytes have room. \return behind the last byte
    static char* Write(const TCTreeNode& node, char* out);
    /// Appends a measured node, referring to lent leaves instead of copying them.
    static void Push(const TCTreeNode& node, TCMessageBuffer& buffer);
};
