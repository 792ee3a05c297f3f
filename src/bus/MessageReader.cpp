#include "bus/MessageReader.h"

#include "bus/WireHead.h"

#include <algorithm>
#include <cstring>
#include <dbus/dbus.h>
#include <utility>

namespace CIM
{
std::span<char> TCMessageReader::Room()
{
    if (m_block.Size() > 0)
    {
        return {m_block.Data() + m_blockUsed, m_block.Size() - m_blockUsed};
    }
    if (m_begin > 0)
    {
        const std::span<char> rest = m_Buffered();
        std::memmove(m_buffer.data(), rest.data(), rest.size());
        m_begin = 0;
        m_end = rest.size();
    }
    return std::span(m_buffer).subspan(m_end);
}

void TCMessageReader::Add(std::size_t size)
{
    if (m_block.Size() > 0)
    {
        m_blockUsed += size;
        return;
    }
    m_end += size;
    const std::size_t dropped = std::min(m_toDrop, m_end - m_begin);
    m_begin += dropped;
    m_toDrop -= dropped;
}

TCMessageReader::EState TCMessageReader::Next(SIncoming& message)
{
    message = SIncoming();
    if (m_block.Size() > 0)
    {
        if (m_blockUsed < m_block.Size())
        {
            return EState::INCOMPLETE;
        }
        message.block = std::exchange(m_block, TCMessageBlock());
        message.bytes = {message.block.Data(), message.block.Size()};
        return EState::MESSAGE;
    }
    const std::span<char> buffered = m_Buffered();
    if (buffered.size() < WIRE_FIXED_HEADER_SIZE)
    {
        return EState::INCOMPLETE;
    }
    const int size = dbus_message_demarshal_bytes_needed(buffered.data(), static_cast<int>(buffered.size()));
    if (size <= 0)
    {
        return EState::CORRUPT;
    }
    const auto wanted = static_cast<std::size_t>(size);
    if (wanted <= buffered.size())
    {
        message.bytes = buffered.first(wanted);
        m_begin += wanted;
        return EState::MESSAGE;
    }
    if (wanted <= BUFFER_SIZE || buffered.size() < BUFFER_SIZE / 2)
    {
        return EState::INCOMPLETE; // of a large one, too, the front is read first
    }
    TCMessageBlock block(wanted);
    if (block.Size() == 0)
    {
        message.bytes = buffered;
        message.isCut = true;
        m_begin = m_end;
        m_toDrop = wanted - buffered.size();
        return EState::MESSAGE;
    }
    std::memcpy(block.Data(), buffered.data(), buffered.size());
    m_begin = m_end;
    m_blockUsed = buffered.size();
    m_block = std::move(block);
    return EState::INCOMPLETE;
}
} // namespace CIM
