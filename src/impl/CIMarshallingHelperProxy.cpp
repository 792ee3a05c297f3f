#include "impl/CIMarshallingHelperProxy.h"

#include "impl/CIDaemonReadiness.h"
#include "utils/CallOutcome.h"
#include "utils/CIAPILog.h"

#include <ciapi/CINameLiterals.h>

#include <tvplatform/MessageBuffer.h>
#include <tvplatform/SystemInfo.h>
#include <tvplatform/Tree.h>

#include <boost/make_shared.hpp>

#include <cstring>
#include <utility>

namespace CIM
{
namespace
{
// The sets of this model type create the daemon late; a call before that would wait for nobody.
constexpr int MODEL_TYPE_WITH_LATE_DAEMON = 5;
constexpr unsigned RESULT_POSITION = 0; ///< every operation pushes its result first

void Wipe(TCTreeBranch& branch)
{
    for (TCTreeNode* node = branch.GetFirstNode(); node; node = node->GetNextNode())
    {
        if (TCTreeBranch* const inner = node->AsBranch())
        {
            Wipe(*inner);
        }
        else if (node->GetByteSize() > 0)
        {
            explicit_bzero(const_cast<void*>(node->GetData()), node->GetByteSize());
        }
    }
}

void Wipe(TCMessageBuffer& buffer)
{
    for (std::size_t index = 0; index < buffer.GetPieceCount(); ++index)
    {
        std::size_t length = 0;
        const char* const piece = buffer.GetPiece(index, length);
        if (length > 0)
        {
            explicit_bzero(const_cast<char*>(piece), length);
        }
    }
}

// Served before the daemon is ready, on every interface.
constexpr bool IsAlwaysSent(short methodId) { return methodId == 7 || methodId == 8; }
} // namespace

TCIPCHelper::TCIPCHelper()
    : m_connection(boost::make_shared<TCCIMIPCConnection>(literals::CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME,
                                                          literals::CI_SIGNAL_SUBSCRIBER_OBJECT_NAME, true))
{
}

boost::shared_ptr<TICIMIPCConnection> TCIPCHelper::GetIPCConnection() const { return m_connection; }

TCCIMarshallingHelperProxy::TCCIMarshallingHelperProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_IPCHelper(std::move(helper))
{
}

TCCIMarshallingHelperProxy::~TCCIMarshallingHelperProxy() = default;

bool TCCIMarshallingHelperProxy::m_MayCallNow(short methodId) const
{
    if (IsAlwaysSent(methodId) || IsDaemonReady())
    {
        return true;
    }
    int modelType = 0;
    if (system_info_get_custom_int(literals::CI_FMS_TV_MODEL_TYPE, &modelType) != 0)
    {
        CIM_LOG_ERROR_AT("Run", __LINE__,
                         "Failed to get fms: com.kelvora/featureconf/tv_model_type. Proceed with the call, because we "
                         "dont know if it is ZEP platform");
        return true;
    }
    if (modelType == MODEL_TYPE_WITH_LATE_DAEMON)
    {
        KeepOutcome(CALL_OUTCOME_NOT_READY);
        CIM_LOG_ERROR_AT("Run", __LINE__,
                         "Unable to handle IPC calls before CI_DAEMON creation for ZEP products! Return false");
        return false;
    }
    return true;
}

bool TCCIMarshallingHelperProxy::Run(std::string& interfaceName, const std::string& methodName, short methodId,
                                     bool async)
{
    CIM_LOG_INFO("interfaceName[%s] methodName[%s] asyncCall[%s]", interfaceName.c_str(), methodName.c_str(),
                 async ? "true" : "false");

    KeepOutcome(CALL_OUTCOME_NOT_SENT); // until the connection knows better
    TCTreeBranchList request(methodId);
    if (!m_isSecret)
    {
        // The arguments are the caller's variables and outlive this frame: large ones need not be copied on their way.
        request.SetDataLifetime(TREE_DATA_OUTLIVES_BUFFER);
    }
    if (!ClassToTree(request) || !m_MayCallNow(methodId))
    {
        return false;
    }

    TCMessageBuffer input;
    input.Reserve(request.GetNodeSize());
    if (!request.StoreInBuffer(input))
    {
        return false;
    }
    const bool isDone = m_Call(input, interfaceName, methodId, async);
    if (m_isSecret) // both are copies
    {
        Wipe(request);
        Wipe(input);
    }
    return isDone;
}

// Sends the request and fills the arguments from the reply.
bool TCCIMarshallingHelperProxy::m_Call(TCMessageBuffer& input, std::string& interfaceName, short methodId, bool async)
{
    TCMessageBuffer output;
    const boost::shared_ptr<TICIMIPCConnection> connection = m_IPCHelper->GetIPCConnection();
    if (async)
    {
        return connection->CallAsync(interfaceName, methodId, input);
    }
    if (!connection->Call(interfaceName, methodId, input, output))
    {
        CIM_LOG_ERROR_AT("Run", __LINE__, "m_IPCHelper->GetIPCConnection()->Call false");
        return false;
    }
    if (output.GetUnreadSize() == 0)
    {
        KeepOutcome(CALL_OUTCOME_NOT_READABLE);
        return true; // handled, and nothing written: every argument keeps its value
    }
    // The daemon has answered, whatever it wrote: what cannot be read keeps its value, the result its seed.
    TCTreeBranchList reply(&output);
    if (!reply.IsValid())
    {
        KeepOutcome(CALL_OUTCOME_NOT_READABLE);
        CIM_LOG_ERROR_AT("Run", __LINE__, "[%s:%d] The answer's payload of %zu bytes is not an argument tree",
                         interfaceName.c_str(), methodId, output.GetUnreadSize());
    }
    else if (!TreeToClass(reply))
    {
        KeepOutcome(CALL_OUTCOME_NOT_READABLE);
        CIM_LOG_ERROR_AT("Run", __LINE__, "[%s:%d] The answer holds an argument of another kind; it keeps its value",
                         interfaceName.c_str(), methodId);
    }
    else if (!reply.FindNode(RESULT_POSITION))
    {
        KeepOutcome(CALL_OUTCOME_NOT_READABLE);
    }
    return true;
}
} // namespace CIM
