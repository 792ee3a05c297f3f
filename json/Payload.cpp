#include "json/Payload.h"

namespace CIM::json
{
TCPayload::TCPayload(std::string_view bytes, const TCOperationForm& operation)
    : m_operation(operation), m_tree(m_Fill(bytes))
{
    const auto id = static_cast<unsigned short>(operation.Id());
    if (!m_tree.IsValid())
    {
        Complain("the payload of " + std::to_string(bytes.size()) + " bytes is not an argument tree");
    }
    else if (m_tree.GetTag() != id)
    {
        Complain("the argument tree is that of method " + std::to_string(m_tree.GetTag()));
    }
}

const TCMessageBuffer* TCPayload::m_Fill(std::string_view bytes)
{
    m_buffer.PushBorrowed(bytes.size(), bytes.data());
    return &m_buffer;
}

bool TCPayload::Has(const TSParameter& parameter)
{
    for (unsigned i = 0; i < parameter.nodeCount; ++i)
    {
        if (!m_tree.FindNode(parameter.position + i))
        {
            return false;
        }
    }
    return true;
}

void TCPayload::ComplainAboutStrangers(const std::set<unsigned>& known)
{
    for (const TCTreeNode* node = m_tree.GetFirstNode(); node; node = node->GetNextNode())
    {
        if (known.count(node->GetTag()) == 0)
        {
            Complain(m_StrangerAt(node->GetTag()));
        }
    }
}

std::string TCPayload::m_StrangerAt(unsigned position) const
{
    if (position == 0)
    {
        return "a result stands in the request";
    }
    unsigned last = 0; // a pipeline handle may be two arguments
    for (const TSParameter& parameter : m_operation.Parameters())
    {
        if (position >= parameter.position && position < parameter.position + parameter.nodeCount)
        {
            return protocol::IsInput(parameter.word)
                       ? "the input " + std::string(parameter.name) + " stands in the reply"
                       : "the output " + std::string(parameter.name) + " stands in the request";
        }
        last += parameter.nodeCount;
    }
    return "there is an argument " + std::to_string(position) + ", but " + m_operation.Name() + " has " +
           (last == 0 ? "none" : "only " + std::to_string(last));
}
} // namespace CIM::json
