#pragma once

#include "bus/Handles.h"
#include "bus/MessageBlock.h"
#include "bus/WireHead.h"

#include <optional>
#include <span>

namespace CIM
{
/// A message as libdbus reads it. \return null: no memory, or not a message
TCMessagePtr ReadMessage(std::span<const char> bytes);

/// A reply as bytes.
struct SReply
{
    TCMessageBlock bytes;          ///< empty when none came
    std::optional<SWireHead> head; ///< nothing when it takes libdbus to read it
    bool isLost = false;           ///< one came, and there was no memory for it

    std::span<const char> Bytes() const { return {bytes.Data(), bytes.Size()}; }
    /// The reply as libdbus reads it; in the place of a missing one, the error message that libdbus would make.
    /// \return null: no memory, or not a message
    TCMessagePtr ToMessage() const;
};
} // namespace CIM
