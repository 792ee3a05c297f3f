#include "FaultyReply.h"

#include "WireForm.h"

#include <tvplatform/Tree.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

namespace CIM::sim
{
namespace
{
using TPayload = std::vector<unsigned char>;

/// A node's header as it stands in a payload, with any size.
void PushNode(TPayload& payload, ETreeNodeType type, std::uint16_t tag, std::uint32_t size)
{
    const auto push = [&](const auto& value)
    {
        const auto* const bytes = reinterpret_cast<const unsigned char*>(&value);
        payload.insert(payload.end(), bytes, bytes + sizeof value);
    };
    push(static_cast<std::uint16_t>(type)); // the type and a zero byte on a little-endian machine
    push(tag);
    push(size);
}

/// A tree made to break readers. Written by hand: the marshalling library refuses to write it.
TPayload HostileTree(const std::string& shape, std::uint16_t tag)
{
    constexpr std::uint32_t HEADER = 8;
    TPayload payload = {1, 0, 0, 0};
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
        payload.insert(payload.end(), 16, 0xAA);
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
        payload.insert(payload.end(), 4, 0);
    }
    return payload;
}

/// The tag of a payload's root: the method that it answers.
std::uint16_t RootTag(std::span<const unsigned char> payload)
{
    std::uint16_t tag = 0;
    if (payload.size() >= 8)
    {
        std::memcpy(&tag, payload.data() + 6, sizeof tag);
    }
    return tag;
}

template <class... Arguments>
TMessage ReplyWith(DBusMessage* call, Arguments... arguments)
{
    TMessage reply(dbus_message_new_method_return(call));
    if (reply == nullptr || !dbus_message_append_args(reply.get(), arguments..., DBUS_TYPE_INVALID))
    {
        throw std::bad_alloc();
    }
    return reply;
}

TMessage WrongTypes(DBusMessage* call)
{
    const char* const text = "one";
    const double number = 2.0;
    const dbus_int32_t list[] = {3, 4};
    const dbus_int32_t* const first = list;
    return ReplyWith(call, DBUS_TYPE_STRING, &text, DBUS_TYPE_DOUBLE, &number, DBUS_TYPE_ARRAY, DBUS_TYPE_INT32, &first,
                     2);
}
} // namespace

TMessage MakeFaultyReply(DBusMessage* call, const TSFault& fault, unsigned char status,
                         std::span<const unsigned char> payload)
{
    switch (fault.kind)
    {
    case FAULT_NEVER:
        return nullptr;
    case FAULT_ERROR:
        return MakeError(call, fault.name, fault.text);
    case FAULT_STATUS:
        return MakeReply(call, static_cast<unsigned char>(fault.status), payload);
    case FAULT_HELLO:
        return MakeReply(call, status | STATUS_HELLO_WANTED, payload);
    case FAULT_WRONG_TYPES:
        return WrongTypes(call);
    case FAULT_NO_ARGUMENTS:
        return ReplyWith(call);
    case FAULT_SHORT:
        return ReplyWith(call, DBUS_TYPE_BYTE, &status);
    case FAULT_LONG:
    {
        TMessage reply = MakeReply(call, status, payload);
        const char* const more = "more";
        const dbus_int32_t number = 4711;
        dbus_message_append_args(reply.get(), DBUS_TYPE_STRING, &more, DBUS_TYPE_INT32, &number, DBUS_TYPE_INVALID);
        return reply;
    }
    case FAULT_LENGTH:
        return MakeReply(call, status, fault.length, payload);
    case FAULT_CUT:
        return MakeReply(call, status, payload.first(std::min<std::size_t>(fault.bytes, payload.size())));
    case FAULT_VERSION:
    {
        TPayload other(payload.begin(), payload.end());
        if (!other.empty())
        {
            other[0] = static_cast<unsigned char>(fault.version);
        }
        return MakeReply(call, status, other);
    }
    case FAULT_HOSTILE:
        return MakeReply(call, status, HostileTree(fault.shape, RootTag(payload)));
    default:
        return MakeReply(call, status, payload);
    }
}
} // namespace CIM::sim
