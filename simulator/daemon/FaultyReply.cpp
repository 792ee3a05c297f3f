#include "FaultyReply.h"

#include "Messages.h"

#include <tvplatform/Tree.h>

#include <algorithm>
#include <cstring>

namespace CIM::sim
{
namespace
{
/// A node's header as it stands in a payload, with any size.
void PushNode(std::string& payload, ETreeNodeType type, std::uint16_t tag, std::uint32_t size)
{
    const auto push = [&](const auto& value) { payload.append(reinterpret_cast<const char*>(&value), sizeof value); };
    push(static_cast<std::uint16_t>(type)); // the type and a zero byte on a little-endian machine
    push(tag);
    push(size);
}

/// A tree made to break readers. Written by hand: the marshalling library refuses to write it.
std::string HostileTree(const std::string& shape, std::uint16_t tag)
{
    constexpr std::uint32_t HEADER = 8;
    std::string payload("\1\0\0\0", 4);
    if (shape == "deep") // branches inside branches, each size being right
    {
        constexpr std::uint32_t DEPTH = 100'000;
        for (std::uint32_t i = 0; i < DEPTH; ++i)
        {
            PushNode(payload, TREE_NODE_BRANCH_LIST, i == 0 ? tag : 0, (DEPTH - 1 - i) * HEADER);
        }
    }
    else if (shape == "huge") // leaves that claim to be larger than the memory of any machine
    {
        PushNode(payload, TREE_NODE_BRANCH_LIST, tag, 0xFFFFFFFF);
        PushNode(payload, TREE_NODE_LEAF, 0, 0xFFFFFFF0);
        payload.append(16, '\xAA');
    }
    else if (shape == "wide") // very many empty leaves of the same tag
    {
        constexpr std::uint32_t WIDTH = 100'000;
        PushNode(payload, TREE_NODE_BRANCH_LIST, tag, WIDTH * HEADER);
        for (std::uint32_t i = 0; i < WIDTH; ++i)
        {
            PushNode(payload, TREE_NODE_LEAF, 0, 0);
        }
    }
    else // "overlap": a leaf that reaches beyond the branch around it
    {
        PushNode(payload, TREE_NODE_BRANCH_LIST, tag, 3 * HEADER + 4);
        PushNode(payload, TREE_NODE_BRANCH_LIST, 0, HEADER);
        PushNode(payload, TREE_NODE_LEAF, 0, 12);
        PushNode(payload, TREE_NODE_LEAF, 1, 4);
        payload.append(4, '\0');
    }
    return payload;
}

/// The tag of a payload's root: the method that it answers.
std::uint16_t RootTag(const std::string& payload)
{
    std::uint16_t tag = 0;
    if (payload.size() >= 8)
    {
        std::memcpy(&tag, payload.data() + 6, sizeof tag);
    }
    return tag;
}

TCMessagePtr WrongTypes(DBusMessage* call)
{
    const char* const text = "one";
    const double number = 2.0;
    const dbus_int32_t list[] = {3, 4};
    const dbus_int32_t* const first = list;
    return MakeReplyWith(call, DBUS_TYPE_STRING, &text, DBUS_TYPE_DOUBLE, &number, DBUS_TYPE_ARRAY, DBUS_TYPE_INT32,
                         &first, 2);
}
} // namespace

TCMessagePtr MakeFaultyReply(DBusMessage* call, const TSFault& fault, protocol::SReplyEnvelope reply)
{
    std::string payload(reply.payload.data, reply.payload.length);
    switch (fault.kind)
    {
    case FAULT_NEVER:
        return nullptr;
    case FAULT_ERROR:
        return MakeError(call, fault.name, fault.text);
    case FAULT_WRONG_TYPES:
        return WrongTypes(call);
    case FAULT_NO_ARGUMENTS:
        return MakeReplyWith(call);
    case FAULT_SHORT:
        return MakeReplyWith(call, DBUS_TYPE_BYTE, &reply.status);
    case FAULT_LONG:
    {
        TCMessagePtr longer = MakeReply(call, reply);
        const char* const more = "more";
        const dbus_int32_t number = 4711;
        dbus_message_append_args(longer.get(), DBUS_TYPE_STRING, &more, DBUS_TYPE_INT32, &number, DBUS_TYPE_INVALID);
        return longer;
    }
    case FAULT_LENGTH:
        reply.length = fault.length;
        return MakeReply(call, reply);
    case FAULT_STATUS:
        reply.status = static_cast<unsigned char>(fault.status);
        break;
    case FAULT_HELLO:
        reply.status |= protocol::STATUS_HELLO_WANTED;
        break;
    case FAULT_CUT:
        payload.resize(std::min<std::size_t>(fault.bytes, payload.size()));
        break;
    case FAULT_VERSION:
        if (!payload.empty())
        {
            payload[0] = static_cast<char>(fault.version);
        }
        break;
    case FAULT_HOSTILE:
        payload = HostileTree(fault.shape, RootTag(payload));
        break;
    default:
        break;
    }
    reply.length = static_cast<std::int32_t>(payload.size());
    reply.payload = {payload.data(), reply.length};
    return MakeReply(call, reply);
}
} // namespace CIM::sim
