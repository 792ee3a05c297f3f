#include <tvplatform/MessageBuffer.h>

#include <algorithm>
#include <cstring>
#include <utility>

TCMessageBuffer::TCMessageBuffer() = default;
TCMessageBuffer::~TCMessageBuffer() = default;

void TCMessageBuffer::Reserve(std::size_t bytes) { m_expected = m_ownSize + bytes; }

void TCMessageBuffer::Grow(std::size_t capacity) const
{
    std::unique_ptr<char[]> heap(new char[capacity]);
    if (m_ownSize != 0)
    {
        std::memcpy(heap.get(), m_heap ? m_heap.get() : m_inline, m_ownSize);
    }
    m_heap = std::move(heap);
    m_capacity = capacity;
}

char* TCMessageBuffer::Append(std::size_t length)
{
    if (length > m_capacity - m_ownSize)
    {
        Grow(std::max({m_ownSize + length, m_capacity * 2, m_expected}));
    }
    if (!m_pieces.empty())
    {
        if (!m_pieces.back().foreign)
        {
            m_pieces.back().length += length;
        }
        else if (length != 0)
        {
            m_pieces.push_back({nullptr, m_ownSize, length, nullptr});
        }
    }
    char* room = (m_heap ? m_heap.get() : m_inline) + m_ownSize;
    m_ownSize += length;
    return room;
}

void TCMessageBuffer::PushConcatenated(int length, const void* data)
{
    if (length > 0 && data)
    {
        std::memcpy(Append(static_cast<std::size_t>(length)), data, static_cast<std::size_t>(length));
    }
}

void TCMessageBuffer::PushPiece(std::size_t length, const void* data, std::shared_ptr<const void> owner)
{
    if (length == 0 || !data)
    {
        return;
    }
    m_pieces.reserve(4);
    if (m_pieces.empty() && m_ownSize != m_ownRead)
    {
        m_pieces.push_back({nullptr, m_ownRead, m_ownSize - m_ownRead, nullptr});
    }
    m_pieces.push_back({static_cast<const char*>(data), 0, length, std::move(owner)});
}

void TCMessageBuffer::PushBorrowed(std::size_t length, const void* data) { PushPiece(length, data, nullptr); }

void TCMessageBuffer::PushShared(std::size_t length, const void* data, std::shared_ptr<const void> owner)
{
    PushPiece(length, data, std::move(owner));
}

std::size_t TCMessageBuffer::GetUnreadSize() const
{
    if (m_pieces.empty())
    {
        return m_ownSize - m_ownRead;
    }
    std::size_t size = 0;
    for (const TSPiece& piece : m_pieces)
    {
        size += piece.length;
    }
    return size;
}

bool TCMessageBuffer::Skip(std::size_t bytes)
{
    if (bytes > GetUnreadSize())
    {
        return false;
    }
    if (m_pieces.empty())
    {
        m_ownRead += bytes;
        return true;
    }
    auto piece = m_pieces.begin();
    while (piece != m_pieces.end() && piece->length <= bytes)
    {
        bytes -= piece->length;
        ++piece;
    }
    m_pieces.erase(m_pieces.begin(), piece);
    if (m_pieces.empty())
    {
        m_ownRead = m_ownSize;
        return true;
    }
    TSPiece& front = m_pieces.front();
    front.length -= bytes;
    if (front.foreign)
    {
        front.foreign += bytes;
    }
    else
    {
        front.ownOffset += bytes;
    }
    return true;
}

void TCMessageBuffer::Join() const
{
    const std::size_t size = GetUnreadSize();
    std::unique_ptr<char[]> joined(new char[size]);
    char* out = joined.get();
    for (const TSPiece& piece : m_pieces)
    {
        std::memcpy(out, AddressOf(piece), piece.length);
        out += piece.length;
    }
    m_pieces.clear();
    m_heap = std::move(joined);
    m_capacity = m_ownSize = size;
    m_ownRead = 0;
}

const char* TCMessageBuffer::AddressOf(const TSPiece& piece) const
{
    return piece.foreign ? piece.foreign : (m_heap ? m_heap.get() : m_inline) + piece.ownOffset;
}

const char* TCMessageBuffer::GetAsCStr(unsigned int offset) const
{
    if (offset >= GetUnreadSize())
    {
        return nullptr;
    }
    if (m_pieces.size() > 1)
    {
        Join();
    }
    if (m_pieces.size() == 1)
    {
        return AddressOf(m_pieces.front()) + offset;
    }
    return (m_heap ? m_heap.get() : m_inline) + m_ownRead + offset;
}

std::size_t TCMessageBuffer::GetPieceCount() const
{
    return m_pieces.empty() ? (m_ownSize != m_ownRead ? 1 : 0) : m_pieces.size();
}

const char* TCMessageBuffer::GetPiece(std::size_t index, std::size_t& length) const
{
    if (index >= GetPieceCount())
    {
        length = 0;
        return nullptr;
    }
    if (m_pieces.empty())
    {
        length = m_ownSize - m_ownRead;
        return (m_heap ? m_heap.get() : m_inline) + m_ownRead;
    }
    length = m_pieces[index].length;
    return AddressOf(m_pieces[index]);
}

void TCMessageBuffer::SetSender(const char* sender) { m_sender = sender ? sender : ""; }

const std::string& TCMessageBuffer::GetSender() const { return m_sender; }
