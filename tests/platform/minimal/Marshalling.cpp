// Trees, and how objects and arguments get into them and out: everything is copied. The byte form is that of
// docs/protocol.md.

#include <tvplatform/Formatter.h>
#include <tvplatform/MarshallingHelper.h>
#include <tvplatform/MessageBuffer.h>
#include <tvplatform/NodeCreator.h>
#include <tvplatform/Types.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>

// Buffers

TCMessageBuffer::TCMessageBuffer() = default;
TCMessageBuffer::~TCMessageBuffer() = default;
void TCMessageBuffer::Reserve(std::size_t bytes) { m_bytes.reserve(m_bytes.size() + bytes); }

void TCMessageBuffer::PushBorrowed(std::size_t length, const void* data)
{
    const char* const bytes = static_cast<const char*>(data);
    m_bytes.insert(m_bytes.end(), bytes, bytes + length);
}

void TCMessageBuffer::PushConcatenated(int length, const void* data)
{
    PushBorrowed(static_cast<std::size_t>(std::max(length, 0)), data);
}

void TCMessageBuffer::PushShared(std::size_t length, const void* data, std::shared_ptr<const void>)
{
    PushBorrowed(length, data);
}

std::size_t TCMessageBuffer::GetUnreadSize() const { return m_bytes.size(); }

const char* TCMessageBuffer::GetAsCStr(unsigned int offset) const
{
    return offset < m_bytes.size() ? m_bytes.data() + offset : nullptr;
}

std::size_t TCMessageBuffer::GetPieceCount() const { return m_bytes.empty() ? 0 : 1; }

const char* TCMessageBuffer::GetPiece(std::size_t, std::size_t& length) const
{
    length = m_bytes.size();
    return m_bytes.data();
}

void TCMessageBuffer::SetSender(const char*) {}

// Trees

unsigned long TCTreeNode::GetByteSize() const { return m_bytes.size(); }

unsigned long TCTreeNode::GetElementCount(unsigned long elementSize) const
{
    return elementSize == 0 ? 0 : m_bytes.size() / elementSize;
}

const void* TCTreeNode::GetData() const { return AsBranch() ? nullptr : m_bytes.data(); }
TCTreeBranch* TCTreeNode::AsBranch() { return dynamic_cast<TCTreeBranch*>(this); }
const TCTreeBranch* TCTreeNode::AsBranch() const { return dynamic_cast<const TCTreeBranch*>(this); }
TCTreeNode* TCTreeNode::GetNextNode() { return m_next; }
const TCTreeNode* TCTreeNode::GetNextNode() const { return m_next; }

TCTreeNode* TCTreeBranch::NewLeafToFill(unsigned tag, std::size_t size, char*& bytes)
{
    if (size > UINT32_MAX)
    {
        return nullptr;
    }
    TCTreeNode* const leaf = m_made.emplace_back(std::make_unique<TCTreeNode>()).get();
    leaf->m_tag = tag;
    leaf->m_bytes.resize(size);
    bytes = leaf->m_bytes.data();
    return leaf;
}

TCTreeNode* TCTreeBranch::NewReferringLeaf(unsigned tag, std::size_t size, const void* data)
{
    char* bytes = nullptr;
    TCTreeNode* const leaf = NewLeafToFill(tag, size, bytes);
    if (leaf && size != 0)
    {
        std::memcpy(bytes, data, size);
    }
    return leaf;
}

TCTreeBranch* TCTreeBranch::NewBranch(unsigned tag)
{
    auto branch = std::make_unique<TCTreeBranch>();
    branch->m_tag = tag;
    TCTreeBranch* const made = branch.get();
    m_made.push_back(std::move(branch));
    return made;
}

bool TCTreeBranch::AddNode(TCTreeNode* node)
{
    if (node)
    {
        (m_last ? m_last->m_next : m_first) = node;
        m_last = node;
    }
    return node != nullptr;
}

TCTreeNode* TCTreeBranch::GetFirstNode() { return m_first; }
const TCTreeNode* TCTreeBranch::GetFirstNode() const { return m_first; }

TCTreeNode* TCTreeBranch::FindNode(unsigned tag)
{
    TCTreeNode* child = m_first;
    while (child && child->m_tag != tag)
    {
        child = child->m_next;
    }
    return child;
}

/// Between nodes and bytes.
struct TCTreeBytes
{
    struct THeader
    {
        std::uint8_t type; ///< 1 leaf, 2 list, 3 map
        std::uint8_t zero;
        std::uint16_t tag;
        std::uint32_t size;
    };
    static constexpr unsigned PREFIX = 1; ///< the version and three zero bytes, as the byte order of TVs has it
    static constexpr int MAXIMUM_DEPTH = 16;

    /// \return false when the node is too deep or too large
    static bool Write(const TCTreeNode& node, std::string& out, int depth)
    {
        const TCTreeBranch* const branch = node.AsBranch();
        const std::size_t begin = out.size();
        out.append(sizeof(THeader), '\0');
        out.append(node.m_bytes.begin(), node.m_bytes.end());
        for (const TCTreeNode* child = branch ? branch->GetFirstNode() : nullptr; child; child = child->GetNextNode())
        {
            if (depth == MAXIMUM_DEPTH || !Write(*child, out, depth + 1))
            {
                return false;
            }
        }
        const std::size_t size = out.size() - begin - sizeof(THeader);
        const THeader header{static_cast<std::uint8_t>(!branch           ? 1
                                                       : branch->m_isMap ? 3
                                                                         : 2),
                             0, static_cast<std::uint16_t>(node.m_tag), static_cast<std::uint32_t>(size)};
        std::memcpy(&out[begin], &header, sizeof(header));
        return size <= UINT32_MAX;
    }

    /// Reads the nodes that fill some bytes into a branch. \return false when they are not well-formed
    static bool Read(TCTreeBranch& parent, const char* bytes, std::size_t left, int depth)
    {
        while (left != 0)
        {
            THeader header{};
            if (left < sizeof(header))
            {
                return false;
            }
            std::memcpy(&header, bytes, sizeof(header));
            bytes += sizeof(header);
            left -= sizeof(header);
            if (depth > MAXIMUM_DEPTH || header.type < 1 || header.type > 3 || header.zero != 0 || header.size > left)
            {
                return false;
            }
            if (header.type == 1)
            {
                parent.AddNode(parent.NewReferringLeaf(header.tag, header.size, bytes));
            }
            else
            {
                TCTreeBranch* const branch = parent.NewBranch(header.tag);
                parent.AddNode(branch);
                if (!Read(*branch, bytes, header.size, depth + 1))
                {
                    return false;
                }
            }
            bytes += header.size;
            left -= header.size;
        }
        return true;
    }
};

TCTreeBranchList::TCTreeBranchList(unsigned tag)
{
    m_tag = tag;
    m_isRoot = true;
}

TCTreeBranchList::TCTreeBranchList(const TCMessageBuffer* buffer) : TCTreeBranchList(0U)
{
    unsigned prefix = 0;
    TCTreeBranch whole; // of one node, the root
    const std::size_t size = buffer->GetUnreadSize();
    m_isValid = size >= sizeof(prefix);
    if (m_isValid)
    {
        const char* const bytes = buffer->GetAsCStr(0);
        std::memcpy(&prefix, bytes, sizeof(prefix));
        m_isValid = prefix == TCTreeBytes::PREFIX &&
                    TCTreeBytes::Read(whole, bytes + sizeof(prefix), size - sizeof(prefix), 1) &&
                    whole.GetFirstNode() && !whole.GetFirstNode()->GetNextNode() && whole.GetFirstNode()->AsBranch();
    }
    if (m_isValid)
    {
        static_cast<TCTreeBranch&>(*this) = std::move(*whole.GetFirstNode()->AsBranch());
    }
}

TCTreeBranchList::~TCTreeBranchList() = default;
bool TCTreeBranchList::IsValid() const { return m_isValid; }
void TCTreeBranchList::SetDataLifetime(ETreeData) {}

unsigned long TCTreeBranchList::GetNodeSize()
{
    std::string bytes;
    return TCTreeBytes::Write(*this, bytes, 1) ? sizeof(TCTreeBytes::PREFIX) + bytes.size() : 0;
}

bool TCTreeBranchList::StoreInBuffer(TCMessageBuffer& buffer)
{
    std::string bytes;
    if (!TCTreeBytes::Write(*this, bytes, 1))
    {
        return false;
    }
    buffer.PushBorrowed(sizeof(TCTreeBytes::PREFIX), &TCTreeBytes::PREFIX);
    buffer.PushBorrowed(bytes.size(), bytes.data());
    return true;
}

// Objects in trees

namespace
{
bool Take(TCTreeNode* node, std::size_t size, void* address)
{
    const bool fits = !node || (!node->AsBranch() && node->GetByteSize() == size);
    if (node && fits && size != 0)
    {
        std::memcpy(address, node->GetData(), size);
    }
    return fits;
}
} // namespace

bool TCTreeFormatter::PushLengthArray(unsigned tag, unsigned long byteCount, void* data)
{
    const bool isSound = m_writes ? m_branch.AddNode(m_branch.NewReferringLeaf(tag, byteCount, data))
                                  : Take(m_branch.FindNode(tag), byteCount, data);
    m_isSound = m_isSound && isSound;
    return isSound;
}

bool TCTreeFormatter::PushValue(unsigned tag, int width, void* address)
{
    return PushLengthArray(tag, static_cast<unsigned long>(width), address);
}

bool TCTreeFormatter::PushMarshalableClass(unsigned tag, TIMarshalable* object)
{
    bool isSound = true;
    if (m_writes)
    {
        TCTreeBranch* const branch = m_branch.NewBranch(tag);
        isSound = object->ClassToTree(*branch) && m_branch.AddNode(branch);
    }
    else if (TCTreeNode* const node = m_branch.FindNode(tag))
    {
        isSound = node->AsBranch() && object->TreeToClass(*node->AsBranch());
    }
    m_isSound = m_isSound && isSound;
    return isSound;
}

TCClassToTreeFormatter::TCClassToTreeFormatter(TCTreeBranch& branch) : TCTreeFormatter(branch, true)
{
    branch.m_isMap = !branch.m_isRoot;
}
bool TCClassToTreeFormatter::Extract() const { return m_isSound; }

TCTreeToClassFormatter::TCTreeToClassFormatter(TCTreeBranch& branch) : TCTreeFormatter(branch, false) {}
TCTreeNode* TCTreeToClassFormatter::FindNode(unsigned tag) { return m_branch.FindNode(tag); }
bool TCTreeToClassFormatter::FillOut() const { return m_isSound; }

TCMarshalable::~TCMarshalable() = default;

bool TCMarshalable::GetSizeOfMarshalled(unsigned long& size)
{
    TCTreeBranchList root(0U);
    const unsigned long frame = root.GetNodeSize();
    const bool isWritten = ClassToTree(root) && root.GetNodeSize() != 0;
    size = isWritten ? root.GetNodeSize() - frame : size;
    return isWritten;
}

// Arguments of a call

struct TCMarshallingHelperProxy::TArguments
{
    struct TArgument
    {
        EMarshallingDirection direction;
        int width;
        void* address;
        TIMarshalable* object;
    };
    std::vector<TArgument> list;
    bool isSound = true;

    bool Push(TCTreeFormatter&& formatter, EMarshallingDirection leftOut)
    {
        bool allSound = isSound;
        for (unsigned tag = 0; isSound && tag < list.size(); ++tag)
        {
            const TArgument& argument = list[tag];
            if (argument.direction != leftOut)
            {
                allSound &= argument.object ? formatter.PushMarshalableClass(tag, argument.object)
                                            : formatter.PushValue(tag, argument.width, argument.address);
            }
        }
        return allSound;
    }
};

TCMarshallingHelperProxy::TCMarshallingHelperProxy() : m_arguments(std::make_unique<TArguments>()) {}
TCMarshallingHelperProxy::~TCMarshallingHelperProxy() = default;

void TCMarshallingHelperProxy::PushValue(EMarshallingDirection direction, int width, void* address)
{
    m_arguments->isSound &= address && (width == 1 || width == 2 || width == 4 || width == 8);
    m_arguments->list.push_back({direction, width, address, nullptr});
}

void TCMarshallingHelperProxy::PushMarshalableClass(EMarshallingDirection direction, TIMarshalable* object)
{
    m_arguments->isSound &= object != nullptr;
    m_arguments->list.push_back({direction, 0, nullptr, object});
}

bool TCMarshallingHelperProxy::ClassToTree(TCTreeBranch& branch)
{
    return m_arguments->Push(TCClassToTreeFormatter(branch), MARSHALLING_DIRECTION_OUT);
}

bool TCMarshallingHelperProxy::TreeToClass(TCTreeBranch& branch)
{
    return m_arguments->Push(TCTreeToClassFormatter(branch), MARSHALLING_DIRECTION_IN);
}

// Elements of containers

TCNodeCreatorProperty::~TCNodeCreatorProperty() = default;
bool TCNodeCreatorProperty::IsArrayData() const { return false; }
int TCNodeCreatorProperty::NodeCreatorType() const { return m_type; }
void TCNodeCreatorProperty::ClearSubContainers(void*) {}

TCTreeNode* DefaultNodeCreator::MakeNewNode(TCTreeBranch& owner, void* data, unsigned long elementSize, int,
                                            EMarshalableStorageType)
{
    return owner.NewReferringLeaf(0, elementSize, data);
}

bool DefaultNodeCreator::PutNodeDataTo(void* data, unsigned long elementSize, unsigned long byteSize, TCTreeNode& node)
{
    std::memset(data, 0, elementSize);
    return !node.AsBranch() && Take(&node, std::min({elementSize, byteSize, node.GetByteSize()}), data);
}

TCTreeNode* TCMarshalableNodeCreator::MakeNewNode(TCTreeBranch& owner, void* data, unsigned long, int,
                                                  EMarshalableStorageType)
{
    TCTreeBranch* const branch = owner.NewBranch(0);
    static_cast<TIMarshalable*>(data)->ClassToTree(*branch);
    return branch;
}

bool TCMarshalableNodeCreator::PutNodeDataTo(void* data, unsigned long, unsigned long, TCTreeNode& node)
{
    return node.AsBranch() && static_cast<TIMarshalable*>(data)->TreeToClass(*node.AsBranch());
}

TCTreeNode* STDStringNodeCreator::MakeNewNode(TCTreeBranch& owner, void* data, unsigned long, int,
                                              EMarshalableStorageType)
{
    const auto& text = *static_cast<std::string*>(data);
    return owner.NewReferringLeaf(0, text.size(), text.data());
}

bool STDStringNodeCreator::PutNodeDataTo(void* data, unsigned long, unsigned long, TCTreeNode& node)
{
    auto& text = *static_cast<std::string*>(data);
    text.resize(node.GetByteSize());
    return !node.AsBranch() && Take(&node, node.GetByteSize(), text.data());
}

TCTreeNode* STDWStringNodeCreator::MakeNewNode(TCTreeBranch& owner, void* data, unsigned long, int,
                                               EMarshalableStorageType)
{
    const auto& text = *static_cast<std::basic_string<unsigned short>*>(data);
    return owner.NewReferringLeaf(0, text.size() * sizeof(unsigned short), text.data());
}

bool STDWStringNodeCreator::PutNodeDataTo(void* data, unsigned long, unsigned long, TCTreeNode& node)
{
    auto& text = *static_cast<std::basic_string<unsigned short>*>(data);
    text.resize(node.GetElementCount(sizeof(unsigned short)));
    if (!text.empty())
    {
        std::memcpy(text.data(), node.GetData(), text.size() * sizeof(unsigned short));
    }
    return !node.AsBranch();
}

// Types

TVSHandle::TVSHandle() : TVSHandle(PROFILE_NONE, 0) {}
TVSHandle::TVSHandle(EProfile aProfile, std::uint16_t aHandle) : profile(aProfile), handle(aHandle), filler(0) {}

bool operator==(const TVSHandle& a, const TVSHandle& b) { return a.profile == b.profile && a.handle == b.handle; }

TSTvMode::TSTvMode() : antennaMode(ANTENNA_MODE_NONE), serviceMode(SERVICE_MODE_NONE) {}

namespace
{
void Push(TCTreeFormatter& formatter, TSTvMode& mode)
{
    formatter.PushValue(0, sizeof(mode.antennaMode), &mode.antennaMode);
    formatter.PushValue(1, sizeof(mode.serviceMode), &mode.serviceMode);
}
} // namespace

bool TSTvMode::ClassToTree(TCTreeBranch& branch)
{
    TCClassToTreeFormatter formatter(branch);
    Push(formatter, *this);
    return formatter.Extract();
}

bool TSTvMode::TreeToClass(TCTreeBranch& branch)
{
    TCTreeToClassFormatter formatter(branch);
    Push(formatter, *this);
    return formatter.FillOut();
}

bool operator<(const TSTvMode& a, const TSTvMode& b)
{
    return std::tie(a.antennaMode, a.serviceMode) < std::tie(b.antennaMode, b.serviceMode);
}
