#pragma once

#include <cstddef>
#include <memory>
#include <vector>

/// The bytes of one message, appended at the end. It may keep them in several pieces, or, as here, in one; where bytes
/// are lent to it, it may copy them all the same, at the price of the copy. Bound to its thread.
class TCMessageBuffer
{
public:
    TCMessageBuffer();
    ~TCMessageBuffer();
    TCMessageBuffer(const TCMessageBuffer&) = delete;
    TCMessageBuffer& operator=(const TCMessageBuffer&) = delete;

    /// Says that about so many bytes will be appended.
    void Reserve(std::size_t bytes);
    /// Appends a copy. A negative length counts as 0.
    void PushConcatenated(int length, const void* data);
    /// Appends bytes that the caller keeps alive and unchanged as long as the buffer lives.
    void PushBorrowed(std::size_t length, const void* data);
    /// Appends bytes that live as long as their owner, which the buffer keeps when it refers to them.
    void PushShared(std::size_t length, const void* data, std::shared_ptr<const void> owner);

    std::size_t GetUnreadSize() const;
    /// The bytes from an offset on, in one piece; valid until the next change. \return null when none lies there
    const char* GetAsCStr(unsigned int offset) const;
    /// The pieces that hold the bytes. What holds a PIN is overwritten by the library, through the pointer: what the
    /// buffer has copied lies in memory that may be written.
    std::size_t GetPieceCount() const;
    const char* GetPiece(std::size_t index, std::size_t& length) const;

    /// Who sent the message, as a bus name; a copy. The library itself never asks for it.
    void SetSender(const char* sender);

private:
    std::vector<char> m_bytes;
};
