#pragma once

#include "utils/CIAPILog.h"

#include <tvplatform/ApiAssert.h>
#include <tvplatform/Formatter.h>
#include <tvplatform/Marshalable.h>

#include <algorithm>
#include <cstdint>
#include <string>

namespace CIM
{

/// A byte string of the caller as a branch: its length under tag 0, its characters, when there are any, under tag 1.
/// An empty string that is read leaves the target as it is. A branch in the place of the characters holds none.
class TCMarshalableString final : public TCMarshalable
{
public:
    /// \param[in] data  outlives the adapter; null is reported as an assertion when used
    explicit TCMarshalableString(std::string* data) : m_data(data) {}
    TCMarshalableString(const TCMarshalableString&) = delete;
    TCMarshalableString& operator=(const TCMarshalableString&) = delete;

    bool GetSizeOfMarshalled(unsigned long& size) override
    {
        if (!m_data)
        {
            return false;
        }
        size = m_data->size();
        return true;
    }

    bool ClassToTree(TCTreeBranch& branch) override
    {
        if (!m_data)
        {
            _TCApiAssert("m_data", "MarshalableString.h", 72, "no string to write");
            return false;
        }
        TCClassToTreeFormatter formatter(branch);
        auto length = static_cast<std::uint32_t>(m_data->size());
        formatter.PushValue(0, sizeof(length), &length);
        if (length != 0)
        {
            formatter.PushLengthArray(1, length, m_data->data());
        }
        return formatter.Extract();
    }

    bool TreeToClass(TCTreeBranch& branch) override
    {
        if (!m_data)
        {
            _TCApiAssert("m_data", "MarshalableString.h", 93, "no string to read into");
            return false;
        }
        TCTreeToClassFormatter formatter(branch);
        std::uint32_t length = 0;
        formatter.PushValue(0, sizeof(length), &length);
        if (length != 0)
        {
            const TCTreeNode* node = formatter.FindNode(1);
            const unsigned long held = node ? node->GetByteSize() : 0;
            if (held != length)
            {
                CIM_LOG_ERROR("string length(%u) but %lu bytes", length, held);
            }
            if (node)
            {
                const unsigned long taken = std::min<unsigned long>(length, held);
                m_data->assign(taken != 0 ? static_cast<const char*>(node->GetData()) : "", taken);
            }
        }
        return formatter.FillOut();
    }

private:
    std::string* m_data;
};

} // namespace CIM
