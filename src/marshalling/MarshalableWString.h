#pragma once

#include <tvplatform/ApiAssert.h>
#include <tvplatform/Formatter.h>
#include <tvplatform/Marshalable.h>

#include <cstring>
#include <string>

namespace CIM
{

/// A string of 16-bit code units of the caller as a branch: the units, when there are any, under tag 0.
/// An empty string that is read, which has no node, leaves the target as it is. A branch in the place of the units
/// holds none.
class TCMarshalableWString final : public TCMarshalable
{
public:
    using TString = std::basic_string<unsigned short>;

    /// \param[in] data  outlives the adapter; null is reported as an assertion when used
    explicit TCMarshalableWString(TString* data) : m_data(data) {}
    TCMarshalableWString(const TCMarshalableWString&) = delete;
    TCMarshalableWString& operator=(const TCMarshalableWString&) = delete;

    bool GetSizeOfMarshalled(unsigned long& size) override
    {
        if (!m_data)
        {
            return false;
        }
        size = m_data->size() * sizeof(TString::value_type);
        return true;
    }

    bool ClassToTree(TCTreeBranch& branch) override
    {
        if (!m_data)
        {
            _TCApiAssert("m_data", "MarshalableWString.h", 73, "no string to write");
            return false;
        }
        TCClassToTreeFormatter formatter(branch);
        if (!m_data->empty())
        {
            formatter.PushLengthArray(0, m_data->size() * sizeof(TString::value_type), m_data->data());
        }
        return formatter.Extract();
    }

    bool TreeToClass(TCTreeBranch& branch) override
    {
        if (!m_data)
        {
            _TCApiAssert("m_data", "MarshalableWString.h", 93, "no string to read into");
            return false;
        }
        TCTreeToClassFormatter formatter(branch);
        if (const TCTreeNode* node = formatter.FindNode(0))
        {
            const std::size_t units = node->GetElementCount(sizeof(TString::value_type));
            TString text(units, 0);
            if (units != 0)
            {
                std::memcpy(text.data(), node->GetData(), units * sizeof(TString::value_type));
            }
            *m_data = std::move(text);
        }
        return formatter.FillOut();
    }

private:
    TString* m_data;
};

} // namespace CIM
