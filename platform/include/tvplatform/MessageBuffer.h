#pragma once

#include <tvplatform/Export.h>

#include <cstddef>
#include <memory>
#include <string>

/// The bytes of one message, in one direction: appended at the end, read from the front.
/// Small messages live inside the object; large pieces can be referred to instead of copied.
/// Bound to its thread.
class TVPLATFORM_EXPORT TCMessageBuffer
{
public:
    TCMessageBuffer();
    ~TCMessageBuffer();
    TCMessageBuffer(const TCMessageBuffer&) = delete;
    TCMessageBuffer& operator=(const TCMessageBuffer&) = delete;

    /// Makes room for at least that many bytes in one piece.
    void Reserve(std::size_t bytes);
    /// Appends a copy. A negative length counts as 0, and a null pointer as no bytes.
    void PushConcatenated(int length, const void* data);
    /// Appends bytes without copying them. The caller keeps them alive and unchanged as long as this buffer lives.
    void PushBorrowed(std::size_t length, const void* data);
    /// Appends bytes without copying them and keeps their owner until this buffer ends.
    void PushShared(std::size_t length, const void* data, std::shared_ptr<const void> owner);

    /// The bytes appended and not yet read.
    std::size_t GetUnreadSize() const;
    /// Takes bytes from the front. \return false, taking nothing, when fewer are there
    bool Skip(std::size_t bytes);
    /// The unread bytes from an offset on, in one piece (pieces are joined first when there are several).
    /// \return null when no byte lies at the offset; valid until the next change of the buffer
    const char* GetAsCStr(unsigned int offset) const;

    /// How many pieces hold the unread bytes, and one of them: for a writer that can send piece by piece.
    std::size_t GetPieceCount() const;
    const char* GetPiece(std::size_t index, std::size_t& length) const;

    /// Who sent the message, as a bus name; empty when unknown.
    void SetSender(const char* sender);
    const std::string& GetSender() const;

private:
    struct TState;
    std::unique_ptr<TState> m_state; // layout is the implementation's choice; see MessageBuffer.cpp
};
