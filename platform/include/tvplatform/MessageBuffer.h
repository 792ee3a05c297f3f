#pragma once

#include <tvplatform/Export.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

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

    /// Says that about so many bytes will be appended, so that they need one allocation at most.
    void Reserve(std::size_t bytes);
    /// Appends a copy. A negative length counts as 0, and a null pointer as no bytes.
    void PushConcatenated(int length, const void* data);
    /// Appends bytes that the caller writes. \return where they lie; valid until the next change of the buffer
    char* Append(std::size_t length);
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
    const char* GetPiece(std::size_t index, std::size_t& length) const; ///< null, length 0: there is none

    /// Who sent the message, as a bus name; empty when unknown.
    void SetSender(const char* sender);
    const std::string& GetSender() const; ///< as above

private:
    // A run of bytes that is not part of one growing store: the buffer's own ones, or somebody else's.
    struct TSPiece
    {
        const char* foreign;   // null: own bytes
        std::size_t ownOffset; // where own bytes begin
        std::size_t length;
        std::shared_ptr<const void> owner;
    };
    static constexpr std::size_t INLINE_BYTES = 1024;

    const char* AddressOf(const TSPiece& piece) const;
    void PushPiece(std::size_t length, const void* data, std::shared_ptr<const void> owner);
    void Grow(std::size_t capacity) const;
    void Join() const;

    // Joining changes how the bytes are kept, not which: it happens inside reading operations.
    mutable char m_inline[INLINE_BYTES];
    mutable std::unique_ptr<char[]> m_heap; // instead of m_inline once that is too small
    mutable std::size_t m_capacity = INLINE_BYTES;
    mutable std::size_t m_ownSize = 0;     // bytes in the store, read ones included
    mutable std::size_t m_ownRead = 0;     // how many of them are read, when there are no pieces
    mutable std::vector<TSPiece> m_pieces; // all unread bytes; empty while every byte is in the store
    std::size_t m_expected = 0;
    std::string m_sender;
};
