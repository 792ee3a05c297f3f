#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// The file formats that recordings come in: pcapng, which is also what is written, and the older pcap.

namespace CIM::recording
{
inline constexpr std::uint16_t LINK_TYPE_DBUS = 231; ///< a packet is one message as it stands on the bus

inline constexpr std::uint32_t BLOCK_SECTION = 0x0A0D0D0A; ///< the same in both byte orders
inline constexpr std::uint32_t BLOCK_INTERFACE = 1;
inline constexpr std::uint32_t BLOCK_SIMPLE_PACKET = 3;
inline constexpr std::uint32_t BLOCK_PACKET = 6;
inline constexpr std::uint32_t SECTION_ORDER = 0x1A2B3C4D;

inline constexpr std::uint16_t OPTION_END = 0;
inline constexpr std::uint16_t OPTION_COMMENT = 1;
inline constexpr std::uint16_t OPTION_TIME_RESOLUTION = 9;
inline constexpr std::uint16_t OPTION_TIME_OFFSET = 14;
inline constexpr std::uint16_t OPTION_APPLICATION = 4; ///< of a section: the program that wrote it

inline constexpr std::uint32_t PCAP_MICROSECONDS = 0xA1B2C3D4;
inline constexpr std::uint32_t PCAP_NANOSECONDS = 0xA1B23C4D;

/// The largest message that D-Bus allows.
inline constexpr std::size_t MOST_MESSAGE_BYTES = 128U << 20;
/// The largest section or interface, with all that is told about it.
inline constexpr std::size_t MOST_DESCRIPTION_BYTES = 1U << 20;
/// The largest block: one with that message, and what stands around it.
inline constexpr std::size_t MOST_BLOCK_BYTES = MOST_MESSAGE_BYTES + (1U << 20);

constexpr std::size_t PaddedTo4(std::size_t size) { return (size + 3) & ~std::size_t{3}; }
} // namespace CIM::recording
