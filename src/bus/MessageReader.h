#pragma once

#include "bus/MessageBlock.h"

#include <array>
#include <cstddef>
#include <span>

namespace CIM
{
/// A message as it came.
struct SIncoming
{
    std::span<const char> bytes; ///< valid until the reader is given more; of a message without memory only the front
    TCMessageBlock block;        ///< where a large message's bytes are: the taker's own; otherwise empty
    bool isCut = false;          ///< there was no memory for it
};

/// Cuts a stream of bytes into messages. Small ones stay in its buffer; a large one is read to where it stays.
/// Needs outside synchronization.
class TCMessageReader
{
public:
    enum class EState
    {
        MESSAGE,
        INCOMPLETE, ///< more bytes are wanted
        CORRUPT,    ///< this is not D-Bus, and nothing behind it can be read
    };

    /// Where the next bytes belong, at least one; never beyond the end of a large message.
    std::span<char> Room();
    /// Says how many bytes were written there.
    void Add(std::size_t size);
    /// Takes the next message.
    EState Next(SIncoming& message);

private:
    std::span<char> m_Buffered() { return std::span(m_buffer).subspan(m_begin, m_end - m_begin); }

    static constexpr std::size_t BUFFER_SIZE = 16384;
    std::array<char, BUFFER_SIZE> m_buffer;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    TCMessageBlock m_block; // a large message that has begun
    std::size_t m_blockUsed = 0;
    std::size_t m_toDrop = 0; // what is still to come of one without memory
};
} // namespace CIM
