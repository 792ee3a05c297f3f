#include "Input.h"
#include "Memory.h"

#include "impl/CIDaemonReadiness.h"
#include "impl/CIMarshallingHelperProxy.h"
#include "protocol/RowCode.h"

#include <ciapi/CICallOutcome.h>

#include <tvplatform/ApiAssert.h>
#include <tvplatform/Tree.h>

#include <boost/make_shared.hpp>

#include <vector>

// The payload of a reply to any operation, read by the library's own call frame. Property: a call that was answered is
// answered, whatever its payload; bytes that are no tree change nothing; what was read is written and read again as
// itself; memory stays in proportion.

// A malformed map is reported as an assertion of the platform; here it is an ordinary input.
TVPLATFORM_EXPORT void _TCApiAssert(const char*, const char*, int, const char*) {}

namespace CIM
{
bool IsDaemonReady() { return true; } // asks no file

namespace
{
using fuzz::Require;

/// Answers every call with the same payload.
class TCAnswering final : public TICIMIPCConnection, public TIIPCHelper
{
public:
    std::string_view payload;

    boost::shared_ptr<TICIMIPCConnection> GetIPCConnection() const override
    {
        return {boost::shared_ptr<void>(), const_cast<TCAnswering*>(this)};
    }
    bool Call(const std::string&, short, TCMessageBuffer&, TCMessageBuffer& output) override
    {
        output.PushBorrowed(payload.size(), payload.data());
        return true;
    }
    bool CallAsync(const std::string&, short, TCMessageBuffer&) override { return true; }
    bool AddMatchRule(EIPCMessageType, int, const TVSHandle&) override { return true; }
    bool RemoveMatchRule(EIPCMessageType, int, const TVSHandle&) override { return true; }
    bool WaitForCreateInterface(const char*) override { return true; }
    void SetCallbackFunction(EIPCMessageType, void (*)(int, TCMessageBuffer&)) override {}
    void UnsetCallbackFunction(EIPCMessageType, void (*)(int, TCMessageBuffer&)) override {}
    std::string GetReceiverId() override { return {}; }
};

/// The arguments of one call.
class TCCall
{
public:
    explicit TCCall(const protocol::SRowCode& row) : m_row(row)
    {
        m_values.push_back(row.newResult());
        for (const auto newValue : row.newValues)
        {
            m_values.push_back(newValue());
        }
    }

    void Ask(TCAnswering& daemon)
    {
        TCCIMarshallingHelperProxy frame(boost::shared_ptr<TIIPCHelper>(boost::shared_ptr<void>(), &daemon));
        m_Push(frame);
        std::string interface;
        Require(frame.Run(interface, m_row.name, m_row.id, false));
        m_ForOutputs([](protocol::TIPushedValue& value) { value.Load(); });
    }

    /// The outputs as a daemon would write them.
    std::string Written()
    {
        m_ForOutputs([](protocol::TIPushedValue& value) { value.Store(); });
        TCMarshallingHelperStub frame;
        m_Push(frame);
        TCTreeBranchList tree(m_row.id);
        TCMessageBuffer buffer;
        Require(frame.ClassToTree(tree) && tree.StoreInBuffer(buffer));
        return {buffer.GetAsCStr(0), buffer.GetUnreadSize()};
    }

private:
    void m_Push(TCMarshallingHelper& frame)
    {
        for (const auto& value : m_values)
        {
            value->Push(frame);
        }
    }
    template <class Action>
    void m_ForOutputs(Action action)
    {
        action(*m_values[0]);
        for (std::size_t i = 1; i < m_values.size(); ++i)
        {
            if (protocol::IsOutput(m_row.words[i - 1]))
            {
                action(*m_values[i]);
            }
        }
    }

    const protocol::SRowCode& m_row;
    std::vector<std::unique_ptr<protocol::TIPushedValue>> m_values;
};

/// The rows that are sent, one after the other.
const std::vector<const protocol::SRowCode*>& Rows()
{
    static const auto* const rows = []
    {
        auto* const all = new std::vector<const protocol::SRowCode*>;
        for (const auto interface : protocol::AllRowCodes())
        {
            for (const protocol::SRowCode& row : interface)
            {
                if (!row.isLocal)
                {
                    all->push_back(&row);
                }
            }
        }
        return all;
    }();
    return *rows;
}
} // namespace
} // namespace CIM

// The first byte chooses the operation, the rest is the payload.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace CIM;
    using fuzz::Require;
    fuzz::TCInput input(data, size);
    const protocol::SRowCode& row = *Rows()[input.Below(Rows().size())];
    TCAnswering daemon;
    daemon.payload = input.Rest();
    TCMessageBuffer buffer;
    buffer.PushBorrowed(daemon.payload.size(), daemon.payload.data());
    const bool isTree = TCTreeBranchList(&buffer).IsValid();

    TCCall call(row);
    const std::string before = isTree ? std::string() : call.Written();
    {
        const fuzz::TCMemoryBound bound(16384 + 64 * size);
        call.Ask(daemon);
    }
    const ECallOutcome became = LastCallOutcome().outcome;
    const std::string first = call.Written();
    if (!isTree)
    {
        Require(became == CALL_OUTCOME_NOT_READABLE && first == before);
        return 0;
    }
    daemon.payload = first;
    TCCall again(row);
    again.Ask(daemon);
    Require(again.Written() == first);
    return 0;
}
