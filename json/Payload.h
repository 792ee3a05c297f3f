#pragma once

#include "json/OperationForm.h"

#include <tvplatform/MessageBuffer.h>
#include <tvplatform/Tree.h>

#include <set>
#include <string>
#include <string_view>

namespace CIM::json
{
/// A payload of an operation, taken apart, and what is wrong with it.
class TCPayload
{
public:
    /// \param[in] bytes, operation  outlive it
    TCPayload(std::string_view bytes, const TCOperationForm& operation);
    TCPayload(const TCPayload&) = delete;
    TCPayload& operator=(const TCPayload&) = delete;

    TCTreeBranchList& Tree() { return m_tree; }
    /// Whether all that the argument travels as is there.
    bool Has(const TSParameter& parameter);
    void Complain(const std::string& what) { m_error += (m_error.empty() ? "" : "; ") + what; }
    /// \param[in] known  the places of the result and of the arguments that belong there
    void ComplainAboutStrangers(const std::set<unsigned>& known);
    /// Empty when nothing is wrong.
    const std::string& Error() const { return m_error; }

private:
    std::string m_StrangerAt(unsigned position) const;
    const TCMessageBuffer* m_Fill(std::string_view bytes);

    const TCOperationForm& m_operation;
    TCMessageBuffer m_buffer;
    TCTreeBranchList m_tree;
    std::string m_error;
};
} // namespace CIM::json
